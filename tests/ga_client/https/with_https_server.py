"""with_https_server.py FOLDER COMMAND...: runs a test with an HTTPS server for each kind of certificate.

The certificates are made anew with the openssl command, in FOLDER. The servers listen on 127.0.0.1, answer every POST
with 200 and end with this script, which ends as the command does. The test finds in its environment:
  KV_HTTPS_CA              the trusted certificate authority, DER, hexadecimal
  KV_HTTPS_PORT_GOOD       port of a server whose certificate is right for 127.0.0.1
  KV_HTTPS_PORT_NAME       ... names another host
  KV_HTTPS_PORT_DATE       ... has expired
  KV_HTTPS_PORT_UNKNOWN    ... comes from an authority that nobody knows
  KV_HTTPS_RECORD          file to which the servers append a line for each request: kind, method, target
"""

import http.server
import os
import pathlib
import shutil
import ssl
import subprocess
import sys
import tempfile
import threading

from kvtest.certificates import make_authority, make_certificate, openssl

SOCKET_SECONDS = 5
COMMAND_SECONDS = 50


class Server(http.server.ThreadingHTTPServer):
    """The handshake happens on the connection's own thread, so that a refused one holds up nobody."""
    daemon_threads = True
    request_queue_size = 16

    def __init__(self, kind, folder, record):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(folder / f"{kind}.pem")
        lock = threading.Lock()

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def setup(self):
                self.request.settimeout(SOCKET_SECONDS)
                self.request = context.wrap_socket(self.request, server_side=True)
                super().setup()

            def do_POST(self):
                with lock, open(record, "a", encoding="ascii") as lines:
                    lines.write(f"{kind} {self.command} {self.path}\n")
                self.send_response(200)
                self.send_header("Content-Length", "0")
                self.end_headers()

            def log_message(self, *_):
                pass

        super().__init__(("127.0.0.1", 0), Handler)

    def handle_error(self, request, client_address):
        pass # some tests have a client that refuses the handshake


def main():
    folder = pathlib.Path(tempfile.mkdtemp(prefix="https-", dir=sys.argv[1]))
    try:
        make_authority(folder, "trusted")
        make_authority(folder, "stranger")
        make_certificate(folder, "GOOD", "trusted", "IP:127.0.0.1", -1, 2)
        make_certificate(folder, "NAME", "trusted", "DNS:other.example", -1, 2)
        make_certificate(folder, "DATE", "trusted", "IP:127.0.0.1", -10, -2)
        make_certificate(folder, "UNKNOWN", "stranger", "IP:127.0.0.1", -1, 2)
        openssl(folder, "x509", "-in", "trusted.pem", "-outform", "DER", "-out", "trusted.der")
        record = folder / "requests.txt"
        record.touch()
        environment = dict(os.environ, KV_HTTPS_CA=(folder / "trusted.der").read_bytes().hex(),
                           KV_HTTPS_RECORD=str(record))
        for kind in ("GOOD", "NAME", "DATE", "UNKNOWN"):
            server = Server(kind, folder, record)
            threading.Thread(target=server.serve_forever, daemon=True).start()
            environment[f"KV_HTTPS_PORT_{kind}"] = str(server.server_address[1])
        return subprocess.run(sys.argv[2:], env=environment, timeout=COMMAND_SECONDS, check=False).returncode
    finally:
        shutil.rmtree(folder, ignore_errors=True)


sys.exit(main())
