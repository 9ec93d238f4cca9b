#!/usr/bin/env bash
# Installs what is missing, builds the application and starts it.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
build="${CORVANTIS_BUILD_DIR:-$here/build}"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCORVANTIS_BUILD_TESTS=OFF \
      -DCORVANTIS_BUILD_BENCH=OFF
cmake --build "$build" -j "$(nproc)" --target corvantis-cli
exec "$build/src/cli/corvantis-cli" play --all "$@"
