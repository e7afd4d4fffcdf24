#!/usr/bin/env bash
# interop_posix_test.sh LIBRARY: programs of other makers accept what the library signs, and it loads what they make.
# Programs that are not installed are named and left out.
set -euo pipefail
source "$(dirname "$0")/../scripts/certificate.sh"
library=$1
source=$(realpath "$(dirname "$0")/..")
export LC_ALL=C.UTF-8 LD_LIBRARY_PATH=${library%/*}
directory=$(mktemp -d)
export GNUPGHOME=$directory/gnupg
trap 'gpgconf --kill all 2>/dev/null || true; rm -rf "$directory"' EXIT
cd "$directory"
has() { command -v "$1" >/dev/null; }
for tool in certtool pk12util cmsutil keytool gpgsm; do has "$tool" || echo "Left out: $tool"; done
quiet() { "$@" >output 2>&1 || { echo "failed: $*"; cat output; exit 1; }; }

certificate ca 'basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign,cRLSign\nauthorityKeyIdentifier=keyid:always'
certificate signer 'keyUsage=digitalSignature,nonRepudiation\nauthorityKeyIdentifier=keyid' -CA ca.pem -CAkey ca.key
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

# Each maker's PFX, chain and CRL.
for name in ca signer; do
  quiet openssl pkcs12 -export -inkey $name.key -in $name.pem -name $name -passout pass:secret -out openssl-$name.p12
done
mv openssl-signer.p12 openssl.pfx
quiet openssl pkcs12 -export -legacy -inkey signer.key -in signer.pem -passout pass:secret -out legacy.pfx
touch index.txt
quiet openssl ca -gencrl -crlexts none -keyfile ca.key -cert ca.pem -md sha256 -crldays 9 -out crl.pem -config <(
  printf '[ca]\ndefault_ca=d\n[d]\ndatabase=index.txt\n[none]\nauthorityKeyIdentifier=keyid\n')
openssl crl -in crl.pem -outform DER -out openssl.crl
if has certtool; then
  quiet certtool --to-p12 --load-privkey signer.key --load-certificate signer.pem --p12-name x --password secret \
    --outder --outfile gnutls.pfx
  quiet certtool --generate-crl --load-ca-privkey ca.key --load-ca-certificate ca.pem --outder --outfile gnutls.crl \
    --template <(printf 'crl_next_update = 9\ncrl_number = 1\n')
  quiet certtool --p7-generate --load-certificate ca.pem --outder --outfile gnutls.p7b
fi
if has pk12util && has cmsutil; then
  mkdir nss && certutil -N -d nss --empty-password
  quiet pk12util -i openssl-ca.p12 -d nss -W secret
  certutil -M -d nss -n ca -t C,C,C
  quiet pk12util -i openssl.pfx -d nss -W secret
  quiet pk12util -o nss.pfx -n signer -d nss -W secret
  quiet crlutil -G -d nss -n ca -o nss.crl -c <(printf 'update=%(%Y%m%d%H%M%SZ)T\nnextupdate=20991231235959Z\n')
  quiet cmsutil -O -d nss -r ca -o nss.p7b
fi
! has keytool || quiet keytool -importkeystore -srckeystore openssl.pfx -srcstorepass secret -destkeystore java.pfx \
  -deststoretype PKCS12 -deststorepass secret
for file in *.pfx *.crl; do
  maker=${file%.*} && [ -e "$maker.crl" ] || maker=openssl
  [ -e "$maker.p7b" ] || maker=openssl
  pfx=${file%.*}.pfx && [ -e "$pfx" ] || pfx=openssl.pfx
  sign "PFX.file=$pfx" "P7B0.name=$maker.p7b" "P7B0.crlFile0=$maker.crl"
  [ "$(openssl pkcs7 -inform DER -in sig.p7 -print_certs | grep -c ^subject)" = 2 ]
  cp -n sig.p7 first && cmp first sig.p7
done

# The programs verify a signature with embedded content and a detached one.
if has gpgsm; then
  mkdir -m 700 gnupg
  openssl x509 -in ca.pem -noout -fingerprint -sha1 | sed 's/.*=//; s/://g; s/$/ S relax/' >gnupg/trustlist.txt
  quiet gpgsm --batch --import ca.pem
fi
verify() {
  ! has certtool || quiet certtool --p7-verify --inder --infile sig.p7 --load-certificate signer.pem ${1:+--load-data content}
  ! has cmsutil || quiet cmsutil -D -d nss -i sig.p7 ${1:+-c content}
  ! has gpgsm || quiet gpgsm --batch --disable-crl-checks --disable-dirmngr --verify sig.p7 ${1:+content}
}
sign PFX.file=openssl.pfx PKCS7.addTimestamp=TRUE
verify
sign PFX.file=openssl.pfx PKCS7.addPlainText=FALSE
verify content
echo >>content
if (verify content) >/dev/null; then echo "nobody objects to another content" && exit 1; fi
