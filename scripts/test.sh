#!/usr/bin/env bash
# Builds VARN Edit and runs every test: first the normal build, then the same
# tests under AddressSanitizer + UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
export QT_QPA_PLATFORM=offscreen

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$jobs"
ctest --test-dir build --output-on-failure -j "$jobs"

if [ "${VARN_SKIP_SANITIZERS:-}" = "" ]; then
  cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVARN_SANITIZE=ON -DVARN_BUILD_BENCH=OFF >/dev/null
  cmake --build build-asan -j "$jobs"
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan --output-on-failure -j "$jobs"
fi
