#!/usr/bin/env bash
# bench.sh [PATTERN]: measures the library beside libcrypto's own calls, and writes out/bench/bench.md (a table) and
# out/bench/bench.svg (cost against content size). With a PATTERN, only the benchmarks whose names match it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh cmake g++ gnuplot-nox libbenchmark-dev libcli11-dev libssl-dev ninja-build nlohmann-json3-dev \
  openssl time util-linux valgrind

build=build/bench out=out/bench pattern=${1:-.}
mkdir -p "$out"
cmake --preset bench --log-level=WARNING
cmake --build --preset bench
measurements=$build/bench/zepasign_measurements
onOneCore=(taskset -c $(($(nproc) - 1)))

# instructions IMPLEMENTATION COUNT: executed by COUNT signatures of 1 KiB.
instructions() {
  valgrind --tool=callgrind --collect-atstart=no --toggle-collect='zepasign::bench::signMany*' \
    --callgrind-out-file="$out/callgrind.$1" "$measurements" sign "$1" "$2" 2>&1 | sed -n 's/.*Collected : //p'
}

# instructionRow: exact where seconds are not; of 32 signatures, after which libcrypto makes a new blinding value.
instructionRow() {
  for implementation in 0 1 2 3; do
    echo $(($(instructions $implementation 64) - $(instructions $implementation 32)))
  done | awk 'NR == 1 { bare = $1; printf "| 1 KiB embedded with attributes: instructions | | %.3f million", bare / 32e6 }
    NR > 1 { printf " | %.3f", $1 / bare }
    END { print " | |" }'
}

"${onOneCore[@]}" "$build/bench/zepasign_bench" "$out/signing.md" "$out/plot.dat" --benchmark_filter="$pattern"
{
  echo "Processor seconds of one core, $(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -n 1);" \
    "$(openssl version | cut -d' ' -f1,2). $(date -u +%F)"
  echo
  echo "| case | at most | baseline | ZEPASignDLL | PKCS7_sign | CMS_sign | held |"
  echo "|---|---|---|---|---|---|---|"
  cat "$out/signing.md"
  if [ "$pattern" = . ]; then
    for each in memory start processes; do "$measurements" $each; done
    instructionRow
    "$build/bench/zepasign_batch" "$build/tools/zepasign"
    echo
    GLIBC_TUNABLES=glibc.malloc.tcache_count=0 "$measurements" soak
  fi
} >"$out/bench.md"
[ ! -s "$out/plot.dat" ] || gnuplot -e "data='$out/plot.dat'; set output '$out/bench.svg'" bench/plot.gp
cat "$out/bench.md"
