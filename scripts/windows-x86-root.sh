#!/usr/bin/env bash
# windows-x86-root.sh ROOT COMMAND...: runs the command inside the i386 root, as Wine for x86 needs it: with /proc of its
# own, a Windows folder /wine, and a locale whose code page is 950. What it leaves running ends with it. Needs root.
set -euo pipefail
exec unshare --mount --pid --fork --kill-child --mount-proc="$1/proc" chroot "$1" env -i PATH=/usr/bin:/usr/sbin:/bin:/usr/lib/wine \
  HOME=/root LC_ALL=zh_TW.UTF-8 WINEPREFIX=/wine WINEARCH=win32 WINEDEBUG=-all WINEDLLOVERRIDES='mscoree=;mshtml=' \
  "${@:2}"
