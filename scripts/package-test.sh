#!/usr/bin/env bash
# package-test.sh: has lintian judge the packages in out/packages, then uses them in a clean Debian root as an
# administrator does: installs them with what they need, checks, signs and verifies, upgrades to a later revision, and
# removes them. ZEPASIGN_DEBIAN names another Debian release for the root. Needs root.
set -euo pipefail
trap 'echo "package-test.sh: failed at line $LINENO" >&2' ERR
cd "$(dirname "$0")/.."
scripts/install-deps.sh dpkg-dev lintian
packages=(out/packages/*_*.deb)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# There is no upload and no bug of a distribution to close; no licence is given.
lintian --allow-root --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs "${packages[@]}"

root=$work/root
scripts/clean-root.sh "$(dpkg --print-architecture)" "$root"
# inRoot COMMAND...: shows the output of a command that fails.
inRoot() {
  chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@" \
    >"$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }
}
# ours: what lies in the root that only the packages can have brought.
ours() { find "$root"/{etc,opt,srv,usr,var/lib} -iname '*zepasign*' ! -path '*/var/lib/dpkg/*' ! -path '*/apt/*'; }

# repack PACKAGE: the same package with a later revision, in the directory later.
repack() {
  dpkg-deb -R "$1" "$work/unpacked"
  sed -i 's/2\.0\.1\.2-[0-9]*/&.1/' "$work/unpacked/DEBIAN/control"
  dpkg-deb -b "$work/unpacked" "$root/later" >/dev/null
  rm -r "$work/unpacked"
}
mkdir "$root/packages" "$root/later"
cp "${packages[@]}" "$root/packages"
for package in "${packages[@]}"; do repack "$package"; done

inRoot apt-get -q update
inRoot sh -c 'apt-get -qy install --no-install-recommends /packages/*.deb'
inRoot sh -ec '
  zepasign --version | grep -F "$(dpkg-query -W -f "\${Version}" zepasign)"
  zepasign init demo --demo
  zepasign check -c demo/app.properties
  zepasign sign -c demo/app.properties demo/ca.pem
  zepasign verify --ca demo/ca.pem demo/ca.pem.p7s.b64'
ls "$root"/usr/share/doc/zepasign/{docs/operators.md,examples/zepasign-batch.service} \
  "$root"/usr/share/doc/libzepasigndll-dev/examples/c/signer.c >/dev/null

# Every link of a page leads to a file of the packages.
grep -rHo '](\(\.\|[A-Za-z]\)[^):#]*[)#]' --include='*.md' "$root/usr/share/doc/zepasign" |
  while IFS=: read -r page link; do
    target=${link:2:-1}
    ls "$(dirname "$page")/$target" >/dev/null
  done

inRoot sh -c 'apt-get -qy upgrade --with-new-pkgs /later/*.deb'
inRoot sh -ec 'dpkg-query -W -f "\${Version}\n" zepasign libzepasigndll2 | grep -c "\.1$" | grep -qx 2'
inRoot zepasign verify --ca demo/ca.pem demo/ca.pem.p7s.b64

inRoot apt-get -qy remove libzepasigndll2
[ -z "$(ours)" ] || { echo "left after the removal:" && ours && exit 1; } >&2
inRoot sh -ec '! dpkg-query -W "*zepasign*"' # no settings either, which only a purge would remove
echo "package-test.sh: installed, used, upgraded and removed: $(basename -a "${packages[@]}" | tr '\n' ' ')"
