#!/usr/bin/env bash
# install_posix_test.sh BUILD-FOLDER: what `cmake --install` puts under a prefix is enough to build and run hosts in C
# and C++, whether CMake or pkg-config finds it; the prefix holds a space and is another than the configured one.
set -euo pipefail
build=$1 examples=$(cd "$(dirname "$0")/../examples" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix="$scratch/a prefix"

cmake --install "$build" --prefix "$prefix" >/dev/null
real=$(find "$prefix" -name 'libZEPASignDLL.so.2.0.1.2')
libraries=${real%/*}
[ "$(readlink "$libraries/libZEPASignDLL.so.2")" = "${real##*/}" ]
readelf -d "$real" | grep -q 'SONAME.*\[libZEPASignDLL.so.2\]'

# runs HOST: it reaches the installed library, which says that the property file is not there.
runs() { { "$1" missing missing 2>&1 || true; } | grep -aq 'ZEPASignInitial failed with 1202'; }

cmake -S "$examples" -B "$scratch/found" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$scratch/found" >/dev/null
runs "$scratch/found/sign-c"
runs "$scratch/found/sign-cpp"

export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
[ "$(pkg-config --modversion ZEPASignDLL)" = 2.0.1.2 ]
flags=$(pkg-config --cflags --libs ZEPASignDLL)
eval "${CC:-cc} '$examples'/c/{main,signer,platform_posix}.c -o '$scratch/c' $flags -lcrypto"
eval "${CC:-cc} -c '$examples/c/platform_posix.c' -o '$scratch/platform.o'"
eval "${CXX:-c++} -std=c++17 '$examples'/cpp/{main,signer}.cpp '$scratch/platform.o' -o '$scratch/cpp' $flags -lcrypto"
runs "$scratch/c"
runs "$scratch/cpp"

unset LD_LIBRARY_PATH # the tool finds the library beside itself, unless it was configured for /usr
if [ -e "$build/tools/zepasign" ] && ! grep -q '^CMAKE_INSTALL_PREFIX:PATH=/usr$' "$build/CMakeCache.txt"; then
  "$prefix/bin/zepasign" --version
fi
