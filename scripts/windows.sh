#!/usr/bin/env bash
# windows.sh: cross-builds ZEPASignDLL.dll and zepasign.exe on Debian 12 with MinGW-w64, for x86-64 and for x86, and checks
# what both DLLs export and import. Runs all tests of both under Wine, those of x86 in a clean i386 root, compares their
# signatures with the Linux library's, and uses the tool. What is missing is installed from the distribution. Needs root
# for the i386 root.
#   scripts/windows.sh                         results: build/windows-x86_64/api/, build/windows-i686/api/
#   ZEPASIGN_CACHE=directory scripts/windows.sh   what is kept lies here and not in ~/.cache/zepasign
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/quietly.sh

# requireRoot: the x86 tests are never left out, so it fails before anything is built where they could not run.
requireRoot() {
  unshare --mount --pid --fork --mount-proc true 2>/dev/null && return
  echo "windows.sh: the x86 DLL is tested in an i386 root, which needs root and the right to mount /proc in it" >&2
  exit 1
}

# build PROCESSOR MACHINE: MACHINE is the processor's name for the import library of Microsoft's linker.
build() {
  local library=build/windows-$1/api/ZEPASignDLL
  export ZEPASIGN_WINDOWS_LIBRARIES=$libraries/$1
  quietly cmake --fresh --preset "windows-$1"
  quietly cmake --build --preset "windows-$1" -j"$(nproc)"
  llvm-dlltool -m "$2" -d "api/exports-$1.def" -l "$library.lib"
  scripts/windows-check-dll.sh "$library.dll" "$library.lib" "$1"
}

# onWindows COMMAND...: with a Windows whose code page is 950, as in Taiwan: Wine takes it from the locale.
onWindows() {
  LC_ALL=zh_TW.UTF-8 LOCPATH=$work/locale WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=;mshtml=' "$@"
}

# Both test functions begin with Wine's server and its services. The server ends with the last program otherwise, and a
# program that starts at that moment may end with it, without a word. The services start with the first program; if a test
# started them, they would keep its output open, and CTest would wait for them. wineserver -k ends all, which saves the
# registry.

testX64() {
  mkdir "$work/locale" "$work/wine"
  quietly localedef -i zh_TW -f UTF-8 "$work/locale/zh_TW.UTF-8"
  onWindows /usr/lib/wine/wineserver64 -p >/dev/null 2>&1
  onWindows /usr/lib/wine/wine64 wineboot >/dev/null 2>&1
  onWindows ctest --preset windows-x86_64
}

# testX86: in the i386 root, where the build directory lies under its own path, since the tests know it by that.
testX86() {
  local directory=$PWD/build/windows-i686
  mkdir -p "$work/i386/$directory" "$work/i386/wine"
  cp -r build/windows-i686/{CTestTestfile.cmake,api,tests,tools} "$work/i386/$directory/"
  quietly onWindows scripts/windows-x86-root.sh "$work/i386" localedef -i zh_TW -f UTF-8 zh_TW.UTF-8
  onWindows scripts/windows-x86-root.sh "$work/i386" sh -c "wineserver -p >/dev/null 2>&1; wine wineboot >/dev/null 2>&1
    ctest --test-dir '$directory' --no-tests=error --output-on-failure -j$(nproc); code=\$?
    wineserver -k
    exit \$code"
}

# examine PROCESSOR MACHINE TEST: each line of its output begins with the processor, since two run side by side.
examine() {
  { build "$1" "$2"; "$3"; } 2>&1 | sed -u "s/^/$1: /"
}

requireRoot
scripts/install-deps.sh clang cmake debootstrap g++ lld llvm locales ninja-build openssl util-linux wine64
work=$(mktemp -d)
trap 'wait; onWindows /usr/lib/wine/wineserver64 -k 2>/dev/null || true; rm -rf "$work"' EXIT
scripts/clean-root.sh i386 "$work/i386" cmake locales wine32 &  # mostly downloads, while the libraries are built
root=$!
libraries=$(scripts/windows-libraries.sh)
wait "$root"
examine x86_64 i386:x86-64 testX64 &
x64=$!
examine i686 i386 testX86
wait "$x64"
# One after the other: in the i386 root, the programs of one would use the other's server and end with it.
onWindows scripts/windows-tool.sh "$work/i386"
onWindows scripts/windows-compare.sh "$work/i386"
