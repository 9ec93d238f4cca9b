#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the benchmarks need,
# and only what is missing, so a fresh machine and a warm one both work.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config git clang-format
  qt6-base-dev qt6-base-dev-tools qt6-declarative-dev qt6-tools-dev qt6-tools-dev-tools
  qt6-l10n-tools qt6-svg-dev qml6-module-qtquick qml6-module-qtquick-controls
  qml6-module-qtquick-templates qml6-module-qtquick-layouts qml6-module-qtquick-window
  qml6-module-qttest
  qml6-module-qtqml-workerscript libgl-dev
  libavformat-dev libavcodec-dev libavutil-dev libswresample-dev ffmpeg
  libtag1-dev libsdl2-dev libmicrohttpd-dev libavahi-client-dev libsqlite3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  dbus dbus-x11 playerctl curl
  clang-14 libclang-rt-14-dev
  chromium
  qml6-module-qtwebengine
  nginx-light
  qtkeychain-qt6-dev gnome-keyring
  fonts-lato fonts-material-design-icons-iconfont libfontconfig-dev ccache
  xvfb xauth xfonts-base xdotool libqt6webenginequickdelegatesqml6
  libpulse-dev pulseaudio
  libqrencode-dev qml6-module-qtquick-dialogs qml6-module-qt-labs-folderlistmodel
  qml6-module-qtquick-shapes qt6-gtk-platformtheme
)

missing=()
# The machine may carry its own Node.js build; only add Debian's when none is there.
command -v npm >/dev/null 2>&1 || packages+=(nodejs npm)
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
fi

# The browser test drives Debian's chromium through playwright-core; the
# package comes from the npm registry into a folder the build tree ignores.
here="$(cd "$(dirname "$0")/.." && pwd)"
if [ ! -d "$here/tests/browser/node_modules/playwright-core" ] && [ -f "$here/tests/browser/package.json" ]; then
  (cd "$here/tests/browser" && npm install --no-audit --no-fund --silent)
fi
