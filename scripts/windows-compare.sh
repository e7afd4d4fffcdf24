#!/usr/bin/env bash
# windows-compare.sh BUILD-FOLDER: fails unless the DLL in that folder and the Linux library make the same signature,
# byte for byte, from the same PFX and content. A C host signs on both sides; on Windows it is linked with the import
# library, runs under Wine, and its property file has the line ends and backslashes of Windows. So does the tool there.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/certificate.sh

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# quietly runs a command whose messages matter only when it fails.
quietly() { "$@" 2>"$work/messages" || { cat "$work/messages" >&2; exit 1; }; }

quietly cmake --preset release --log-level=WARNING >/dev/null
quietly cmake --build --preset release >/dev/null
example=(-Iapi examples/c/main.c examples/c/signer.c)
gcc "${example[@]}" examples/c/platform_posix.c -o "$work/sign" -Lbuild/release/api -lZEPASignDLL -lcrypto \
  -Wl,-rpath,"$PWD/build/release/api"
x86_64-w64-mingw32-gcc-posix "${example[@]}" examples/c/platform_windows.c -o "$work/sign.exe" -L"$1/api" -lZEPASignDLL \
  -lcrypt32
cp "$1/api/ZEPASignDLL.dll" "$1/tools/zepasign.exe" "$work"

cd "$work"
mkdir keys
certificate signer keyUsage=digitalSignature
quietly openssl pkcs12 -export -legacy -inkey signer.key -in signer.pem -passout pass:secret -out keys/signer.pfx
openssl rand -out content 100000
sed 's/$/\r/' >windows.properties <<'EOF'
LOG.level = INFO
LOG.path = logs\
LOG.file = windows
PKCS7.digest = SHA256
PKCS7.addCert = 1
PKCS7.addPlainText = TRUE
PSWD.license = 00112233445566778899AABBCCDDEEFF00112233445566778899AABBCCDDEEFF
PFX.path = keys\
PFX.file = signer.pfx
PFX.pswd = secret
EOF
sed 's/\r//; s#\\#/#; s/windows/linux/' windows.properties >linux.properties
quietly ./sign linux.properties content >linux.b64
quietly /usr/lib/wine/wine64 sign.exe windows.properties content >windows.b64
diff --strip-trailing-cr linux.b64 windows.b64
quietly /usr/lib/wine/wine64 zepasign.exe sign -c windows.properties -o - content |
  diff --strip-trailing-cr <(head -n 1 linux.b64) -
echo "windows-compare.sh: the signatures of both libraries are equal ($(wc -c <linux.b64) bytes)"
