#!/usr/bin/env bash
# Fails, naming the files, when a tracked C++ file is not as clang-format
# (with the repository's .clang-format) would write it.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h')
unformatted=()
for f in "${files[@]}"; do
  if ! clang-format --dry-run --Werror "$f" >/dev/null 2>&1; then
    unformatted+=("$f")
  fi
done
if [ ${#unformatted[@]} -gt 0 ]; then
  echo "check-format: these files differ from clang-format's output (run clang-format -i on them):"
  printf '  %s\n' "${unformatted[@]}"
  exit 1
fi
echo "check-format: ${#files[@]} files formatted"
