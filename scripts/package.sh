#!/usr/bin/env bash
# package.sh: builds the Debian packages of the latest commit into out/packages, and installs what that needs. The same
# commit gives the same packages, bit for bit.
#   ZEPASIGN_REVISION   the Debian revision; otherwise the number of commits, so that every later build is newer
#   ZEPASIGN_CONTACT    "Name <address>" of who maintains the packages; .invalid addresses (RFC 2606) reach nobody
#   SOURCE_DATE_EPOCH   the date of the packages in seconds; otherwise the commit's
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh build-essential cmake debhelper git libcli11-dev libssl-dev ninja-build nlohmann-json3-dev

if [ "$(git rev-parse --is-shallow-repository)" = true ] && [ -z "${ZEPASIGN_REVISION:-}" ]; then
  echo "package.sh: a shallow clone cannot count its commits; set ZEPASIGN_REVISION" >&2
  exit 1
fi
revision=${ZEPASIGN_REVISION:-$(git rev-list --count HEAD)}
contact=${ZEPASIGN_CONTACT:-ZEPASignDLL maintainers <maintainers@zepasigndll.invalid>}
export SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
source=$work/zepasigndll
mkdir "$source"
git archive HEAD | tar -x -C "$source"
mv "$source/packaging/debian" "$source/debian"
version=$(sed -n 's/^project(ZEPASignDLL VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")-$revision
control=$(<"$source/debian/control")
printf '%s\n' "${control/@CONTACT@/"$contact"}" >"$source/debian/control"

# changes: the topmost section of CHANGELOG.md in the form of a Debian changelog.
changes() {
  awk '/^## / { if (inside++) exit; next }
    !inside { next }
    /^### / { print "  [ " substr($0, 5) " ]"; next }
    /^- / { print "  * " substr($0, 3); next }
    /^  / { print "  " $0; next }
    { print }' "$source/CHANGELOG.md"
}
{
  printf 'zepasigndll (%s) unstable; urgency=medium\n' "$version"
  changes
  printf ' -- %s  %s\n' "$contact" "$(date -uR -d "@$SOURCE_DATE_EPOCH")"
} >"$source/debian/changelog"

(cd "$source" && dpkg-buildpackage --build=binary --no-sign) >"$work/log" 2>&1 || { tail -n 60 "$work/log" >&2; exit 1; }
rm -rf out/packages
mkdir -p out/packages
cp "$work"/*.deb out/packages/
ls out/packages
