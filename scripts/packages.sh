#!/usr/bin/env bash
# Installs the Debian packages that Tessivo needs, those of them that are missing.
#
#   scripts/packages.sh GROUP...
#
# build    to compile the application
# run      to start it on a desktop that has a sound server
# sound    to run a private sound server
# display  to run it on a virtual display
# test     to build and run the tests
# check    to check the sources, and to build with the sanitizers and fuzzers
# package  to make the Debian package and check it
# bare     to try it on a bare system, and to read the manifest for Flatpak
# peer     to measure another looper beside it
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"

declare -A groups=(
    [build]="g++ cmake ninja-build pkg-config libpipewire-0.3-dev libsndfile1-dev
        libsamplerate0-dev libicu-dev qt6-base-dev qt6-base-private-dev
        qt6-declarative-dev qt6-svg-dev libqt6opengl6-dev qt6-l10n-tools"
    [run]="procps x11-utils pipewire-bin fonts-dejavu-core libgl1-mesa-dri qt6-wayland
        qml6-module-qtqml qml6-module-qtqml-workerscript qml6-module-qtquick
        qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-shapes
        qml6-module-qtquick-templates qml6-module-qtquick-window
        qml6-module-qtquick-dialogs qml6-module-qt-labs-folderlistmodel
        qt6-xdgdesktopportal-platformtheme"
    [sound]="procps pipewire pipewire-bin wireplumber dbus-daemon sox"
    [display]="procps xvfb openbox xdotool x11-utils imagemagick"
    [test]="fonts-dejavu-core fonts-lohit-deva libgtest-dev qml6-module-qttest at-spi2-core python3-pyatspi"
    [check]="clang-22 libclang-rt-22-dev llvm-22 clang-tidy-22 clang-format shellcheck python3
        qt6-declarative-dev-tools"
    [package]="dpkg-dev file lintian desktop-file-utils appstream man-db qmake6"
    [bare]="mmdebstrap flatpak-builder"
    [peer]="sooperlooper pipewire-jack"
)

(($# > 0)) || fail "usage: packages.sh GROUP... (${!groups[*]})"
wanted=()
for group in "$@"; do
    [[ -n ${groups[$group]:-} ]] || fail "no group is called '$group' (${!groups[*]})"
    read -r -d '' -a packages <<<"${groups[$group]}" || true
    wanted+=("${packages[@]}")
done

command -v dpkg-query >/dev/null ||
    fail "this system has no Debian packages; install what these are called here: ${wanted[*]}"

missing_packages() {
    comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) \
        <(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "${wanted[@]}" 2>/dev/null |
            awk '$2 == "installed" { print $1 }' | sort -u)
}

mapfile -t missing < <(missing_packages)
((${#missing[@]} > 0)) || exit 0

privilege=()
if ((EUID != 0)); then
    command -v sudo >/dev/null ||
        fail "missing, and only root can install them: apt-get install ${missing[*]}"
    privilege=(sudo)
fi

apt() {
    "${privilege[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -qq -o DPkg::Lock::Timeout=300 -o Dpkg::Use-Pty=0 "$@"
}

say "Installing ${#missing[@]} packages: ${missing[*]}"
# A source of packages that cannot be reached is only a fault when it is needed.
apt update || say "Some package lists could not be renewed; trying with those at hand."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! apt install -y --no-install-recommends "${missing[@]}" >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    fail "the packages could not be installed"
fi
