#!/usr/bin/env python3
"""Signs one file from Python (ctypes):  sign.py PROPERTY-FILE FILE

Prints the signature in Base64 and the signer's certificate, or the function that failed, its code and its message.
"""
import ctypes
import os
import sys

QUERIES = {
    "subject": "GetSignerCertSubject",
    "issuer": "GetSignerCertIssuer",
    "serial": "GetSignerCertSerial",
    "notBefore": "GetSignerCertNotBefore",
    "notAfter": "GetSignerCertNotAfter",
    "fingerprint": "GetSignerCertFinger",
}

library = ctypes.CDLL("ZEPASignDLL.dll" if os.name == "nt" else "libZEPASignDLL.so.2")
library.ZEPASignInitial.argtypes = [ctypes.c_char_p, ctypes.c_char_p]
library.ZEPASignInitial.restype = ctypes.c_bool
library.SignPkcs7File.argtypes = [ctypes.c_char_p]
for function in ("GetErrorMsg", "GetSignedPkcs7", *QUERIES.values()):
    getattr(library, function).restype = ctypes.c_char_p


def text(function):
    """A text of the library, which is Big5; ctypes copies the bytes, so it is ours."""
    return getattr(library, function)().decode("cp950")


def path(argument):
    """The bytes of a path, on Windows in the process's code page."""
    return argument.encode("mbcs") if os.name == "nt" else os.fsencode(argument)


def check(good, function):
    if not good:
        sys.exit(f"{function} failed with {library.GetErrorCode()}: {text('GetErrorMsg')}")


def main():
    if len(sys.argv) != 3:
        print(f"usage: {sys.argv[0]} PROPERTY-FILE FILE", file=sys.stderr)
        return 2
    properties, file = map(path, sys.argv[1:])
    # The second argument is needed only when the property file has a PSWD.authKey.
    check(library.ZEPASignInitial(properties, None), "ZEPASignInitial")
    check(library.SignPkcs7File(file) == 0, "SignPkcs7File")
    print(text("GetSignedPkcs7"))
    for label, function in QUERIES.items():
        print(f"{label}={text(function)}")
    return 0


sys.exit(main())
