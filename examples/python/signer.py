"""ZEPASignDLL for Python: signs texts, bytes and files, from any thread.

    signer.initialize("app.properties")
    print(signer.sign_file("document.pdf").base64)

The library holds one signer for the whole process and has no lock. This module holds a lock of its own while it signs
and reads the result, and copies each text before it releases the lock. Call the library through this module only.
"""
import base64
import ctypes
import os
import threading
from dataclasses import dataclass

_MAX_LENGTH = 2**31 - 1  # the library's lengths have 32 bits
_PROPERTY_FILE_UNREADABLE = 1202


class SignerError(Exception):
    """A call that failed: `function`, the library's error `code` and `message`. The log tells the cause."""

    def __init__(self, function, code, message):
        super().__init__(function, code, message)
        self.function, self.code, self.message = function, code, message

    def __str__(self):
        return f"{self.function} failed with {self.code}: {self.message}"


@dataclass(frozen=True)
class Certificate:
    """The signer's certificate. Dates are YYYYMMDDhhmmss in UTC+8."""

    base64: str
    subject_cn: str  # always empty with OpenSSL 3; common_name() has the name
    subject: str  # bytes beyond ASCII read \xE9, as in issuer
    issuer: str
    not_before: str
    not_after: str
    serial: str
    fingerprint: str

    def common_name(self):
        """The signer's name with its Chinese characters; needs the package `cryptography`."""
        from cryptography import x509  # here, so that hosts without the package can sign

        certificate = x509.load_der_x509_certificate(base64.b64decode(self.base64))
        names = certificate.subject.get_attributes_for_oid(x509.NameOID.COMMON_NAME)
        return names[0].value if names else ""


@dataclass(frozen=True)
class Signature:
    """A PKCS#7 signature, Base64 of the DER, and the certificate that made it."""

    base64: str
    certificate: Certificate


_QUERIES = (  # in the order of Certificate's fields
    "GetSignerCertB64",
    "GetSignerCertSubjectCN",
    "GetSignerCertSubject",
    "GetSignerCertIssuer",
    "GetSignerCertNotBefore",
    "GetSignerCertNotAfter",
    "GetSignerCertSerial",
    "GetSignerCertFinger",
)


def _load():
    library = ctypes.CDLL("ZEPASignDLL.dll" if os.name == "nt" else "libZEPASignDLL.so.2")
    text, size = ctypes.c_char_p, ctypes.POINTER(ctypes.c_int)
    for function in ("GetPkiVersion", "GetErrorMsg", "GetSignedPkcs7", *_QUERIES):
        getattr(library, function).restype = text  # ctypes copies the bytes
    library.ZEPASignInitial.argtypes = [text, text]
    library.ZEPASignInitial.restype = ctypes.c_bool
    library.MakeZEPASignPasswd.argtypes = [text, size, text, text]
    library.SignPkcs7.argtypes = [text, text]
    library.SignPkcs7Bin.argtypes = [text, ctypes.c_int]
    library.SignPkcs7File.argtypes = [text]
    return library


_library = _load()
_lock = threading.Lock()


def version():
    """The library's version."""
    return _text("GetPkiVersion")


def initialize(property_file, enced_file=None):
    """Loads the settings and the PFX. With PSWD.authKey in the property file, the encrypted password comes from
    `enced_file` or, without one, from the service manager's credential `enced`."""
    enced = _read_enced(enced_file)
    with _lock:
        _check(_library.ZEPASignInitial(_path(property_file), enced), "ZEPASignInitial")


def sign_text(text, encoding="BIG5"):
    """Signs `text` in `encoding`, "BIG5" or "UTF-16LE". Raises ValueError for a character that Big5 lacks; such a text
    can be signed as bytes: sign_bytes(text.encode("utf-16-le"))."""
    return _sign("SignPkcs7", _terminated(_to_big5(text)), _terminated(encoding.encode()))


def sign_bytes(data):
    """Signs `data`, a bytes object."""
    if len(data) > _MAX_LENGTH:
        raise ValueError("more than 2147483647 bytes")
    return _sign("SignPkcs7Bin", bytes(data), len(data))


def sign_file(path):
    """Signs the content of a file."""
    return _sign("SignPkcs7File", _path(path))


def encrypt_password(property_file, password):
    """The encrypted form of the PFX password, for the file that initialize() reads. In a process that never
    initializes, the library's log lines go to the standard output when the process ends."""
    length = ctypes.c_int(0)
    arguments = ctypes.byref(length), _path(property_file), _terminated(password.encode())
    with _lock:
        code = _library.MakeZEPASignPasswd(None, *arguments)  # asks for the length
        if code == 0 and length.value == 0:
            code = _PROPERTY_FILE_UNREADABLE  # the library returns 0 here
        enced = ctypes.create_string_buffer(length.value)
        code = code or _library.MakeZEPASignPasswd(enced, *arguments)
    if code != 0:
        raise SignerError("MakeZEPASignPasswd", code, "see the log")
    return enced.raw.decode("ascii")


def _sign(function, *arguments):
    with _lock:
        _check(getattr(_library, function)(*arguments) == 0, function)
        return Signature(_text("GetSignedPkcs7"), Certificate(*map(_text, _QUERIES)))


def _check(succeeded, function):
    if not succeeded:
        raise SignerError(function, _library.GetErrorCode(), _text("GetErrorMsg"))


def _text(function):
    return getattr(_library, function)().decode("cp950", "replace")


def _to_big5(text):
    # Python maps some characters to Big5 codes that mean another character or none to the library: the fullwidth
    # currency signs, and the range from C6A1 to C8FE, which each vendor of Big5 fills in its own way.
    for character in set(text):
        code = character.encode("cp950", "ignore")
        if code.decode("cp950") != character or b"\xc6\xa1" <= code <= b"\xc8\xfe":
            raise ValueError(f"Big5 lacks the character {character!a} of the text")
    return text.encode("cp950")


def _path(path):
    return _terminated(os.fspath(path).encode("mbcs") if os.name == "nt" else os.fsencode(path))


def _terminated(value):
    if b"\0" in value:
        raise ValueError("a text for the library holds a NUL")
    return value  # ctypes appends the NUL


def _read_enced(enced_file):
    credentials = os.environ.get("CREDENTIALS_DIRECTORY")
    if enced_file is None and credentials is not None:
        credential = os.path.join(credentials, "enced")
        enced_file = credential if os.path.exists(credential) else None
    if enced_file is None:
        return None
    with open(enced_file, "rb") as file:
        return _terminated(file.read().strip())
