#!/usr/bin/env bash
# bench.sh [--manual] [PATTERN]: measures the library beside libcrypto's own calls, and writes out/bench/bench.md (a
# table) and out/bench/bench.svg (cost against content size); with --manual, also into docs/speed.md and
# docs/zh-TW/speed.md. With a PATTERN, only the benchmarks whose names match it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh cmake g++ gnuplot-nox libbenchmark-dev libcli11-dev libssl-dev ninja-build nlohmann-json3-dev \
  openssl time util-linux valgrind

build=build/bench out=out/bench manual=no
[ "${1:-}" != --manual ] || { manual=yes && shift; }
pattern=${1:-.}
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

# intoManual PAGE PLOT: replaces what the page has between its two marks by the table and the plot.
intoManual() {
  awk -v table="$out/bench.md" -v plot="$2" '
    /: end -->$/ { inside = 0 }
    !inside
    /: begin -->$/ {
      inside = 1
      print ""
      while ((getline line < table) > 0) print line
      print "\n![](" plot ")\n"
    }' "$1" >"$out/page.md"
  cp "$out/page.md" "$1"
}

"${onOneCore[@]}" "$build/bench/zepasign_bench" "$out/signing.md" "$out/plot.dat" --benchmark_filter="$pattern"
{
  echo "$(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -n 1), $(nproc) processors," \
    "$(awk '/^MemTotal/ { printf "%.0f", $2 / 1024 / 1024 }' /proc/meminfo) GiB of memory;" \
    "$(sed -n 's/^PRETTY_NAME="\(.*\)"/\1/p' /etc/os-release), $(g++ --version | head -n 1)," \
    "$(openssl version | cut -d' ' -f1,2). $(git describe --always --tags) of $(date -u +%F)."
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
if [ $manual = yes ]; then
  cp "$out/bench.svg" docs/speed.svg
  intoManual docs/speed.md speed.svg
  intoManual docs/zh-TW/speed.md ../speed.svg
fi
