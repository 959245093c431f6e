#!/usr/bin/env bash
# Builds the fuzz targets (clang, libFuzzer, AddressSanitizer + UBSan) in
# fuzz/out/build and runs every target for SECONDS seconds (default 60), two at
# a time, at low priority. Not part of the test run.
#
#   fuzz/run.sh [SECONDS] [TARGET...]
#
# Each target keeps a growing corpus in fuzz/out/work/TARGET/corpus, seeded with
# the test programs, the shared real-program folder (copied in at run time and
# never committed) and the small seeds in fuzz/seeds. A crash or a broken
# invariant leaves its input as fuzz/out/work/TARGET/crash-* and the script
# exits non-zero; turn such inputs into regression tests under tests/hardening.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
seconds=${1:-60}
shift || true
jobs=${VARN_FUZZ_JOBS:-2}
max_len=${VARN_FUZZ_MAX_LEN:-16384}
corpus_dir=${VARN_CORPUS_DIR:-$root/../shared/corpus}
out=$root/fuzz/out
build=$out/build
work=$out/work

need=()
command -v clang++ >/dev/null || need+=(clang)
dpkg-query -W -f='${Status}' libclang-rt-14-dev 2>/dev/null | grep -q 'install ok installed' || need+=(libclang-rt-14-dev)
if [ ${#need[@]} -gt 0 ]; then
  sudo_cmd=()
  [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  echo "Installing: ${need[*]}" >&2
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${need[@]}" >/dev/null
fi

# Debug keeps Q_ASSERT alive (a broken assumption is a finding); -O1 keeps it fast.
cmake -S fuzz -B "$build" -G Ninja -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_C_FLAGS=-O1 -DCMAKE_CXX_FLAGS=-O1 >/dev/null
nice ninja -C "$build" -j "$jobs"

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  targets=(fuzz_textdecode fuzz_texttools fuzz_analyzer fuzz_highlighter fuzz_formatnumber
           fuzz_machinejson fuzz_prompts fuzz_commandline)
fi

# Program seeds: every test program, the real programs, and two odd shapes
# (mixed line ends, one very long line) that real files rarely show.
programs=$work/seeds-programs
rm -rf "$programs"
mkdir -p "$programs"
find tests/data -type f -name '*.nc' | while read -r f; do cp "$f" "$programs/$(echo "$f" | tr '/' '_')"; done
cp fuzz/seeds/program/* "$programs/"
if [ -d "$corpus_dir" ]; then
  cp "$corpus_dir"/* "$programs/"
  chmod u+w "$programs"/*
fi
printf '%%\r\nO0001\rN10 G0 X1.5 Y-2\nN20 M08\r\n(TOOL 1)\rT1 M6\n\rS1200 M3\r\nG1 F250.5 Z-1\rM30\r\n%%' >"$programs/mixed-line-ends.nc"
{ printf 'N10 G1'; head -c 15000 /dev/zero | tr '\0' 'X'; printf ' F100\nM30\n'; } >"$programs/long-line.nc"

seeds_for() {
  case "$1" in
    fuzz_textdecode | fuzz_texttools | fuzz_analyzer | fuzz_highlighter) echo "$programs" ;;
    *) echo "$root/fuzz/seeds/${1#fuzz_}" ;;
  esac
}

run_target() {
  local target=$1 dir=$work/$1
  mkdir -p "$dir/corpus"
  local options=(-max_total_time="$seconds" -max_len="$max_len" -timeout=30 -rss_limit_mb=2048
                 -print_final_stats=1 -artifact_prefix="$dir/")
  case "$target" in
    fuzz_texttools | fuzz_analyzer | fuzz_highlighter) options+=(-dict="$root/fuzz/gcode.dict") ;;
  esac
  local status=0
  nice "$build/$target" "${options[@]}" "$dir/corpus" "$(seeds_for "$target")" >"$dir/log" 2>&1 || status=$?
  local line
  line=$(grep -E '^#[0-9]+.*(DONE|cov:)' "$dir/log" | tail -1 || true)
  echo "$target: exit $status; $(grep -E 'stat::number_of_executed_units' "$dir/log" | awk '{print $2}') runs; ${line}"
  return $status
}

status=0
running=0
for target in "${targets[@]}"; do
  run_target "$target" &
  running=$((running + 1))
  if [ "$running" -ge "$jobs" ]; then
    wait -n || status=1
    running=$((running - 1))
  fi
done
while [ "$running" -gt 0 ]; do
  wait -n || status=1
  running=$((running - 1))
done
ls "$work"/*/crash-* "$work"/*/leak-* "$work"/*/timeout-* "$work"/*/oom-* 2>/dev/null && status=1
exit $status
