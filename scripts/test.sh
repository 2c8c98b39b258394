#!/usr/bin/env bash
# Sets the machine up, builds everything and runs every test: the normal build
# (all layers, UI tests on Qt's offscreen platform), then the headless layers
# again under AddressSanitizer + UndefinedBehaviorSanitizer, the export
# reader fuzzed for a bounded time under the same sanitizers, and the model
# and scan tests under ThreadSanitizer (the walker runs several threads).
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/setup.sh

jobs=$(nproc)
export QT_QPA_PLATFORM=offscreen

echo "== build and test (all layers)"
./scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
ctest --test-dir build --output-on-failure --parallel "$jobs"

echo "== headless layers under AddressSanitizer + UndefinedBehaviorSanitizer"
./scripts/build.sh build-asan -DCMAKE_BUILD_TYPE=Debug -DKELVANE_BUILD_UI=OFF \
  -DKELVANE_BUILD_BENCH=OFF -DKELVANE_SANITIZE=address,undefined >/dev/null
ctest --test-dir build-asan --output-on-failure --parallel "$jobs"

echo "== export reader fuzzed for 30 s (libFuzzer, AddressSanitizer + UndefinedBehaviorSanitizer)"
fuzz_dir=$(mktemp -d /tmp/kelvane-fuzz-XXXXXX)
clang++ -std=c++20 -O1 -g -fsanitize=fuzzer,address,undefined -Isrc \
  tests/fuzz/export_reader_fuzz.cpp src/scan/export_reader.cpp src/scan/exported_tree.cpp \
  -o "$fuzz_dir/fuzz"
cp tests/fuzz/corpus/* "$fuzz_dir/"
mkdir "$fuzz_dir/corpus" && mv "$fuzz_dir"/*.json "$fuzz_dir/corpus/"
(cd "$fuzz_dir" && ./fuzz -max_total_time=30 -timeout=5 -rss_limit_mb=1024 corpus 2>fuzz.log) || {
  tail -n 40 "$fuzz_dir/fuzz.log" >&2; exit 1; }
rm -rf "$fuzz_dir"

if ctest --test-dir build -N -L model 2>/dev/null | grep -q 'Total Tests: [1-9]'; then
  echo "== model and scan tests under ThreadSanitizer"
  ./scripts/build.sh build-tsan -DCMAKE_BUILD_TYPE=Debug -DKELVANE_BUILD_UI=OFF \
    -DKELVANE_BUILD_BENCH=OFF -DKELVANE_SANITIZE=thread >/dev/null
  ctest --test-dir build-tsan --output-on-failure --parallel "$jobs" -L 'model|scan'
fi
echo "== installation and Debian package"
./scripts/check-install.sh build

echo "== all tests passed"
