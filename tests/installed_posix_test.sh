#!/usr/bin/env bash
# installed_posix_test.sh BUILD-FOLDER: hosts in C and C++ are built and run with what `cmake --install` puts under a
# prefix with a space in it, found by CMake, and with what the .deb packages hold, found by pkg-config. dpkg installs
# into a root of its own that knows the machine's packages, and refuses where one that they need is missing. Ends with 77
# where a program for that is not installed.
set -euo pipefail
build=$1 examples=$(cd "$(dirname "$0")/../examples" && pwd)
PATH=$PATH:/usr/sbin:/sbin
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "$1"; exit 1; }
# runs HOST: it reaches the library, which says that the property file is not there.
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

asRoot=()
[ "$(id -u)" -eq 0 ] || asRoot=(fakeroot)
for program in dpkg dpkg-shlibdeps file "${asRoot[@]}"; do
  command -v "$program" >/dev/null || { echo "Skipped: there is no $program"; exit 77; }
done
cpack --config "$build/CPackConfig.cmake" -B "$scratch" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
library=("$scratch"/libzepasigndll2_2.0.1.2_*.deb)
# The packages' own scripts run on the machine, so what they call must act on the scratch root.
mkdir "$scratch/sbin"
# shellcheck disable=SC2016 # that script's own variable
printf '#!/bin/sh\nexec %s -r "$DPKG_ROOT"\n' "$(command -v ldconfig)" >"$scratch/sbin/ldconfig"
chmod +x "$scratch/sbin/ldconfig"

# installsInto ROOT ABSENT PACKAGE...: dpkg accepts the packages on this machine without the package ABSENT.
installsInto() {
  mkdir -p "$1/var/lib/dpkg/info" "$1/var/lib/dpkg/updates" "$1/etc"
  sed "/^Package: $2\$/,/^\$/d" /var/lib/dpkg/status >"$1/var/lib/dpkg/status"
  PATH=$scratch/sbin:$PATH "${asRoot[@]}" dpkg --root="$1" --force-script-chrootless --force-not-root \
    --log=/dev/null -i "${@:3}" >"$1/log" 2>&1
}
crypto=$(dpkg-deb -f "${library[0]}" Depends | grep -o 'libssl[^ ,]*')
if installsInto "$scratch/no-crypto" "$crypto" "${library[@]}"; then fail "installs without $crypto"; fi
root=$scratch/root
installsInto "$root" none "$scratch"/*.deb || fail "$(grep -v 'files list file' "$root/log")"
ldconfig -r "$root" -p | grep -q 'libZEPASignDLL.so.2 '
libraries=$(dirname "$(find "$root" -name libZEPASignDLL.so.2)")
export PKG_CONFIG_PATH=$libraries/pkgconfig LD_LIBRARY_PATH=$libraries
[ "$(pkg-config --modversion ZEPASignDLL)" = 2.0.1.2 ]
eval "${CC:-cc} '$examples'/c/{main,signer,platform_posix}.c -o '$scratch/host' $(pkg-config --cflags --libs ZEPASignDLL) -lcrypto"
runs "$scratch/host"
[ ! -e "$build/tools/zepasign" ] || "$root/usr/bin/zepasign" --version
