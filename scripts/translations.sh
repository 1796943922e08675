#!/usr/bin/env bash
# Keeps the translations in step with the texts of the windows.
#
#   scripts/translations.sh update   brings new texts into translations/*.ts, to be translated there,
#                                    and takes out those that no window shows any more
#   scripts/translations.sh check    fails where update would change something, a translation is
#                                    missing, or a text of the windows is not marked as one
set -euo pipefail
# shellcheck source=scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
cd "$TESSIVO_ROOT"

# Debian keeps the tools of Qt 6 out of the path.
PATH=$PATH:/usr/lib/qt6/bin

update() {
    # It does not understand every class, and says so.
    lupdate -silent -no-obsolete -locations none src -ts "$@" 2>/dev/null
}

# What reads like words and is neither marked as a text nor known to be none.
unmarked() {
    find src -name '*.qml' -exec perl -ne '
        next if m{^\s*(//|import )|\b(keys|sequences|family|setSource)\b};
        s/qsTr\("[^"]*"//g;
        for (/"([^"]*)"/g) {
            print "$ARGV:$.: $_\n" if /[A-Z][a-z]|[a-z] [a-z]/ && !/^Tessivo$|\.qml$/;
        }
        close ARGV if eof' {} +
    # A diagnostic line is a plain literal; what windows show is in strings of the framework.
    grep -rnE '(u|QStringLiteral\()"[^"]*[a-z]{2} [a-z]{2}' --include='*.cpp' --include='*.h' src ||
        true
}

check() {
    local texts
    new=$(mktemp -d) # not local: the trap needs it
    trap 'rm -rf "$new"' EXIT
    for file in translations/*.ts; do
        cp "$file" "$new/"
        update "$new/$(basename "$file")"
        cmp -s "$file" "$new/$(basename "$file")" ||
            fail "$file is not in step with the texts: run scripts/translations.sh update"
        ! grep -q 'type="unfinished"' "$file" || fail "a translation is missing in $file"
    done
    texts=$(unmarked)
    [[ -z $texts ]] || fail "texts that nobody can translate:"$'\n'"$texts"
}

case ${1:-} in
    update) update translations/*.ts ;;
    check) check ;;
    *) fail "usage: translations.sh update | check" ;;
esac
