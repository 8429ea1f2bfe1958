#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test. Arguments go to CTest.
set -euo pipefail
cd "$(dirname "$0")"

cmake/build.sh dev
ctest --preset dev --parallel "$(nproc)" "$@"
