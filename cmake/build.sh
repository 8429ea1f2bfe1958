#!/usr/bin/env bash
# Builds a preset, after installing what it needs: build.sh PRESET [PACKAGE...]
set -euo pipefail

preset=$1
shift
cd "$(dirname "$0")/.."

cmake/install-packages.sh ccache cmake g++ libcli11-dev libmimalloc-dev ninja-build patch \
    pkg-config qtbase5-dev qtdeclarative5-dev "$@"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
cmake --build --preset "$preset" --parallel "$(nproc)"
