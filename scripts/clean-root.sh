#!/usr/bin/env bash
# clean-root.sh ARCHITECTURE DIRECTORY [PACKAGE...]: a minimal root of this machine's Debian release, or $ZEPASIGN_DEBIAN,
# in DIRECTORY, with the packages. debootstrap makes it once; it is kept as a tar file in ~/.cache/zepasign (or
# $ZEPASIGN_CACHE). Needs root.
set -euo pipefail
cd "$(dirname "$0")/.."
architecture=$1 directory=$2 packages=("${@:3}")
cache=${ZEPASIGN_CACHE:-${XDG_CACHE_HOME:-~/.cache}/zepasign}
if [ "$(id -u)" -ne 0 ]; then
  echo "clean-root.sh: only root can make the root of another system" >&2
  exit 1
fi
scripts/install-deps.sh debootstrap
release=${ZEPASIGN_DEBIAN:-$(. /etc/os-release && echo "$VERSION_CODENAME")}
kept=$cache/root-$release-$architecture-$(sha256sum <<<"${packages[*]}" | cut -c1-16).tar

if [ ! -e "$kept" ]; then
  mkdir -p "$cache"
  work=$(mktemp -d "$cache/work.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  included=$(IFS=,; echo "${packages[*]}")
  debootstrap --arch="$architecture" --variant=minbase ${included:+"--include=$included"} "$release" "$work/root" \
    >"$work/log" 2>&1 || { tail -n 40 "$work/log" "$work/root/debootstrap/debootstrap.log" >&2; exit 1; }
  rm -f "$work"/root/var/cache/apt/archives/*.deb
  tar --one-file-system -C "$work/root" -cf "$work/tar" .
  mv "$work/tar" "$kept"
fi
mkdir -p "$directory"
tar -C "$directory" -xpf "$kept"
cp /etc/resolv.conf "$directory/etc/"
