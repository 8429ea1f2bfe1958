#!/usr/bin/env bash
# The library's tests under valgrind's memcheck, before a release: valgrind.sh
# Takes some minutes. The engine interprets: valgrind cannot follow code made at run time.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake/build.sh dev valgrind

# Prints what the program wrote only if something was found.
check() {
    local log
    log=$(mktemp)
    if QV4_FORCE_INTERPRETER=1 valgrind --quiet --error-exitcode=1 --leak-check=full \
        --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
        "build/dev/bin/$1" >"$log" 2>&1; then
        echo "ok      $1"
    else
        echo "FAILED  $1"
        grep -v '^PASS' "$log"
        return 1
    fi
}
export -f check

ctest --preset dev --show-only | awk '/(JavaScript|CallOrder|HostContract).*Test/ { print $NF }' \
    | xargs -P "$(nproc)" -I{} bash -c 'check {}'
