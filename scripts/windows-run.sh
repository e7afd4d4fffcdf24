#!/usr/bin/env bash
# windows-run.sh ROOT DIRECTORY PROCESSOR PROGRAM ARGUMENT...: runs a Windows program under Wine, in a directory of
# the i386 root ROOT; a program for x86 (PROCESSOR i686) has that root for its own.
set -euo pipefail
root=$1 directory=$2 processor=$3
if [ "$processor" = i686 ]; then
  # shellcheck disable=SC2016 # the inner shell's own arguments
  exec "$(dirname "$0")/windows-x86-root.sh" "$root" sh -c 'cd "$0" && exec wine "$@"' "$directory" "${@:4}"
fi
cd "$root/$directory"
exec /usr/lib/wine/wine64 "${@:4}"
