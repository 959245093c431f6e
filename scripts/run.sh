#!/usr/bin/env bash
# Builds VARN Edit and starts it.
set -euo pipefail
cd "$(dirname "$0")/.."
./scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$(nproc 2>/dev/null || echo 2)"
if [ -x build/varn-edit ]; then
  exec ./build/varn-edit "$@"
fi
exec ./build/src/cli/varn --help
