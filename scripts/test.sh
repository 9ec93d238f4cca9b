#!/usr/bin/env bash
# Installs what is missing, builds with AddressSanitizer and UBSan, runs every test.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
"$here/scripts/check-format.sh"
build="${CORVANTIS_TEST_BUILD_DIR:-$here/build-tests}"
jobs="$(nproc)"
# A compiler cache keyed on paths relative to the checkout, so rebuilds of an
# unchanged file are free in any clone on this machine.
launcher=()
if command -v ccache >/dev/null 2>&1; then
  export CCACHE_BASEDIR="$here" CCACHE_NOHASHDIR=true
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCORVANTIS_SANITIZE=ON -DCORVANTIS_BUILD_BENCH=ON "${launcher[@]}"
cmake --build "$build" -j "$jobs"
cd "$build"
ctest -j "$jobs" --output-on-failure --timeout 300 "$@"
