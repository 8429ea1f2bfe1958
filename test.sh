#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Arguments go to CTest.
set -euo pipefail
cd "$(dirname "$0")"

# For the TypeScript compiler. Where Node.js did not come from Debian, npm came with it.
if ! command -v npm >/dev/null; then
    cmake/install-packages.sh nodejs npm
fi
cmake/build.sh dev
# Many tests wait for the disk or the clock.
ctest --preset dev --parallel "$((2 * $(nproc)))" "$@"
