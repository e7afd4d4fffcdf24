# certificate NAME EXTENSIONS [OPTION...]: NAME.pem with a new key, NAME.key; self-signed unless the options for
# `openssl req` name another issuer. To be sourced; the output of openssl is shown only when it fails.
certificate() {
  openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj "/C=TW/O=Test/CN=$1" -config <(
    printf '[req]\ndistinguished_name=dn\nx509_extensions=ext\n[dn]\n[ext]\nsubjectKeyIdentifier=hash\n%b\n' "$2"
  ) -keyout "$1.key" -out "$1.pem" "${@:3}" 2>"$1.messages" || { cat "$1.messages" >&2; return 1; }
  rm "$1.messages"
}
