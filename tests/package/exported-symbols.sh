#!/usr/bin/env bash
# Compares the symbols that the library exports with the list beside this script:
# exported-symbols.sh LIBRARY [--update]
#
# The list is the library's binary interface. It changes on purpose only: with --update.
set -euo pipefail

library=$1
list=$(dirname "$0")/exported-symbols.txt
export LC_ALL=C

# Inline functions of Qt that the compiler did not inline are no part of the interface.
symbols() {
    nm --dynamic --defined-only --demangle "$library" \
        | sed 's/^[0-9a-f]* . //' | grep JavaScript | sort --unique
}

if [ "${2-}" = --update ]; then
    symbols >"$list"
elif ! diff --unified "$list" <(symbols); then
    echo "The exported symbols differ from $list (-). If that is meant: $0 $library --update" >&2
    exit 1
fi
