#!/usr/bin/env bash
# fuzz.sh [SECONDS [FUZZER...]]: builds the fuzzers and runs each for that time (20 seconds), one on each processor at a
# time, from the committed seeds and what earlier runs found (out/fuzz/<fuzzer>/corpus). Fails after a finding; its input
# is in out/fuzz/<fuzzer>.
set -euo pipefail
cd "$(dirname "$0")/.."

export build=build/fuzz seconds=${1:-20}
shift $(($# > 0 ? 1 : 0))
scripts/install-deps.sh clang cmake libclang-rt-14-dev libssl-dev llvm ninja-build

cmake --preset fuzz --log-level=WARNING
cmake --build --preset fuzz >"$build/log" || { cat "$build/log"; exit 1; }

mkdir -p out/fuzz
[ $# -gt 0 ] || set -- $(basename -a fuzz/*_fuzzer.cpp | sed 's/_fuzzer.cpp//')
"$build/fuzz/fuzz_seeds" out/fuzz/seeds
[ ! -w /dev/shm ] || export TMPDIR=/dev/shm # many times as fast for inputs that go through files

# run FUZZER: its last lines tell the count of executions; a finding fails the script.
run() {
  local out=out/fuzz/$1
  mkdir -p "$out/corpus" "out/fuzz/seeds/$1" "fuzz/corpus/$1"
  local leaks=1
  [ "$1" != exports ] || leaks=0 # replaced credentials are kept: a signature may still refer to one
  if ! ASAN_OPTIONS=detect_leaks=$leaks "$build/fuzz/fuzz_$1" \
    -max_total_time="$seconds" -detect_leaks=$leaks -timeout=25 -rss_limit_mb=4096 -artifact_prefix="$out/" \
    -print_final_stats=1 "$out/corpus" "fuzz/corpus/$1" "out/fuzz/seeds/$1" >/dev/null 2>"$out/log"; then
    tail -60 "$out/log"
    echo "$1: a finding; its input lies in $out" >&2
    return 1
  fi
  echo "$1: $(grep -a stat::number_of_executed_units "$out/log" | awk '{print $2}') executions, nothing found"
}
export -f run
printf '%s\0' "$@" | xargs -0 -P"$(nproc)" -I{} bash -c 'run {}'
