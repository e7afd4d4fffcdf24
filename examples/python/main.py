#!/usr/bin/env python3
"""Signs a file, and a text when one is given:  main.py PROPERTY-FILE FILE [TEXT]

main.py --encrypt PROPERTY-FILE FILE reads the PFX password from the standard input and writes its encrypted form to FILE.
"""
import sys
from pathlib import Path

import signer


def encrypt(property_file, file):
    Path(file).write_text(signer.encrypt_password(property_file, sys.stdin.readline().rstrip("\n")), "ascii")


def sign(property_file, file, text=None):
    signer.initialize(property_file)
    signature = signer.sign_file(file)
    print(signature.base64)
    if text is not None:
        print(signer.sign_text(text).base64)
        print(signer.sign_bytes(text.encode("utf-16-le")).base64)
    certificate = signature.certificate
    for field in ("subject", "issuer", "serial", "not_before", "not_after", "fingerprint"):
        print(f"{field}={getattr(certificate, field)}")
    print(f"name={certificate.common_name()}\nversion={signer.version()}")


arguments = sys.argv[1:]
if len(arguments) not in (2, 3):
    sys.exit(__doc__)
try:
    if arguments[0] == "--encrypt":
        encrypt(*arguments[1:])
    else:
        sign(*arguments)
except (signer.SignerError, ValueError, OSError) as failure:
    sys.exit(str(failure))
