#!/usr/bin/env bash
# interop_posix_test.sh LIBRARY: other makers' programs accept what the library signs, and it loads what they make. What
# is not installed is named and left out.
set -euo pipefail
source "$(dirname "$0")/support/certificate.sh"
library=$1
source=$(realpath "$(dirname "$0")/..")
export LC_ALL=C.UTF-8 LD_LIBRARY_PATH=${library%/*}
folder=$(mktemp -d)
export GNUPGHOME=$folder/gnupg
trap 'gpgconf --kill all 2>/dev/null || true; rm -rf "$folder"' EXIT
cd "$folder"
has() { command -v "$1" >/dev/null; }
for tool in certtool pk12util cmsutil keytool gpgsm; do has "$tool" || echo "Left out: $tool"; done
jars=/usr/share/java/bcpkix.jar:/usr/share/java/bcprov.jar:/usr/share/java/bcutil.jar
hasBouncyCastle() { has java && [ -e "${jars%%:*}" ]; }
hasBouncyCastle || echo "Left out: Bouncy Castle"
quiet() { "$@" >output 2>&1 || { echo "failed: $*"; cat output; exit 1; }; }

certificate ca 'basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\nauthorityKeyIdentifier=keyid:always'
certificate signer 'keyUsage=digitalSignature,nonRepudiation\nauthorityKeyIdentifier=keyid' -CA ca.pem -CAkey ca.key
certificate ec 'keyUsage=digitalSignature,nonRepudiation\nauthorityKeyIdentifier=keyid' -CA ca.pem -CAkey ca.key \
  -newkey ec -pkeyopt ec_paramgen_curve:P-256
printf 'line\r\nline\n' >content
cc -I"$source/api" "$source"/examples/c/{main,signer,platform_posix}.c -o sign "$library" -lcrypto
openssl crl2pkcs7 -nocrl -certfile ca.pem -outform DER -out openssl.p7b
license=$(openssl rand -hex 32)
ski=$(openssl x509 -in ca.pem -noout -ext subjectKeyIdentifier | sed -n '2s/[ :]//gp')

# sign [KEY=VALUE...]: makes the signature sig.p7, or fails with the log shown; the log must hold no error.
sign() {
  rm -f log.*
  printf '%s\n' LOG.path=. LOG.file=log LOG.level=INFO PKCS7.digest=SHA256 PKCS7.addPlainText=TRUE PKCS7.addCert=2 \
    P7B.path=. P7B0.name=openssl.p7b "P7B0.SKI=$ski" CRL.path=. "PSWD.license=$license" PFX.path=. PFX.pswd=secret \
    "$@" >app.properties
  ./sign app.properties content >out || { echo "failed: $*" && cat log.* && exit 1; }
  if grep -aE '^.{23} \(PID=[0-9]+\) ERROR' log.*; then exit 1; fi
  head -n 1 out | openssl base64 -d -A >sig.p7
}

# pfx NAME FILE [OPTION...]
pfx() { quiet openssl pkcs12 -export -inkey "$1.key" -in "$1.pem" -name "$1" -passout pass:secret -out "$2" "${@:3}"; }
pfx ca ca.p12
pfx signer modern.pfx
pfx signer legacy.pfx -legacy
pfx ec ec.p12
if has certtool; then
  quiet certtool --to-p12 --load-privkey signer.key --load-certificate signer.pem --p12-name x --password secret \
    --outder --outfile gnutls.pfx
fi
if has pk12util; then
  mkdir nss && certutil -N -d nss --empty-password
  quiet pk12util -i ca.p12 -d nss -W secret
  certutil -M -d nss -n ca -t C,C,C
  quiet pk12util -i modern.pfx -d nss -W secret
  quiet pk12util -o nss.pfx -n signer -d nss -W secret
fi
if has keytool; then
  quiet keytool -importkeystore -srckeystore modern.pfx -srcstorepass secret -destkeystore java.pfx \
    -deststoretype PKCS12 -deststorepass secret
fi
if has gpgsm; then
  mkdir -m 700 gnupg
  openssl x509 -in ca.pem -noout -fingerprint -sha1 | sed 's/.*=//; s/://g; s/$/ S relax/' >gnupg/trustlist.txt
  quiet gpgsm --batch --import ca.pem
  quiet gpgsm --batch --import signer.pem ec.pem
fi

for pfx in *.pfx; do
  sign "PFX.file=$pfx"
  [ -e first ] || cp sig.p7 first
  cmp first sig.p7
done

# Chains and CRLs.
touch index.txt
quiet openssl ca -gencrl -crlexts none -keyfile ca.key -cert ca.pem -md sha256 -crldays 9 -out crl.pem -config <(
  printf '[ca]\ndefault_ca=d\n[d]\ndatabase=index.txt\n[none]\nauthorityKeyIdentifier=keyid\n')
openssl crl -in crl.pem -outform DER -out openssl.crl
if has certtool; then
  quiet certtool --generate-crl --load-ca-privkey ca.key --load-ca-certificate ca.pem --outder --outfile gnutls.crl \
    --template <(printf 'crl_next_update = 9\ncrl_number = 1\n')
  quiet certtool --p7-generate --load-certificate ca.pem --outder --outfile gnutls.p7b
fi
if has cmsutil; then
  quiet crlutil -G -d nss -n ca -o nss.crl -c <(printf 'update=%(%Y%m%d%H%M%SZ)T\nnextupdate=20991231235959Z\n')
  quiet cmsutil -O -d nss -r ca -o nss.p7b
fi
if has keytool; then
  quiet keytool -gencrl -keystore ca.p12 -storepass secret -storetype PKCS12 -alias ca -id 5 -file java.crl
fi
for crl in *.crl; do
  chain=${crl%crl}p7b
  [ -e "$chain" ] || chain=openssl.p7b
  sign PFX.file=modern.pfx "P7B0.name=$chain" "P7B0.crlFile0=$crl"
  [ "$(openssl pkcs7 -inform DER -in sig.p7 -print_certs | grep -c ^subject)" = 2 ]
  grep -aq ' = 0x00000001(1)' log.*
done

# judges: the makers' verdicts on sig.p7, whose content is in it ($1 TRUE) or beside it; the signer is $2.
judges() {
  local beside=()
  [ "$1" = TRUE ] || beside=(content)
  ! has certtool || quiet certtool --p7-verify --verify-allow-broken --inder --infile sig.p7 \
    --load-certificate "${2:-signer}.pem" ${beside:+--load-data content}
  if has cmsutil; then
    quiet cmsutil -D -d nss -i sig.p7 ${beside:+-c content}
    cmp content output
  fi
  ! has gpgsm || quiet gpgsm --batch --disable-crl-checks --disable-dirmngr --verify sig.p7 ${beside:+content}
}
for choice in {SHA1,SHA256}" "{TRUE,FALSE}" "{TRUE,FALSE}" "{-1,1,2}; do
  read -r digest timestamp plain certificates <<<"$choice"
  sign PFX.file=modern.pfx "PKCS7.digest=$digest" "PKCS7.addTimestamp=$timestamp" "PKCS7.addPlainText=$plain" \
    "PKCS7.addCert=$certificates"
  judges "$plain"
  cp sig.p7 "judged-${choice// /-}"
done
for timestamp in TRUE FALSE; do
  sign PFX.file=ec.p12 "PKCS7.addTimestamp=$timestamp"
  judges TRUE ec
done
bouncyCastle() { java -cp "$jars" "$source/tests/support/Verify.java" signer.der content "$@" >output 2>&1; }
openssl x509 -in signer.pem -outform DER -out signer.der
! hasBouncyCastle || quiet bouncyCastle judged-*
echo >>content
if (judges FALSE) >/dev/null || { hasBouncyCastle && bouncyCastle sig.p7; }; then
  echo "nobody objects to another content" && exit 1
fi
