#!/usr/bin/env bash
# Builds VARN Edit and runs every test: first the normal build, then the same
# tests under AddressSanitizer + UndefinedBehaviorSanitizer, then the tests
# with threads of their own (serial, transfer, workspace) under ThreadSanitizer.
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

# About three minutes on two cores. Only the executables whose code runs threads
# of its own; the others would add build time and no thread to watch.
if [ "${VARN_SKIP_SANITIZERS:-}" = "" ] && [ "${VARN_SKIP_TSAN:-}" = "" ]; then
  tsan_tests=(serial_tests transfer_tests core_workspace_tests)
  # The network transport tests start ser2net through QProcess; with Debian's Qt
  # (not built with TSan) in the picture, ThreadSanitizer stops seeing the test's
  # own mutexes and reports every guarded flag as a race. They run in the two
  # builds above.
  tsan_filter='-NetworkSerialTransport.*'

  cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DVARN_SANITIZE=thread \
    -DVARN_BUILD_BENCH=OFF -DVARN_BUILD_UI=OFF >/dev/null
  cmake --build build-tsan -j "$jobs" --target "${tsan_tests[@]}"
  for test in "${tsan_tests[@]}"; do
    TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/tests/hardening/tsan.supp" \
      "./build-tsan/tests/$test" --gtest_brief=1 --gtest_filter="$tsan_filter"
  done
fi
