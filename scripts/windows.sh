#!/usr/bin/env bash
# windows.sh: cross-builds ZEPASignDLL.dll on Debian 12 with MinGW-w64, for x86-64 and for x86, checks what both DLLs
# export and import, and under Wine runs the tests and compares signatures with the Linux library's (x86-64). What is
# missing is installed from the distribution; OpenSSL is built once from the distribution's source package and kept.
#   scripts/windows.sh                         results: build/windows-x86_64/api/, build/windows-i686/api/
#   ZEPASIGN_CACHE=folder scripts/windows.sh   what is kept lies here and not in ~/.cache/zepasign
set -euo pipefail
cd "$(dirname "$0")/.."
cache=${ZEPASIGN_CACHE:-${XDG_CACHE_HOME:-~/.cache}/zepasign}
cache=$(realpath -m "$cache")
# Nothing of OpenSSL is loaded at run time, neither provider, engine nor configuration file, and it does not pin the DLL
# that holds it, so that FreeLibrary unloads it.
opensslOptions=(no-shared no-tests no-module no-engine no-pinshared no-autoload-config)

say() { echo "windows.sh: $*"; }

# quietly runs a command whose output matters only when it fails.
quietly() {
  local output
  output=$("$@" 2>&1) || { printf '%s\n' "$output" | tail -n 40 >&2; return 1; }
}

# enableSources: the machine's package sources once more as source entries, in lists of our own: the machine's stay as
# they are.
enableSources() {
  local folder=$1/apt
  mkdir -p "$folder/sources" "$folder/lists/partial"
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.{list,sources}; do
    [ ! -e "$list" ] || sed 's/^Types:.*/Types: deb-src/; s/^deb /deb-src /' "$list" >"$folder/sources/${list##*/}"
  done
  sources=(-o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$folder/sources"
    -o Dir::State::lists="$folder/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
    -o APT::Sandbox::User="$(id -un)")
  quietly apt-get "${sources[@]}" -q update || true
}

# fetchOpenssl: into $1/openssl-*, the newest version that the archive really gives (an index may be ahead of its files).
fetchOpenssl() {
  enableSources "$1"
  for version in $(apt-cache "${sources[@]}" showsrc openssl | sed -n 's/^Version: //p' | sort -ruV); do
    (cd "$1" && apt-get "${sources[@]}" -q source "openssl=$version" >fetch.log 2>&1) && break
    say "the source of openssl $version cannot be had, trying an older one"
  done
  [ -d "$(echo "$1"/openssl-*/)" ] || { cat "$1/fetch.log" >&2; exit 1; }
  adaptOpenssl "$1"/openssl-*/
}

# adaptOpenssl: two things that hold for a DLL of Microsoft's compiler or for ELF, and not here.
adaptOpenssl() {
  # The distribution rewrites 32-bit assembler into position-independent code in the way of ELF.
  quietly patch -R -p1 -d "$1" -i debian/patches/pic.patch
  # MinGW's _onexit belongs to the process, which would call into the DLL long unloaded; its atexit belongs to the DLL.
  sed -i 's/_onexit(win32atexit) == NULL/atexit(OPENSSL_cleanup) != 0/' "$1/crypto/init.c"
  grep -q 'atexit(OPENSSL_cleanup) != 0' "$1/crypto/init.c"
}

# buildOpenssl WORK TARGET PROCESSOR RESULT: from beside the source, since its file names go into the library.
buildOpenssl() {
  mkdir -p "$1/$3" "$4/lib" "$4/include"
  (
    cd "$1/$3"
    CC=gcc-posix quietly ../openssl-*/Configure "$2" --cross-compile-prefix="$3-w64-mingw32-" "${opensslOptions[@]}"
    quietly make -j"$(nproc)" build_generated
    quietly make -j"$(nproc)" libcrypto.a
    cp libcrypto.a "$4/lib/"
    cp -r ../openssl-*/include/openssl include/openssl "$4/include/"
  )
}

