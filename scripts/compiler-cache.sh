# Sourced by the build scripts: a compiler cache keyed on paths relative to the
# checkout, so rebuilding an unchanged file is free in any clone on this
# machine. Sets `launcher` to the CMake arguments that use it (none without ccache).
launcher=()
if command -v ccache >/dev/null 2>&1; then
  export CCACHE_BASEDIR="$here" CCACHE_NOHASHDIR=true
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
