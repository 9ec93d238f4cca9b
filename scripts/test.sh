#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UBSan, runs every test.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
"$here/scripts/check-format.sh"
build="${CORVANTIS_TEST_BUILD_DIR:-$here/build-tests}"
jobs="$(nproc)"
source "$here/scripts/compiler-cache.sh"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCORVANTIS_SANITIZE=ON -DCORVANTIS_BUILD_BENCH=ON "${launcher[@]}"
cmake --build "$build" -j "$jobs"
cd "$build"
ctest -j "$jobs" --output-on-failure --timeout 300 "$@"
