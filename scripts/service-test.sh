#!/usr/bin/env bash
# service-test.sh: installs the packages in out/packages in a clean Debian root, boots it with systemd, and runs there
# what the operators' manual says about the service that signs a directory, line by line. Then documents arrive faster than
# a service may start by default, and systemd says how exposed the service is. Needs root.
set -euo pipefail
trap 'echo "service-test.sh: failed at line $LINENO" >&2' ERR
cd "$(dirname "$0")/.."
scripts/install-deps.sh systemd-container
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root
scripts/clean-root.sh "$(dpkg --print-architecture)" "$root" dbus openssl systemd-sysv
cp -r out/packages "$root/"
chroot "$root" sh -ec 'export DEBIAN_FRONTEND=noninteractive
  apt-get -q update && apt-get -qy install --no-install-recommends /packages/*.deb' >"$work/log" 2>&1 ||
  { cat "$work/log" >&2; exit 1; }

# walkThrough: the commands of the manual's section.
walkThrough() {
  awk '/^##+ / { inside = /A service that signs a directory/ } inside && /^```/ { command = !command; next }
    inside && command' "$root/usr/share/doc/zepasign/docs/operators.md"
}
{
  echo 'set -ex; export LC_ALL=C.UTF-8; cd /root; zepasign init demo --demo'
  walkThrough
  cat <<'END'
cd /srv/zepasign
zepasign verify --ca /root/demo/ca.pem signatures/document.txt.p7s.b64
[ "$(stat -c '%U %a' signatures/document.txt.p7s.b64)" = "zepasign 640" ]
runuser -u zepasign -- test ! -r /etc/zepasign/enced.txt
for i in $(seq 20); do echo "document $i" > documents/.next && mv documents/.next "documents/$i.txt" && sleep 0.2; done
systemctl start zepasign-batch.service
[ "$(ls -A signatures | wc -l)" = 21 ]
systemctl is-active zepasign-batch.path zepasign-batch.timer
systemd-analyze security --threshold=30 zepasign-batch.service | tail -n 1
systemd-analyze verify --man=no /etc/systemd/system/zepasign-batch.*
END
} >"$root/walk-through"

# The exit code of the first process, and so of systemd-nspawn, is that of the walk-through.
cat >"$root/etc/systemd/system/walk-through.service" <<'END'
[Unit]
SuccessAction=exit
FailureAction=exit
[Service]
Type=oneshot
ExecStart=/bin/bash /walk-through
StandardOutput=file:/walk-through.log
StandardError=inherit
END
SYSTEMD_NSPAWN_UNIFIED_HIERARCHY=1 timeout 300 systemd-nspawn -q -D "$root" --register=no --keep-unit --private-network \
  -b systemd.unit=multi-user.target systemd.wants=walk-through.service </dev/null >"$work/log" 2>&1 &&
  grep -F 'Overall exposure level' "$root/walk-through.log" ||
  { tail -n 20 "$work/log" "$root/walk-through.log" >&2; exit 1; }
echo "service-test.sh: the walk-through of the manual worked"
