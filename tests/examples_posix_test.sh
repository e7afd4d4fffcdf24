#!/usr/bin/env bash
# examples_posix_test.sh LANGUAGE LIBRARY DIRECTORY: the example in LANGUAGE prints what the one in C prints: an encrypted
# password, the signatures of a file and of a text in Big5 and UTF-16LE, and the signer's certificate. DIRECTORY is shared; "c"
# goes first, fills it, and has openssl verify the signatures. Ends with 77 where the language's runtime is not installed.
set -euo pipefail
source "$(dirname "$0")/../scripts/certificate.sh"
language=$1 library=$2 directory=$3
examples=$(cd "$(dirname "$0")/../examples" && pwd)
export LC_ALL=C.UTF-8 LD_LIBRARY_PATH=${library%/*} PYTHONDONTWRITEBYTECODE=1
text=陳大文同意 name=陳大文

skip() { echo "Skipped: $1"; exit 77; }
need() { command -v "$1" >/dev/null || skip "there is no $1 (package $2)"; }

prepare() {
  rm -rf "$directory"
  mkdir -p "$directory"
  cd "$directory"
  certificate ca 'basicConstraints=critical,CA:TRUE\nkeyUsage=keyCertSign'
  certificate signer 'keyUsage=digitalSignature,nonRepudiation' -CA ca.pem -CAkey ca.key \
    -utf8 -subj "/C=TW/O=Test/CN=$name"
  openssl pkcs12 -export -inkey signer.key -in signer.pem -passout pass:secret -out signer.pfx
  printf '%s\n' "LOG.path = $directory" "LOG.file = log" "PKCS7.digest = SHA256" "PKCS7.addCert = 1" \
    "PKCS7.addTimestamp = FALSE" "PSWD.license = $(openssl rand -hex 32)" "PSWD.authKey = examples" \
    "PFX.path = $directory" "PFX.file = signer.pfx" >app.properties
  echo "The document" >document
  printf %s "$text" | tee >(iconv -f UTF-8 -t BIG5 >big5) | iconv -f UTF-8 -t UTF-16LE >utf16
}

# verify LINE CONTENT: openssl accepts the signature in this line of the output as one over the content.
verify() {
  sed -n "$1p" c.out | openssl base64 -d -A |
    openssl cms -verify -binary -inform DER -content "$2" -CAfile ca.pem | cmp - "$2"
}

verifyAll() {
  verify 2 document
  verify 3 big5
  verify 4 utf16
  diff <(sed -n 5,7p c.out) <(openssl x509 -noout -subject -issuer -serial -nameopt compat -in signer.pem)
  grep -qx "name=$name" c.out
}

# fails REASON COMMAND...: the command ends with 1 and names the reason.
fails() {
  local reason=$1 code=0
  "${@:2}" >/dev/null 2>"$language.err" || code=$?
  if [ "$code" != 1 ] || ! grep -qF "$reason" "$language.err"; then cat "$language.err" && exit 1; fi
}

[ "$language" != c ] || prepare
cd "$directory"
strict=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror "-I$examples/../api")
case $language in
  c) "${CC:-cc}" -std=gnu99 "${strict[@]}" "$examples"/c/{main,signer,platform_posix}.c -o sign-c "$library" -lcrypto
    example=(./sign-c) ;;
  cpp) "${CC:-cc}" -c -std=gnu99 "${strict[@]}" "$examples/c/platform_posix.c" -o platform.o
    "${CXX:-c++}" -std=c++17 "${strict[@]}" "$examples"/cpp/{main,signer}.cpp platform.o -o sign-cpp "$library" -lcrypto
    example=(./sign-cpp) ;;
  csharp) need mcs mono-mcs && need mono mono-runtime && mcs -warnaserror -out:sign.exe "$examples"/csharp/*.cs
    example=(mono sign.exe) ;;
  java) need javac default-jdk-headless && jar=/usr/share/java/jna.jar
    [ -e "$jar" ] || skip "there is no $jar (package libjna-java)"
    javac -Xlint:all -Werror -cp "$jar" -d java "$examples"/java/*.java && example=(java -cp "$jar:java" Main) ;;
  node) need node nodejs
    [ -e "$examples/node/node_modules/koffi" ] || skip "there is no koffi (npm install in examples/node)"
    example=(node "$examples/node/main.js") ;;
  python) need python3 python3
    python3 -c 'import cryptography' || skip "there is no cryptography (package python3-cryptography)"
    example=(python3 -W error "$examples/python/main.py") ;;
esac

mkdir -p "$language.credentials"
"${example[@]}" --encrypt app.properties "$language.credentials/enced" <<<secret >/dev/null # its log, without a log file
fails "ZEPASignInitial failed with 5005: 錯誤的參數(5005)" "${example[@]}" app.properties document "$text"
export CREDENTIALS_DIRECTORY=$directory/$language.credentials
sed '$a\' "$CREDENTIALS_DIRECTORY/enced" >"$language.out"
"${example[@]}" app.properties document "$text" >>"$language.out"
fails "SignPkcs7File failed with 1002: 檔案無法讀取(1002)" "${example[@]}" app.properties missing "$text"
fails "Big5 lacks" "${example[@]}" app.properties document "中平𠮷"
fails "MakeZEPASignPasswd failed with 1202" "${example[@]}" --encrypt missing enced <<<secret
diff c.out "$language.out"
[ "$language" != c ] || verifyAll
