#!/usr/bin/env python3
"""A collection server on 127.0.0.1: acts as the proxy of programs that send hits, in place of the collection host.

Plain hits arrive as POST http://HOST:80/PATH. Encrypted ones arrive inside CONNECT HOST:443: with a certificate the
server ends the encryption itself and sees the POST inside, without one it refuses the connection.

As a command it prints each hit, parameter by parameter, until it is interrupted:

    scripts/python -m kvtest.collection_server [--port PORT] [--answer ANSWER...]

    --port    0, the default, takes a free one; it is printed
    --answer  status of the answer to the first, second, ... request, or "close" for none; the last one applies to all later
              ones
"""

import argparse
import http.server
import socketserver
import ssl
import sys
import threading
import time
import typing
import urllib.parse

from kvtest import hits

CLOSE = "close"
# An idle connection is closed after this; a handshake takes some seconds on a busy machine.
SOCKET_SECONDS = 30


class Request(typing.NamedTuple):
    """A POST that arrived."""
    at: float  # time.monotonic()
    is_encrypted: bool
    host: str
    port: int
    path: str  # with the query, as it was sent
    headers: dict  # names in lower case
    body: bytes
    answer: typing.Union[int, str]


class CollectionServer:
    """Listens on a thread of its own until it is closed.

    answers: a status or CLOSE for the first, second, ... request; the last one applies to all later ones.
    refused: a request whose path contains this text is answered 503 in any case.
    delay_seconds: how long each answer takes.
    certificate: file with key and certificate chain for encrypted hits.
    is_listening: if false, connections are refused until listen() is called; the port is reserved nevertheless.
    on_request: called with each Request as it arrives, on the connection's thread.
    """

    def __init__(self, port=0, answers=(200,), certificate=None, is_listening=True, on_request=None,
                 refused=None, delay_seconds=0):
        self._lock = threading.Lock()
        self._requests = []
        self._tunnels = []
        self._connections = 0
        self._answers = list(answers)
        self._on_request = on_request
        self._refused = refused
        self.delay_seconds = delay_seconds
        self._context = None
        if certificate is not None:
            self._context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self._context.load_cert_chain(certificate)
        self._server = _Server(("127.0.0.1", port), _Handler, bind_and_activate=False)
        self._server.owner = self
        self._server.server_bind()
        self._thread = None
        if is_listening:
            self.listen()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    @property
    def port(self):
        return self._server.server_address[1]

    @property
    def requests(self):
        """The requests so far, in the order of arrival."""
        with self._lock:
            return list(self._requests)

    @property
    def tunnels(self):
        """HOST:PORT of each CONNECT so far."""
        with self._lock:
            return list(self._tunnels)

    @property
    def connections(self):
        """The number of connections accepted so far, with or without a request."""
        with self._lock:
            return self._connections

    def listen(self):
        self._server.server_activate()
        self._thread = threading.Thread(target=self._server.serve_forever, kwargs={"poll_interval": 0.05}, daemon=True)
        self._thread.start()

    def close(self):
        if self._thread is not None:
            self._server.shutdown()
            self._thread.join()
            self._thread = None
        self._server.server_close()

    def count_connection(self):
        with self._lock:
            self._connections += 1

    def record_tunnel(self, authority):
        with self._lock:
            self._tunnels.append(authority)

    def record_request(self, is_encrypted, host, port, path, headers, body):
        """Returns the answer. The request is recorded first, so that it is in the record when its sender has the answer."""
        with self._lock:
            if self._refused is not None and self._refused in path:
                answer = 503
            else:
                answer = self._answers.pop(0) if len(self._answers) > 1 else self._answers[0]
            request = Request(time.monotonic(), is_encrypted, host, port, path, headers, body, answer)
            self._requests.append(request)
        if self._on_request is not None:
            self._on_request(request)
        return answer

    def encrypt(self, connection):
        """The decrypted connection, or None if the server has no certificate."""
        return None if self._context is None else self._context.wrap_socket(connection, server_side=True)


class _Server(socketserver.ThreadingMixIn, socketserver.TCPServer):
    allow_reuse_address = True
    daemon_threads = True
    request_queue_size = 64

    def process_request(self, request, client_address):
        self.owner.count_connection()
        super().process_request(request, client_address)

    def handle_error(self, request, client_address):
        pass # some tests have a client that disconnects or does not trust the certificate


class _Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    timeout = SOCKET_SECONDS
    _tunnel = None # host and port inside CONNECT

    def do_CONNECT(self):
        owner = self.server.owner
        owner.record_tunnel(self.path)
        if owner._context is None:
            self._answer(502)
            self.close_connection = True
            return
        self.wfile.write(b"HTTP/1.1 200 Connection established\r\n\r\n")
        host, _, port = self.path.rpartition(":")
        self._tunnel = (host, int(port))
        self.connection = owner.encrypt(self.connection)
        self.rfile = self.connection.makefile("rb", -1)
        self.wfile = self.connection.makefile("wb", 0)
        self.close_connection = False

    def do_POST(self):
        if self._tunnel is not None:
            (host, port), path = self._tunnel, self.path
        else:
            url = urllib.parse.urlsplit(self.path)
            host, port = url.hostname, url.port
            path = self.path[self.path.index("/", len("http://")):] if host is not None else self.path
        headers = {name.lower(): value for name, value in self.headers.items()}
        body = self.rfile.read(int(headers.get("content-length", 0)))
        answer = self.server.owner.record_request(self._tunnel is not None, host, port, path, headers, body)
        time.sleep(self.server.owner.delay_seconds)
        if answer == CLOSE:
            self.close_connection = True
            return
        self._answer(answer)

    def finish(self):
        super().finish()
        if self._tunnel is not None:
            self.connection.close() # the server closes the socket that it accepted, which is a different one

    def _answer(self, status):
        self.send_response(status)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def log_message(self, *_):
        pass


def main():
    def answer(text):
        return text if text == CLOSE else int(text)

    parser = argparse.ArgumentParser(description="Prints the hits that arrive on 127.0.0.1.")
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--answer", type=answer, nargs="+", default=[200])
    arguments = parser.parse_args()

    def show(request):
        print(hits.describe(request), flush=True)

    with CollectionServer(port=arguments.port, answers=arguments.answer, on_request=show) as server:
        print(f"listening on 127.0.0.1:{server.port}", flush=True)
        try:
            threading.Event().wait()
        except KeyboardInterrupt:
            pass
    return 0


if __name__ == "__main__":
    sys.exit(main())
