#!/usr/bin/env bash
# Installs a build to a scratch folder, and builds and runs consumers against it:
# install.sh BUILD_FOLDER
set -euo pipefail

build=$1
source=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix
export LC_ALL=C.UTF-8 QT_FORCE_STDERR_LOGGING=1

quietly() {
    if ! "$@" >"$scratch/log" 2>&1; then
        cat "$scratch/log" >&2
        echo "failed: $*" >&2
        exit 1
    fi
}

# Runs an example program and compares with what the same program does inside the build.
run_example() {
    "$source/tests/examples/run-example.sh" "$source/tests/examples/$1.txt" \
        "$source/examples/$2" "" "${@:3}"
}

quietly cmake --install "$build" --prefix "$prefix"

echo "The command"
cp -r "$source/examples" "$scratch/examples"
"$prefix/bin/configscript" resolve "$scratch/examples/pump-station" | tail -n 1 \
    | grep '^21 scripts run, 0 failed; 12 files changed, 30 values; '

for example in 01-own-host 02-embedded-host; do
    echo "A consumer through CMake: $example"
    quietly cmake -S "$source/examples/hosts/$example" -B "$scratch/$example" -G Ninja \
        -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug
    quietly cmake --build "$scratch/$example"
done
run_example OwnHostSavesAndResolves hosts/01-own-host/plant "$scratch/01-own-host/own-host"
run_example EmbeddedHostSavesAndResolves pump-station \
    "$scratch/02-embedded-host/embedded-host" line2/pump1 motor/ratedPower 15

echo "A consumer through pkg-config"
package=$(find "$prefix" -name configscript.pc)
flags=$(PKG_CONFIG_PATH=$(dirname "$package") pkg-config --cflags --libs configscript)
library=$(find "$prefix" -name libConfigScript.so)
# shellcheck disable=SC2086 # several flags
quietly c++ -std=c++17 -fPIC "$source/examples/hosts/02-embedded-host/main.cpp" \
    -o "$scratch/pkg-config-consumer" $flags "-Wl,-rpath,$(dirname "$library")"
run_example EmbeddedHostSavesAndResolves pump-station \
    "$scratch/pkg-config-consumer" line2/pump1 motor/ratedPower 15

echo "Each header of the file host by itself"
include=$(dirname "$(find "$prefix" -path '*/filehost/Project.h')")
for header in "$include"/*.h; do
    # shellcheck disable=SC2086 # several flags
    quietly c++ -std=c++17 -fPIC -fsyntax-only -Wall -Wextra -Werror -x c++ \
        -include "filehost/$(basename "$header")" /dev/null $flags
done
if find "$include" -mindepth 1 -type d | grep .; then
    echo "installed, but not for products" >&2
    exit 1
fi

echo "A consumer with names of its own that the file host has, too"
mkdir -p "$scratch/plant/configuration"
echo '{ "properties": [] }' >"$scratch/plant/configuration/malformed.json"
# shellcheck disable=SC2086 # several flags
quietly c++ -std=c++17 -fPIC "$source/tests/package/consumer/main.cpp" \
    -o "$scratch/consumer" $flags "-Wl,-rpath,$(dirname "$library")"
"$scratch/consumer" "$scratch/plant/configuration" >"$scratch/output" 2>&1
diff - "$scratch/output" <<EOF
$scratch/plant/configuration/malformed.json:1:17: expected an object as "properties", found an array
no tree!
EOF

echo "A consumer of every public function"
awk -f "$source/tests/package/public-functions.awk" \
    "$(dirname "$(find "$prefix" -name JavaScriptApi.h -path '*/include/*')")"/*.h >"$scratch/functions"
# Constructors and destructors have no address; the program makes objects. One function is overloaded
# and written out there.
awk -F:: '$2 !~ "^~?" $1 "$" && $0 != "JavaScriptRootPointerHandler::setChangedUrl" {
    print "USE(" $0 ")"
}' "$scratch/functions" >"$scratch/functions.inc"
awk -F:: '{ print $1 }' "$scratch/functions" | sort --unique | while read -r class; do
    if ! grep -q "\b$class\b" "$source/tests/package/every-function/main.cpp"; then
        echo "tests/package/every-function/main.cpp makes no object of $class" >&2
        exit 1
    fi
done
# shellcheck disable=SC2086 # several flags
quietly c++ -std=c++17 -fPIC "$source/tests/package/every-function/main.cpp" "-I$scratch" \
    -o "$scratch/every-function" $flags "-Wl,-rpath,$(dirname "$library")"
"$scratch/every-function" | grep "^$(($(wc -l <"$scratch/functions.inc") + 3)) used$"
