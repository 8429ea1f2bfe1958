#!/usr/bin/env bash
# Builds a release, measures it beside plain Qt and Node.js, and prints one table in Markdown.
#
#   ./bench.sh [--quick] [process] [programs] [memory]
#
# Without a group all three are measured, which takes up to 15 minutes; with --quick a few minutes,
# without the project of 10,000 instances. docs/performance.md tells what the measures mean.
set -euo pipefail
cd "$(dirname "$0")"

quick=()
groups=()
for argument in "$@"; do
    case $argument in
        --quick) quick=(--quick) ;;
        process | programs | memory) groups+=("$argument") ;;
        *)
            echo "Usage: $0 [--quick] [process] [programs] [memory]" >&2
            exit 2
            ;;
    esac
done
if [ ${#groups[@]} -eq 0 ]; then
    groups=(process programs memory)
fi

cmake/build.sh bench hyperfine libbenchmark-dev python3 time >&2
if ! command -v node >/dev/null && ! cmake/install-packages.sh nodejs >&2; then
    echo "There is no Node.js: its column stays empty." >&2
fi

programs=build/bench/bin
results=build/bench/results
rm -rf "$results"
mkdir -p "$results"

for group in "${groups[@]}"; do
    case $group in
        process)
            echo "In a process" >&2
            if [ ${#quick[@]} -eq 0 ]; then
                effort=(--benchmark_min_time=0.03 --benchmark_repetitions=41)
            else
                effort=(--benchmark_min_time=0.02 --benchmark_repetitions=5)
            fi
            "$programs/Benchmarks" "${effort[@]}" --benchmark_enable_random_interleaving=true \
                --benchmark_out="$results/process.json" --benchmark_out_format=json >&2
            ;;
        programs)
            benchmarks/measure_programs.py "$programs" build/bench/projects \
                "$results/programs.json" "${quick[@]}"
            ;;
        memory)
            echo "Memory" >&2
            "$programs/MemoryFigures" >"$results/memory.tsv"
            ;;
    esac
done
benchmarks/report.py "$results"
