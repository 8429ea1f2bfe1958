#!/usr/bin/env bash
# Compares the symbols that a library exports with a list:
# exported-symbols.sh LIBRARY LIST [--update]
#
# The list is the library's binary interface. It changes on purpose only: with --update.
set -euo pipefail

library=$1
list=$2
export LC_ALL=C

# What the compiler did not inline (weak symbols, W), and what it makes of templates and literals of
# Qt and of the standard library, are no part of the interface.
symbols() {
    nm --dynamic --defined-only --demangle "$library" \
        | sed -n 's/^[0-9a-f]* [^W] //p' | grep -v '^guard variable\|^Q\|^void Q\|^std::\|for std::\|::qstring_literal$' \
        | sort --unique
}

if [ "${3-}" = --update ]; then
    symbols >"$list"
elif ! diff --unified "$list" <(symbols); then
    echo "The exported symbols differ from $list (-). If that is meant: $0 $library $list --update" >&2
    exit 1
fi
