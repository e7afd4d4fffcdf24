#!/usr/bin/env bash
# examples_posix_test.sh LANGUAGE LIBRARY FOLDER: the example in LANGUAGE signs what the one in C signs and prints the
# same, and the same message in Chinese when it cannot sign. FOLDER is shared; "c" goes first, fills it, and has openssl
# judge the signature. Ends with 77 where the language's runtime is not installed.
set -euo pipefail
source "$(dirname "$0")/support/certificate.sh"
language=$1 library=$2 folder=$3
examples=$(cd "$(dirname "$0")/../examples" && pwd)
export LC_ALL=C.UTF-8 LD_LIBRARY_PATH=${library%/*}

skip() { echo "Skipped: $1"; exit 77; }
need() { command -v "$1" >/dev/null || skip "there is no $1 (package $2)"; }

prepare() {
  rm -rf "$folder"
  mkdir -p "$folder"
  cd "$folder"
  certificate ca 'basicConstraints=critical,CA:TRUE\nkeyUsage=keyCertSign'
  certificate signer 'keyUsage=digitalSignature,nonRepudiation' -CA ca.pem -CAkey ca.key
  openssl pkcs12 -export -inkey signer.key -in signer.pem -passout pass:secret -out signer.pfx
  printf '%s\n' "LOG.path = $folder" "LOG.file = log" "PKCS7.digest = SHA256" "PKCS7.addCert = 1" \
    "PKCS7.addTimestamp = FALSE" "PSWD.license = $(openssl rand -hex 32)" \
    "PFX.path = $folder" "PFX.file = signer.pfx" "PFX.pswd = secret" >app.properties
  echo "The document" >document
}

# judge: openssl says the same of the signature and of its certificate.
judge() {
  head -n 1 c.out | openssl base64 -d -A | openssl cms -verify -binary -inform DER -content document -CAfile ca.pem |
    diff document -
  diff <(sed -n 2,4p c.out) <(openssl x509 -noout -subject -issuer -serial -nameopt compat -in signer.pem)
}

[ "$language" != c ] || prepare
cd "$folder"
case $language in
  c) "${CC:-cc}" -std=gnu99 -Wall -Wextra -Wpedantic -Werror -I"$examples/../api" "$examples/c/sign.c" -o sign-c "$library" && example=(./sign-c) ;;
  cpp) "${CXX:-c++}" -I"$examples/../api" "$examples/cpp/sign.cpp" -o sign-cpp "$library" && example=(./sign-cpp) ;;
  csharp) need mcs mono-mcs && need mono mono-runtime && mcs -out:sign.exe "$examples/csharp/Sign.cs"
    example=(mono sign.exe) ;;
  java) need javac default-jdk-headless && jar=/usr/share/java/jna.jar
    [ -e "$jar" ] || skip "there is no $jar (package libjna-java)"
    example=(java -cp "$jar" "$examples/java/Sign.java") ;;
  node) need node nodejs
    [ -e "$examples/node/node_modules/koffi" ] || skip "there is no koffi (npm install in examples/node)"
    example=(node "$examples/node/sign.js") ;;
  python) need python3 python3 && example=(python3 "$examples/python/sign.py") ;;
esac

"${example[@]}" app.properties document >"$language.out"
if "${example[@]}" app.properties missing >/dev/null 2>"$language.err"; then exit 1; fi
diff c.out "$language.out"
diff - "$language.err" <<<"SignPkcs7File failed with 1002: 檔案無法讀取(1002)"
[ "$language" != c ] || judge
