#!/usr/bin/env bash
# Configures and builds one build tree. Usage: scripts/build.sh DIR [cmake options…]
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1; shift
generator=()
command -v ninja >/dev/null && generator=(-G Ninja)
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" "${generator[@]}" "$@" >/dev/null
else
  cmake -S . -B "$dir" "$@" >/dev/null
fi
cmake --build "$dir" --parallel "$(nproc)"
