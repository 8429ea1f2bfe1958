#!/usr/bin/env bash
# Installs what is missing, builds, and resolves a scratch copy of the example project; with
# --editor, opens it in the desktop editor instead.
set -euo pipefail
cd "$(dirname "$0")"

preset=release
if [ "${1:-}" = --editor ]; then
    preset=editor
fi
cmake/build.sh "$preset"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp -r examples/. "$scratch"

if [ "$preset" = editor ]; then
    build/editor/bin/configscript-editor "$scratch/pump-station" line1/pump1
    exit
fi

program=$PWD/build/release/bin/configscript
run() {
    printf '\n$ configscript %s\n' "$*"
    (cd "$scratch" && "$program" "$@")
}

echo
echo "The example project, in a scratch copy: the scripts of all instances run."
run resolve pump-station

echo
echo "What that changed in the files:"
diff --recursive --unified=0 examples "$scratch" | grep --extended-regexp '^(diff|[-+] )' \
    | sed 's/^diff .* examples\/\([^ ]*\) .*/  \1/; s/^\([-+]\)/    \1/' || true

echo
echo "Once more: everything is as it should be already."
run resolve pump-station | tail -n 1
