#!/usr/bin/env bash
# windows-check-dll.sh DLL IMPORT-LIBRARY PROCESSOR: fails unless the DLL (PROCESSOR x86_64 or i686) exports exactly the
# functions of the public header, each under its plain name and the name that Microsoft's compiler gives it (Clang
# speaks its language), imports from nothing that does not come with Windows, may be loaded anywhere and executes no
# data, and a linker like Microsoft's finds all these names in the import library.
set -euo pipefail
dll=$1 library=$2 processor=$3
header=$(dirname "$0")/../api/ZEPASignDLL.h
functions=$(sed -n 's/^ZEPASIGN_API.*[ *]\([A-Za-z0-9]*\)(.*/\1/p' "$header")
host=$(mktemp -d)
trap 'rm -rf "$host"' EXIT

# makeHost LINKAGE: an object that takes every function from the DLL by its name in the language LINKAGE.
makeHost() {
  {
    sed "s/extern \"C\" {/extern \"$1\" {/" "$header"
    awk '{ print "auto* use" $1 " = &" $1 ";" }' <<<"$functions"
  } | clang++ --target="$processor-pc-windows-msvc" -x c++ -std=c++20 -c - -o "$host/$1.o"
  lld-link /dll /noentry /nodefaultlib "/out:$host/$1.dll" "$host/$1.o" "$library"
}
makeHost C
makeHost C++

decorated=$("$processor-w64-mingw32-nm" --undefined-only "$host/C++.o" | sed 's/.* __imp_//')
expected=$(printf '%s\n' "$functions" "$decorated" | LC_ALL=C sort)
table=$("$processor-w64-mingw32-objdump" -p "$dll")
exported=$(sed -n '/Ordinal\/Name Pointer/,/^$/s/^\t\[ *[0-9]*\] //p' <<<"$table" | LC_ALL=C sort)
diff <(echo "$expected") <(echo "$exported") || { echo "$dll: expected names (<) and exported names (>) differ" >&2; exit 1; }

foreign=$(sed -n 's/^\tDLL Name: //p' <<<"$table" | grep -viE '^(advapi32|bcrypt|crypt32|gdi32|kernel32|msvcrt|user32|ws2_32)\.dll$' || true)
[ -z "$foreign" ] || { echo "$dll needs $foreign, which does not come with Windows" >&2; exit 1; }
for flag in DYNAMIC_BASE NX_COMPAT; do
  grep -q "$flag" <<<"$table" || { echo "$dll lacks $flag" >&2; exit 1; }
done
echo "$dll: $(wc -l <<<"$exported") names exported, self-contained"
