#!/usr/bin/env bash
# install-deps.sh PACKAGE...: installs with apt those of the named Debian packages that are missing, and prints nothing
# unless it fails. When all of them are installed, it downloads nothing and does not ask for root's password.
set -euo pipefail

isInstalled() { dpkg-query --show --showformat='${db:Status-Status}' "$1" 2>/dev/null | grep -qx installed; }

missing=()
for package in "$@"; do
  isInstalled "$package" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

asRoot=()
if [ "$(id -u)" -ne 0 ]; then
  asRoot=(sudo)
  command -v sudo >/dev/null || { echo "Please install as root: ${missing[*]}" >&2; exit 1; }
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
# apt: waits for another apt on the machine rather than failing, and asks no questions.
apt() { "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=600 "$@" >>"$log" 2>&1; }
if ! { apt update && apt install --no-install-recommends "${missing[@]}"; }; then
  cat "$log" >&2
  echo "Could not install: ${missing[*]}" >&2
  exit 1
fi
