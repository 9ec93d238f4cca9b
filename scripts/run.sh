#!/usr/bin/env bash
# Installs what is missing, builds the application and opens its window.
# Where no display can be reached it plays the music folder without one.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
build="${CORVANTIS_BUILD_DIR:-$here/build}"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCORVANTIS_BUILD_TESTS=OFF \
      -DCORVANTIS_BUILD_BENCH=OFF
if [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${DISPLAY:-}" ]; then
  echo "run: no display (neither WAYLAND_DISPLAY nor DISPLAY is set); playing the music folder without a window"
  cmake --build "$build" -j "$(nproc)" --target corvantis-cli
  exec "$build/src/cli/corvantis-cli" play --all "$@"
fi
cmake --build "$build" -j "$(nproc)" --target corvantis
exec "$build/src/app/corvantis" "$@"
