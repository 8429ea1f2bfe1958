#!/usr/bin/env bash
# Installs what is missing, builds the fuzz targets, and runs one after the other:
# run.sh [SECONDS_PER_TARGET [TARGET...]]
# Ends with 1 when a target found something. Inputs that reach new code stay in build/fuzz/corpus,
# findings in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift $(($# > 0 ? 1 : 0))
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(TreeFile SelectorUrl EventSequence Manifest ProjectFiles InstanceName Journal)
fi

cmake/build.sh fuzz clang libclang-rt-14-dev

# The targets write many small files: in memory where that is possible.
memory=/dev/shm
TMPDIR=$(mktemp -d -p "$([ -w $memory ] && echo $memory || echo "${TMPDIR:-/tmp}")")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:malloc_context_size=8:quarantine_size_mb=32
export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1

result=0
for target in "${targets[@]}"; do
    corpus=build/fuzz/corpus/$target
    findings=build/fuzz/findings/$target
    log=build/fuzz/$target.log
    mkdir -p "$corpus" "$findings"
    status=0
    "build/fuzz/bin/${target}Fuzzer" -max_total_time="$seconds" -timeout=10 \
        -dict="fuzz/$target.dict" -artifact_prefix="$findings/" -print_final_stats=1 \
        "$corpus" "fuzz/corpus/$target" >"$log" 2>&1 || status=$?
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
    coverage=$(sed -n 's/.* cov: \([0-9]*\) ft: \([0-9]*\) .*/\1 edges, \2 features/p' "$log" \
        | tail -n 1)
    verdict=passed
    if [ "$status" -ne 0 ]; then
        verdict="FAILED, see $log and $findings/"
        result=1
    fi
    printf '%-14s %12s executions in %s s, %s: %s\n' \
        "$target" "${executions:-no}" "$seconds" "${coverage:-no coverage}" "$verdict"
done
exit $result
