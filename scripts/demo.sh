#!/usr/bin/env bash
# demo.sh: from a fresh Debian 12 to a verified signature. Installs what is missing, builds the library, makes a demo
# CA and signer, signs a document through the built library and has openssl verify it. Everything is put into out/demo.
set -euo pipefail
cd "$(dirname "$0")/.."

echo "1. Installing what is missing, building the library (build/release) ..."
scripts/install-deps.sh cmake g++ libssl-dev ninja-build openssl
log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly() { "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }
quietly cmake --preset release
quietly cmake --build --preset release
library=$(find "$PWD/build/release" -name libZEPASignDLL.so -print -quit)
directory=$(dirname "$library")

out=$PWD/out/demo
rm -rf "$out"
mkdir -p "$out"
cp README.md "$out/document.md"
quietly gcc -Wall -Wextra -Iapi examples/c/{main,signer,platform_posix}.c -o "$out/sign" -L"$directory" -lZEPASignDLL \
  -lcrypto -Wl,-rpath,"$directory"

echo "2. Making a demo CA, a signer certificate and its PFX ..."
source scripts/certificate.sh
(
  cd "$out"
  certificate ca 'basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign' -subj "/C=TW/O=Demo/CN=Demo CA"
  certificate signer 'keyUsage=critical,digitalSignature,nonRepudiation' -subj "/C=TW/O=Demo/CN=Demo Signer" \
    -CA ca.pem -CAkey ca.key
)
quietly openssl pkcs12 -export -name signer -inkey "$out/signer.key" -in "$out/signer.pem" -certfile "$out/ca.pem" \
  -passout pass:demo-password -out "$out/signer.pfx"

echo "3. Writing the property file ..."
cat >"$out/app.properties" <<EOF
LOG.level = INFO
LOG.path = $out
LOG.file = app.log
PKCS7.digest = SHA256
PKCS7.addCert = 2
PKCS7.addTimestamp = TRUE
PKCS7.addPlainText = FALSE
PSWD.license = $(openssl rand -hex 32)
PFX.path = $out
PFX.file = signer.pfx
PFX.pswd = demo-password
EOF

echo "4. Signing the document through the library ..."
quietly "$out/sign" "$out/app.properties" "$out/document.md"
head -n 1 "$log" >"$out/document.p7s.b64"
echo "   Signed by $(sed -n 's/^subject=//p' "$log")"
openssl base64 -d -A -in "$out/document.p7s.b64" -out "$out/document.p7s"

echo "5. Asking openssl cms -verify ..."
quietly openssl cms -verify -binary -inform DER -in "$out/document.p7s" -content "$out/document.md" -CAfile "$out/ca.pem" \
  -out /dev/null
echo "   $(cat "$log")"
cat <<EOF
Library:       $library
Document:      $out/document.md
Signature:     $out/document.p7s (detached, DER), $out/document.p7s.b64 (as the library gave it)
Property file: $out/app.properties
Log (Big5):    $(find "$out" -name 'app.log.*')
EOF
