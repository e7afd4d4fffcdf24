#!/usr/bin/env python3
"""authority.py FOLDER: a time-stamping authority (RFC 3161) on the loopback, "openssl ts" behind HTTP and HTTPS.

The folder holds NAME.crt and NAME.key of the authorities "tsa" and "old", and server.crt and server.key for HTTPS. The
two addresses are written to FOLDER/urls. The last part of the path says how to answer: "good", or what to do wrong. Ends
when its standard input ends.
"""
import http.server
import os
import ssl
import subprocess
import sys
import threading
import time

FOLDER = sys.argv[1]
LOCK = threading.Lock()
CONFIG = """[tsa]
default_tsa = authority
[authority]
serial = {folder}/serial
signer_cert = {folder}/{name}.crt
signer_key = {folder}/{name}.key
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = {digest}
ess_cert_id_alg = sha256
"""
failuresLeft = 2


def reply(query, name="tsa", digest="sha256"):
    with LOCK:
        for file, content in (("query", query), ("config", CONFIG.format(folder=FOLDER, name=name, digest=digest).encode())):
            with open(f"{FOLDER}/{file}", "wb") as stream:
                stream.write(content)
        command = ["openssl", "ts", "-reply", "-config", f"{FOLDER}/config", "-queryfile", f"{FOLDER}/query"]
        return subprocess.run(command, capture_output=True, check=False).stdout


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

    def do_POST(self):
        global failuresLeft
        query = self.rfile.read(int(self.headers["Content-Length"]))
        how = self.path.rsplit("/", 1)[1]
        if how == "slow":
            time.sleep(5)
        elif how == "busy" and failuresLeft > 0:
            failuresLeft -= 1
            self.answer(b"", 503)
        elif how == "nonce":
            self.answer(reply(changed(query, 32 + 4)))
        elif how == "imprint":
            self.answer(reply(changed(query, 0)))
        elif how == "refusal":
            self.answer(reply(query, digest="sha512"))
        elif how == "expired":
            self.answer(reply(query, name="old"))
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


def start(secure):
    server = Server(("127.0.0.1", 0), Handler)
    if secure:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(f"{FOLDER}/server.crt", f"{FOLDER}/server.key")
        server.socket = context.wrap_socket(server.socket, server_side=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return f"http{'s' if secure else ''}://127.0.0.1:{server.server_port}"


with open(f"{FOLDER}/urls.new", "w", encoding="ascii") as stream:
    stream.write(f"{start(False)}\n{start(True)}\n")
os.rename(f"{FOLDER}/urls.new", f"{FOLDER}/urls")
sys.stdin.read()
