#!/usr/bin/env bash
# bench.sh [PATTERN]: measures the library beside libcrypto, GnuTLS and wolfSSL, and writes out/bench/bench.md (a table)
# and out/bench/bench.svg (cost against content size). With a PATTERN, only the benchmarks whose names match it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh cmake g++ gnuplot-nox libbenchmark-dev libgnutls28-dev libssl-dev libwolfssl-dev ninja-build \
  pkg-config util-linux valgrind

build=build-bench out=out/bench pattern=${1:-.}
mkdir -p "$out"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF -DZEPASIGN_BUILD_BENCH=ON \
  --log-level=WARNING
cmake --build "$build"
probe=$build/bench/zepasign_probe
onOneCore=(taskset -c $(($(nproc) - 1)))

# instructions CONTESTANT COUNT: executed by COUNT signatures of 1 KiB.
instructions() {
  valgrind --tool=callgrind --collect-atstart=no --toggle-collect='zepasign::bench::signMany*' \
    --callgrind-out-file="$out/callgrind.$1" "$probe" sign "$1" "$2" 2>&1 | sed -n 's/.*Collected : //p'
}

# instructionRow: exact where seconds are not; of 32 signatures, since libcrypto blinds anew after as many.
instructionRow() {
  for contestant in 0 1 2 3 4 5; do
    echo $(($(instructions $contestant 64) - $(instructions $contestant 32)))
  done | awk 'NR == 1 { bare = $1; printf "| 1 KiB embedded with attributes: instructions | | %.3f million", bare / 32e6 }
    NR > 1 { printf " | %.3f", $1 / bare }
    END { print " | |" }'
}

"${onOneCore[@]}" "$build/bench/zepasign_bench" "$out/signing.md" "$out/plot.dat" --benchmark_filter="$pattern"
{
  echo "Processor seconds of one core, $(sed -n 's/^model name\s*: //p' /proc/cpuinfo | head -n 1);" \
    "$(openssl version | cut -d' ' -f1,2), GnuTLS $(pkg-config --modversion gnutls)," \
    "wolfSSL $(pkg-config --modversion wolfssl). $(date -u +%F)"
  echo
  echo "| case | at most | EVP_DigestSign | ZEPASignDLL | PKCS7_sign | CMS_sign | gnutls_pkcs7_sign | wc_PKCS7_EncodeSignedData | held |"
  echo "|---|---|---|---|---|---|---|---|---|"
  cat "$out/signing.md"
  if [ "$pattern" = . ]; then
    for each in memory start processes; do "$probe" $each; done
    instructionRow
    echo
    GLIBC_TUNABLES=glibc.malloc.tcache_count=0 "$probe" soak
  fi
} >"$out/bench.md"
[ ! -s "$out/plot.dat" ] || gnuplot -e "data='$out/plot.dat'; set output '$out/bench.svg'" bench/plot.gp
cat "$out/bench.md"
