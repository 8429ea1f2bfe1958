#!/usr/bin/env bash
# Checks scripts against the declared types with the TypeScript compiler: the examples, what
# "configscript new" writes, and a wrong script, whose errors stand in wrong/errors.txt.
# check-scripts.sh BUILD_FOLDER CONFIGSCRIPT
#
# The compiler comes from the npm registry, in the version of package-lock.json, once for a build
# folder.
set -euo pipefail

build=$(realpath "$1")
configscript=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)
source=$(cd "$here/../.." && pwd)

compiler=$build/compiler
if ! cmp --silent "$here/package-lock.json" "$compiler/installed"; then
    mkdir -p "$compiler"
    cp "$here/package.json" "$here/package-lock.json" "$compiler"
    npm ci --prefix "$compiler" --ignore-scripts --no-audit --no-fund --no-update-notifier
    cp "$here/package-lock.json" "$compiler/installed"
fi

# check FOLDER: as an editor does that opens the folder
check() {
    (cd "$1" && node "$compiler/node_modules/typescript/bin/tsc" --project jsconfig.json --noEmit \
        --pretty false --listFiles)
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
{
    "$configscript" new project plant
    "$configscript" new script user-interface valve --project plant
    "$configscript" new script dependency below/valve --project plant

    # What the script authors' guide makes of such a project.
    "$configscript" new project guide
    cp -r "$source/examples/guide/feeder/." guide
    cp "$source/examples/guide/language/pump.js" guide/scripts/language.js
} >log

# expect NUMBER FOLDER: that many scripts, and all of them right
expect() {
    if ! check "$2" >output; then
        cat output
        exit 1
    fi
    if [ "$(grep -c '\.js$' output)" -ne "$1" ]; then
        echo "$2: expected $1 scripts"
        cat output
        exit 1
    fi
}
expect "$(cd "$source/examples" && find . -name '*.js' ! -path './guide/*' | wc -l)" \
    "$source/examples"
expect 4 plant
expect 4 guide

# Wrong ones are found, also in a new project, whose scripts say themselves that they want to be
# checked.
check "$here/wrong" >output || true
grep -v '^/' output | diff --unified "$here/wrong/errors.txt" -
sed -i 's/api\.getProperty(/api.getPropertie(/' plant/scripts/pump.js
check plant >output || true
grep --quiet "^scripts/pump.js(.*error TS2551: Property 'getPropertie' does not exist" output