# buildGoogleTest WORK PROCESSOR RESULT
buildGoogleTest() {
  quietly cmake -G Ninja -S /usr/src/googletest -B "$1/googletest-$2" -DBUILD_GMOCK=OFF -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-$2.cmake" -DCMAKE_INSTALL_PREFIX="$3"
  quietly cmake --build "$1/googletest-$2" --target install
}

# prepare TARGET PROCESSOR: sets `dependencies` to the folder with what the build needs beside the compiler, which is
# renamed into its place when it is complete. A new version or another choice of options makes a new one.
prepare() {
  local recipe
  recipe=$(LC_ALL=C apt-cache policy "g++-mingw-w64-${2/_/-}-posix" googletest libcli11-dev libssl-dev \
      nlohmann-json3-dev | grep Candidate
    declare -p opensslOptions
    declare -f adaptOpenssl buildOpenssl buildGoogleTest makeDependencies)
  dependencies=$cache/windows-$2-$(sha256sum <<<"$recipe" | cut -c1-16)
  [ -d "$dependencies" ] || makeDependencies "$@"
  say "$2 with openssl $(<"$dependencies/openssl-version")"
}

# makeDependencies TARGET PROCESSOR: GoogleTest and the tool's headers for x86-64 alone, as tests and tool are.
makeDependencies() {
  [ -n "${work:-}" ] || { mkdir -p "$cache"; work=$(mktemp -d "$cache/work.XXXXXX"); fetchOpenssl "$work"; }
  say "building openssl $version for $2"
  buildOpenssl "$work" "$1" "$2" "$work/result-$2"
  echo "$version" >"$work/result-$2/openssl-version"
  if [ "$2" = x86_64 ]; then
    buildGoogleTest "$work" "$2" "$work/result-$2"
    cp -r /usr/include/{CLI,nlohmann} "$work/result-$2/include/"
  fi
  rm -rf "$cache/windows-$2-"*
  mv -T "$work/result-$2" "$dependencies"
}

# build MACHINE PROCESSOR OPTION...: MACHINE is the processor's name for the import library of Microsoft's linker. With
# -O3, GCC 12 warns of overlapping copies in std::string that cannot happen.
build() {
  local folder=build/windows-$2 library=build/windows-$2/api/ZEPASignDLL
  quietly cmake --fresh -G Ninja -S . -B "$folder" -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/mingw-$2.cmake" \
    -DCMAKE_FIND_ROOT_PATH="$dependencies" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE='-O2 -DNDEBUG' \
    -DZEPASIGN_WARNINGS_AS_ERRORS=ON "${@:3}"
  quietly cmake --build "$folder"
  llvm-dlltool -m "$1" -d "api/exports-$2.def" -l "$library.lib"
  scripts/windows-check-dll.sh "$library.dll" "$library.lib" "$2"
}

# setUpWine: a Windows whose code page is 950, as it is in Taiwan; Wine takes it from the locale.
setUpWine() {
  export WINEPREFIX=$cache/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=;mshtml=' LOCPATH=$cache/locale
  mkdir -p "$LOCPATH"
  [ -d "$LOCPATH/zh_TW.UTF-8" ] || quietly localedef -i zh_TW -f UTF-8 "$LOCPATH/zh_TW.UTF-8"
}

# testUnderWine: Wine's own services start with the first program; begun by a test, they would hold its output open and
# CTest would wait for them.
testUnderWine() {
  export LC_ALL=zh_TW.UTF-8
  /usr/lib/wine/wine64 wineboot >/dev/null 2>&1
  ctest --test-dir build/windows-x86_64 --no-tests=error --output-on-failure -j"$(nproc)"
  scripts/windows-compare.sh build/windows-x86_64
}

trap '[ -z "${work:-}" ] || rm -rf "$work"' EXIT
scripts/install-deps.sh clang cmake dpkg-dev g++ g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix googletest \
  libcli11-dev libssl-dev lld llvm locales make nlohmann-json3-dev ninja-build openssl patch perl wine64
setUpWine
prepare mingw64 x86_64
build i386:x86-64 x86_64 -DZEPASIGN_BUILD_TOOLS=ON
prepare mingw i686
build i386 i686 -DBUILD_TESTING=OFF
testUnderWine
