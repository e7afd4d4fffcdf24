#!/usr/bin/env bash
# hardening_posix_test.sh LIBRARY: the built file has what the compiler and the linker offer against hostile input.
set -euo pipefail
facts=$(LC_ALL=C readelf --wide --program-headers --dynamic "$1" && nm -D --undefined-only "$1" &&
  objdump -d "$1" | grep -A1 '<GetPkiVersion>:')
has() { grep -qE -e "$1" <<<"$facts" || { echo "missing: $2" >&2 && exit 1; }; }
hasNo() { ! grep -qE -e "$1" <<<"$facts" || { echo "found: $2" >&2 && exit 1; }; }
has ' GNU_RELRO ' 'read-only relocations'
has 'BIND_NOW|FLAGS_1.* NOW' 'binding at load time'
has ' GNU_STACK .* RW  ' 'a stack that is not executable'
hasNo ' LOAD .* RWE |TEXTREL' 'memory both writable and executable'
hasNo 'R(UN)?PATH' 'the directory that it was built in'
has __stack_chk_fail 'the stack protector'
has ' __[a-z]+_chk' 'fortified calls'
# The note is not tested for the whole file, since the system's own start-up objects lack it.
[ "$(uname -m)" != x86_64 ] || has endbr64 'landing marks for indirect calls'
