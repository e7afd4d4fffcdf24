#!/usr/bin/env bash
# windows-libraries.sh: builds what the Windows DLLs and the command line are linked with, OpenSSL's libcrypto and libssl,
# GoogleTest and the headers of the command line, for x86-64 and x86 side by side, and prints the directory that then holds
# x86_64/ and i686/. OpenSSL comes from the distribution's source package. Everything is kept in ~/.cache/zepasign (or
# $ZEPASIGN_CACHE); a new version or a change of this script builds it again.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/quietly.sh
cache=$(realpath -m "${ZEPASIGN_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/zepasign}")
# Nothing of OpenSSL is loaded at run time, neither provider, engine nor configuration file, and it does not pin the DLL
# that holds it, so that FreeLibrary unloads it. The rest only makes the build shorter: the protocols that neither library
# nor command line speaks are left out, the optimisation is the distribution's own, -O2, and windows.h does not include
# x86intrin.h, which no source uses and whose thousands of functions take two thirds of the time of each source that
# includes windows.h.
opensslOptions=(no-shared no-tests no-module no-engine no-pinshared no-autoload-config no-cmp no-cms no-ct no-dtls
  no-ocsp no-srp no-srtp no-makedepend CPPFLAGS=-D_X86INTRIN_H_INCLUDED CFLAGS=-O2)

say() { echo "windows-libraries.sh: $*" >&2; }

# enableSources: the machine's package sources once more as source entries, in lists of our own: the machine's stay as
# they are.
enableSources() {
  mkdir -p "$work/apt/sources" "$work/apt/lists/partial"
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources}; do
    [ ! -e "$list" ] || sed 's/^Types:.*/Types: deb-src/; s/^deb /deb-src /' "$list" >"$work/apt/sources/${list##*/}"
  done
  sources=(-o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/apt/sources"
    -o Dir::State::lists="$work/apt/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
    -o APT::Sandbox::User="$(id -un)")
  quietly apt-get "${sources[@]}" -q update || true
}

# fetchOpenssl: into $work/openssl, the newest version that the archive really gives (an index may be ahead of its files).
fetchOpenssl() {
  enableSources
  for version in $(apt-cache "${sources[@]}" showsrc openssl | sed -n 's/^Version: //p' | sort -ruV); do
    (cd "$work" && apt-get "${sources[@]}" -q source "openssl=$version" >fetch.log 2>&1) && break
    say "the source of openssl $version is not available, trying an older one"
  done
  mv "$work"/openssl-*/ "$work/openssl" || { cat "$work/fetch.log" >&2; exit 1; }
}

# changed FILE: says what to look at when one of the two adaptions does not fit the source any more.
changed() {
  say "OpenSSL has changed: the adaption of $1 does not apply to $version. See adaptOpenssl."
  exit 1
}

# adaptOpenssl: two changes without which libcrypto does not work inside a DLL that MinGW links.
#   1. The distribution's pic.patch makes the 32-bit assembler position-independent through ELF's global offset table and
#      PLT, which a Windows object file has not: the assembler would refuse it. It is taken back.
#   2. On Windows OpenSSL registers its cleanup by _onexit. In Microsoft's runtime that call belongs to the DLL which makes
#      it; MinGW's goes to msvcrt.dll and so belongs to the process, which at its end would call into the DLL after it was
#      unloaded. atexit belongs to the DLL with MinGW.
adaptOpenssl() {
  local init=$work/openssl/crypto/init.c
  quietly patch --reverse --force --fuzz=0 --strip=1 --directory="$work/openssl" --input=debian/patches/pic.patch || changed pic.patch
  [ "$(grep -c '_onexit(win32atexit) == NULL' "$init")" = 1 ] || changed crypto/init.c
  sed -i 's/_onexit(win32atexit) == NULL/atexit(OPENSSL_cleanup) != 0/' "$init"
}

# buildOpenssl TARGET PROCESSOR: from beside the source, since its file names go into the library.
buildOpenssl() {
  mkdir -p "$work/$2" "$work/result/$2/lib" "$work/result/$2/include"
  cd "$work/$2"
  CC=gcc-posix quietly ../openssl/Configure "$1" --cross-compile-prefix="$2-w64-mingw32-" "${opensslOptions[@]}"
  quietly make -j"$(nproc)" build_generated
  quietly make -j"$(nproc)" libcrypto.a libssl.a
  cp libcrypto.a libssl.a "$work/result/$2/lib/"
  cp -r ../openssl/include/openssl include/openssl "$work/result/$2/include/"
}

# buildGoogleTest PROCESSOR: without optimisation, as the tests.
buildGoogleTest() {
  quietly cmake -G Ninja -S /usr/src/googletest -B "$work/googletest-$1" -DBUILD_GMOCK=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-$1.cmake" -DCMAKE_INSTALL_PREFIX="$work/result/$1"
  quietly cmake --build "$work/googletest-$1" --target install
}

# buildFor TARGET PROCESSOR
buildFor() {
  (buildOpenssl "$1" "$2")
  buildGoogleTest "$2"
  cp -r /usr/include/{CLI,nlohmann} "$work/result/$2/include/"
}

scripts/install-deps.sh cmake dpkg-dev g++ g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix googletest libcli11-dev \
  libssl-dev make ninja-build nlohmann-json3-dev patch perl
recipe=$(LC_ALL=C apt-cache policy g++-mingw-w64-{i686,x86-64}-posix googletest libcli11-dev libssl-dev \
    nlohmann-json3-dev | grep Candidate
  sed '/^#/d' scripts/windows-libraries.sh)
libraries=$cache/windows-$(sha256sum <<<"$recipe" | cut -c1-16)

if [ ! -d "$libraries" ]; then
  mkdir -p "$cache"
  work=$(mktemp -d "$cache/work.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  fetchOpenssl
  adaptOpenssl
  say "building openssl $version"
  buildFor mingw i686 &
  other=$!
  buildFor mingw64 x86_64
  wait "$other"
  echo "$version" >"$work/result/openssl-version"
  rm -rf "$cache"/windows-*
  mv -T "$work/result" "$libraries"
fi
say "openssl $(<"$libraries/openssl-version")"
echo "$libraries"
