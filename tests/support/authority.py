#!/usr/bin/env python3
"""authority.py DIRECTORY: a time-stamping authority (RFC 3161) on the loopback, "openssl ts" behind HTTP and HTTPS.

The directory holds NAME.crt and NAME.key of the authorities "tsa", "old" and "other", and server.crt and server.key for
HTTPS. The two addresses are written to DIRECTORY/urls. The last part of the path says how to answer: "good", or what to do
wrong. As a proxy it leads to itself, whatever the host. Ends when its standard input ends.
"""
import http.server
import itertools
import os
import re
import ssl
import subprocess
import sys
import threading
import time

DIRECTORY = sys.argv[1]
LOCK = threading.Lock()
CONFIG = """[tsa]
default_tsa = authority
[authority]
serial = {directory}/serial
signer_cert = {directory}/{name}.crt
signer_key = {directory}/{name}.key
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = {digest}
ess_cert_id_alg = sha256
clock_precision_digits = 3
accuracy = secs:1
ordering = yes
tsa_name = yes
"""
BUSY = itertools.count()
HELD = itertools.count()


def reply(query, name="tsa", digest="sha256"):
    with LOCK:
        for file, content in (("query", query), ("config", CONFIG.format(directory=DIRECTORY, name=name, digest=digest).encode())):
            with open(f"{DIRECTORY}/{file}", "wb") as stream:
                stream.write(content)
        command = ["openssl", "ts", "-reply", "-config", f"{DIRECTORY}/config", "-queryfile", f"{DIRECTORY}/query"]
        return subprocess.run(command, capture_output=True, check=False).stdout


def resigned(query, name, time=None):
    """A reply that "openssl ts" would not give: signed by any certificate, or with another time."""

    def cms(data, *arguments):
        command = ["openssl", "cms", "-binary", *arguments]
        return subprocess.run(command, input=data, capture_output=True, check=False).stdout

    info = cms(reply(query)[9:], "-verify", "-noverify", "-inform", "DER")
    if time:
        info = re.sub(rb"\d{14}(?=[.Z])", time, info)
    signer = ["-signer", f"{DIRECTORY}/{name}.crt", "-inkey", f"{DIRECTORY}/{name}.key"]
    kind = ["-nodetach", "-cades", "-econtent_type", "id-smime-ct-TSTInfo", "-outform", "DER"]
    token = cms(info, "-sign", *kind, *signer)
    return b"\x30\x82" + (len(token) + 5).to_bytes(2, "big") + b"\x30\x03\x02\x01\x00" + token


def changed(query, offset):
    """The query with one byte of the digest changed, or of the nonce behind it."""
    at = query.index(b"\x04\x20") + 2 + offset
    return query[:at] + bytes([query[at] ^ 1]) + query[at + 1 :]


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *_):
        pass

    def answer(self, body, status=200, kind="application/timestamp-reply", headers=()):
        self.send_response(status)
        self.send_header("Content-Type", kind)
        for header in headers:
            self.send_header(*header)
        self.end_headers()
        self.wfile.write(body)

    def forever(self, block):
        while True:
            self.wfile.write(block)

    def do_CONNECT(self):
        self.answer(b"", 407 if self.path.startswith("refused") else 200)
        self.request = tls().wrap_socket(self.connection, server_side=True)
        self.setup()
        self.handle_one_request()

    def do_POST(self):
        query = self.rfile.read(int(self.headers["Content-Length"]))
        how = self.path.rsplit("/", 1)[1]
        if how == "slow":
            time.sleep(5)
        elif how == "busy" and next(BUSY) < 2:
            self.answer(b"", 503)
        elif how == "held" and (number := next(HELD)) >= 2:
            open(f"{DIRECTORY}/held{number}", "wb").close()
            time.sleep(60)
        elif how == "nonce":
            self.answer(reply(changed(query, 32 + 4)))
        elif how == "imprint":
            self.answer(reply(changed(query, 0)))
        elif how == "refusal":
            self.answer(reply(query, digest="sha512"))
        elif how == "expired":
            self.answer(reply(query, name="old"))
        elif how == "other":
            self.answer(reply(query, name="other"))
        elif how == "purpose":
            self.answer(resigned(query, "server"))
        elif how == "name":
            self.answer(resigned(query, "other"))
        elif how == "backdated":
            self.answer(resigned(query, "tsa", b"20000101000000"))
        elif how == "drip":
            self.answer(b"")
            for byte in reply(query):
                self.wfile.write(bytes([byte]))
                time.sleep(0.1)
        elif how == "cut":
            self.answer(reply(query)[:-100])
        elif how == "damaged":
            good = reply(query)
            self.answer(good[:-1] + bytes([good[-1] ^ 1]))
        elif how == "garbage":
            self.answer(b"0\x03abc")
        elif how == "page":
            self.answer(b"<html>", kind="text/html")
        elif how == "missing":
            self.answer(b"", 404)
        elif how == "redirect":
            self.answer(b"", 302, headers=[("Location", "good")])
        elif how == "long":
            self.answer(b"0\x83\xff\xff\xff")
            self.forever(bytes(65536))
        elif how == "endless":
            self.send_response(200)
            self.flush_headers()
            self.forever(b"X-Header: x\r\n" * 1000)
        elif how != "close":
            self.answer(reply(query))


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, *_):
        pass


def tls():
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(f"{DIRECTORY}/server.crt", f"{DIRECTORY}/server.key")
    return context


def start(secure):
    server = Server(("127.0.0.1", 0), Handler)
    if secure:
        server.socket = tls().wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"http{'s' if secure else ''}://127.0.0.1:{server.server_port}"


with open(f"{DIRECTORY}/urls.new", "w", encoding="ascii") as stream:
    stream.write(f"{start(False)}\n{start(True)}\n")
os.rename(f"{DIRECTORY}/urls.new", f"{DIRECTORY}/urls")
sys.stdin.read()
