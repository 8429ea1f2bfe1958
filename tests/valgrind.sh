#!/usr/bin/env bash
# The library's tests under valgrind's memcheck, before a release: valgrind.sh
# Takes some minutes. The engine interprets: valgrind cannot follow code made at run time.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake/build.sh dev valgrind

# check PROGRAM CLASS: prints what the program wrote only if something was found.
check() {
    local log
    log=$(mktemp)
    if QV4_FORCE_INTERPRETER=1 valgrind --quiet --error-exitcode=1 --leak-check=full \
        --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect \
        "build/dev/bin/$1" "$2" >"$log" 2>&1; then
        echo "ok      $1 $2"
    else
        echo "FAILED  $1 $2"
        grep -v '^PASS' "$log"
        return 1
    fi
}
export -f check

for host in FileHost MemoryHost OwnHost; do
    for program in "JavaScriptTestsOn$host" "ContractTestsOn$host"; do
        if [ -x "build/dev/bin/$program" ]; then
            # Without an argument it names its classes.
            { "build/dev/bin/$program" 2>&1 || true; } | sed -n "s/^  /$program /p"
        fi
    done
done | xargs -P "$(nproc)" -L 1 bash -c 'check "$@"' check
