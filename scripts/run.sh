#!/usr/bin/env bash
# Sets the machine up, builds Kelvane and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh
./scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
exec ./build/src/kelvane "$@"
