#!/usr/bin/env bash
# Installs what is missing, builds the application and opens its window.
# Where no display can be reached it plays the music folder without one.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
"$here/scripts/setup.sh"
build="${CORVANTIS_BUILD_DIR:-$here/build}"
source "$here/scripts/compiler-cache.sh"
cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCORVANTIS_BUILD_TESTS=OFF \
      -DCORVANTIS_BUILD_BENCH=OFF "${launcher[@]}"
if [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${DISPLAY:-}" ]; then
  echo "run: no display (neither WAYLAND_DISPLAY nor DISPLAY is set); playing the music folder without a window"
  cmake --build "$build" -j "$(nproc)" --target corvantis-cli
  exec "$build/src/cli/corvantis-cli" play --all "$@"
fi
cmake --build "$build" -j "$(nproc)" --target corvantis
# The in-app web page's engine will not start as root with its sandbox on.
if [ "$(id -u)" -eq 0 ]; then
  export QTWEBENGINE_CHROMIUM_FLAGS="${QTWEBENGINE_CHROMIUM_FLAGS:-} --no-sandbox"
fi
exec "$build/src/app/corvantis" "$@"
