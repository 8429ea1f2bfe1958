#!/usr/bin/env bash
# Replaces the expected files in golden/ by what the tests of a build folder produce now.
# Review the difference before you commit it.
set -euo pipefail
if [ $# -ne 1 ]; then
    echo "usage: $0 BUILD_FOLDER" >&2
    exit 2
fi
build=$(cd "$1" && pwd)
cd "$(dirname "$0")"

actual=$build/tests/configscript/actual
rm -rf "$actual"
for test in ExplainCommandTest GraphCommandTest UsageTest ResolveCommandTest ResolveBadScriptTest; do
    "$build/bin/CommandTests" "$test" >/dev/null || true # they fail where the goldens are to change
done

rm -rf golden
cp -r "$actual" golden
git --no-pager diff --stat -- golden
git status --short -- golden
