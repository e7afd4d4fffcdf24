#!/usr/bin/env bash
# installed_posix_test.sh BUILD-DIRECTORY: hosts in C and C++ are built and run with what `cmake --install` puts under a
# prefix with a space in it, found by CMake and by pkg-config. scripts/package-test.sh tests the packages.
set -euo pipefail
build=$1 examples=$(cd "$(dirname "$0")/../examples" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
# runs HOST: it calls the library, which reports that the property file is missing.
runs() { { "$1" missing missing 2>&1 || true; } | grep -aq 'ZEPASignInitial failed with 1202'; }

prefix="$scratch/a prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
cmake -S "$examples" -B "$scratch/found" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/found" >/dev/null
runs "$scratch/found/sign-c"
runs "$scratch/found/sign-cpp"
if [ -e "$build/tools/zepasign" ] && ! grep -q '^CMAKE_INSTALL_PREFIX:PATH=/usr$' "$build/CMakeCache.txt"; then
  "$prefix/bin/zepasign" --version # the tool finds the library beside itself
fi

libraries=$(dirname "$(find "$prefix" -name libZEPASignDLL.so.2)")
export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
[ "$(pkg-config --modversion ZEPASignDLL)" = 2.0.1.2 ]
eval "${CC:-cc} '$examples'/c/{main,signer,platform_posix}.c -o '$scratch/host' $(pkg-config --cflags --libs ZEPASignDLL) -lcrypto"
runs "$scratch/host"
