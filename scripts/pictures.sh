#!/usr/bin/env bash
# Draws every window in each of its states, as tests/Views/tst_Pictures.qml does, for a look.
#
#   scripts/pictures.sh          renews the references, tests/Views/pictures; look at what changed
#   scripts/pictures.sh FOLDER   draws into another folder, for instance with the variables
#                                TESSIVO_TEST_POINTS=20 TESSIVO_TEST_LANGUAGE=de
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

folder=tests/Views/pictures
if (($# > 0)); then
    folder=$1
else
    rm -f "$folder"/*.png
fi
mkdir -p "$folder"
[[ -f build/release/CMakeCache.txt ]] || cmake --preset release -DBUILD_TESTING=ON
cmake --build --preset release --target views_test
TESSIVO_RENEW_PICTURES=$(realpath "$folder") ctest --preset release -R '^Views.Pictures$'
say "The pictures are in $folder."
