#!/usr/bin/env bash
# windows-x86-root.sh ROOT COMMAND...: runs the command inside the i386 root, as Wine for x86 needs it: with /proc of its
# own and a Windows directory /wine. The locale, which chooses the code page of Windows, is the caller's. What it leaves
# running ends with it. Needs root.
set -euo pipefail
exec unshare --mount --pid --fork --kill-child --mount-proc="$1/proc" \
  chroot "$1" env -i PATH=/usr/bin:/usr/sbin:/bin:/usr/lib/wine HOME=/root LC_ALL="$LC_ALL" \
  WINEPREFIX=/wine WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=;mshtml=' "${@:2}"
