#!/usr/bin/env bash
# Makes the Debian package in build/package/, and checks it and the tree that it is made of.
#
#   scripts/package.sh              needs some seconds where the release preset is built
#   scripts/package.sh bare-root    also installs it on a bare Debian, with nothing but what the
#                                   package itself asks for, and starts it there: as root, in some
#                                   minutes; leaves a picture of the window in build/package/.
#                                   Reads the manifest for Flatpak too
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

id=org.tessivo.Tessivo
folder=build/package

# holds WHAT COMMAND...: the command succeeds; its output is shown when it does not.
holds() {
    local log=$private/log
    "${@:2}" >"$log" 2>&1 || { cat "$log" >&2 && fail "$1"; }
}

build() {
    [[ -f build/release/CMakeCache.txt ]] ||
        cmake --preset release -DBUILD_TESTING=OFF -DTESSIVO_BENCHMARKS=OFF
    cmake --build --preset release --target tessivo
    rm -rf "$folder"
    cpack --config build/release/CPackConfig.cmake -B "$PWD/$folder" >"$private/log"
    rm -r "$folder/_CPack_Packages"
    package=$(echo "$folder"/tessivo_*.deb)
    [[ -f $package ]] || fail "no package in $folder"
}

check_tree() {
    local tree=$private/tree file
    DESTDIR=$tree cmake --install build/release --prefix /usr --strip >"$private/log"
    for file in "applications/$id.desktop" "icons/hicolor/scalable/apps/$id.svg" \
        "metainfo/$id.metainfo.xml" man/man1/tessivo.1 doc/tessivo/LICENSE; do
        [[ -s $tree/usr/share/$file ]] || fail "an installation has no $file"
    done
    [[ $("$tree/usr/bin/tessivo" --version) == "Tessivo $version" ]] ||
        fail "the program is not version $version"
    holds "the menu entry" desktop-file-validate "$tree/usr/share/applications/$id.desktop"
    holds "the metainfo" appstreamcli validate-tree --pedantic --no-net "$tree"
    holds "the manual" test -z "$(LC_ALL=C.UTF-8 man --warnings -l "$tree/usr/share/man/man1/tessivo.1" 2>&1 >"$private/manual")"
    # Every option, key and variable that the program tells of.
    "$tree/usr/bin/tessivo" --help | grep -oP '^  (-., )?\K(--[-\w]+|[.\w+]+)(?=  )' |
        grep -vx 'takes\|library' |
        while read -r word; do
            grep -qF -- "$word" "$private/manual" || fail "the manual does not tell of $word"
        done
    say "$(stat -c %s "$tree/usr/bin/tessivo") bytes of program"
}

# The QML modules that the windows import, and those that these import: they are loaded while the
# program runs.
qml_packages() {
    local qml known='' modules module
    qml=$(qmake6 -query QT_INSTALL_QML)
    modules=$(imports_of src)
    while [[ $modules != "$known" ]]; do
        known=$modules
        modules=$({
            echo "$known"
            for module in $known; do
                imports_of "$qml/${module//.//}" -maxdepth 1
            done
        } | sort -u)
    done
    for module in $known; do
        module=$qml/${module//.//}/qmldir
        [[ ! -f $module ]] || dpkg -S "$module"
    done | cut -d : -f 1 | sort -u
}

# imports_of FOLDER [FIND-OPTION...]
imports_of() {
    find "$@" \( -name '*.qml' -o -name qmldir \) -exec \
        grep -hoP '^\s*(import|depends)\s+\KQt[\w.]+' {} + 2>/dev/null | sort -u
}

check_package() {
    local depends name
    holds "lintian" lintian --fail-on error "$package"
    depends=$(dpkg-deb -f "$package" Depends)
    for name in libqt6quick6 libpipewire-0.3-0 $(qml_packages); do
        grep -qE "(^|, )$name( |,|$)" <<<"$depends" || fail "the package does not depend on $name"
    done
    say "$package, $(stat -c %s "$package") bytes, depends on $depends"
}

in_root() {
    chroot "$root" env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin DEBIAN_FRONTEND=noninteractive "$@"
}

check_bare_root() {
    local root=$private/root
    mmdebstrap --quiet --variant=apt bookworm "$root"
    cp "$package" "$root"
    holds "no packages for a bare Debian" in_root apt-get update
    # Not what is only recommended: that may bring what the package forgot to ask for.
    holds "it cannot be installed" in_root apt-get -y install --no-install-recommends \
        "./${package##*/}"
    say "Installed: $(in_root dpkg-query -l | grep -c ^ii) packages, $(du -sm "$root" | cut -f 1) MiB"
    [[ $(in_root tessivo --version) == "Tessivo $version" ]] || fail "it does not start"
    in_root useradd --create-home player
    start_there
}

# By a user with nothing of ours but a display and the socket of a sound server.
start_there() {
    local command log=$private/program.log
    scripts/virtual-display.sh start "$private/display" --owner $$
    import_environment "$private/display/environment"
    scripts/virtual-sound.sh start "$root/sound" --quantum 256 --owner $$
    chmod -R a+rwX "$root/sound"
    command=$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$root/usr/share/applications/$id.desktop")
    start_remembered "$private" "$log" chroot --userspec=player "$root" \
        env -i HOME=/home/player XDG_RUNTIME_DIR=/home/player PATH=/usr/bin:/bin "DISPLAY=$DISPLAY" PIPEWIRE_RUNTIME_DIR=/sound "$command"
    wait_until 30 shows_window 'Tessivo$' || { cat "$log" >&2 && fail "its window does not appear"; }
    wait_until 10 grep -q 'Input monitoring disabled' "$log" ||
        { cat "$log" >&2 && fail "it does not reach the sound server"; }
    wait_until 10 opens_library || { cat "$log" >&2 && fail "its library does not open"; }
    import -window root "$folder/window.png"
    ! grep -E '❌|^(QML|Qt|qt\.|qrc:|file:)' "$log" >&2 || fail "it complains"
    say "Started: its windows are in $folder/window.png"
}

# shows_window TITLE: its id is in $window.
shows_window() {
    window=$(xdotool search --onlyvisible --name "^$1" 2>/dev/null) && window=${window%%$'\n'*}
}

opens_library() {
    shows_window 'Loop Library' || {
        shows_window 'Tessivo$' && timeout 2 xdotool windowfocus --sync "$window" key ctrl+o
        sleep 1
        shows_window 'Loop Library'
    }
}

(($# == 0)) || [[ $# == 1 && $1 == bare-root ]] || fail "usage: package.sh [bare-root]"
scripts/packages.sh build run package
(($# == 0)) || scripts/packages.sh display sound bare
make_private
version=$(sed -nE 's/^project\(tessivo VERSION ([0-9.]+) .*/\1/p' CMakeLists.txt)
build
check_tree
check_package
if (($# > 0)); then
    # Keeps a folder of its own where it runs.
    holds "the manifest" env --chdir="$private" flatpak-builder --show-manifest \
        "$PWD/packaging/flatpak/$id.yml"
    check_bare_root
fi
