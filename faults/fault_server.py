"""A collection server on 127.0.0.1 for one run after another: the proxy of the program."""

import socket
import threading
import time

ANSWER = b"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"
NO_TUNNEL = b"HTTP/1.1 502 Bad Gateway\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"
SETTLE_SECONDS = 5


class FaultServer:
    """Accepts every hit while it listens, and closes each connection: WinINet under Wine keeps those to a proxy and never
    uses them again. Refuses connections until it is told to listen."""

    def __init__(self):
        self._lock = threading.Lock()
        self._arrivals = []
        self._connections = 0
        self._open = 0
        self._listener = None
        self._socket = self._bind(0)
        self.port = self._socket.getsockname()[1]

    def listen(self, on):
        """Whether connections are accepted or refused from now on. The port stays taken."""
        if on == (self._listener is not None):
            return
        if on:
            self._socket.listen(128)
            self._listener = threading.Thread(target=self._accept, args=(self._socket,), daemon=True)
            self._listener.start()
        else:
            self._socket.shutdown(socket.SHUT_RDWR)
            self._listener.join()
            self._listener = None
            self._socket.close()
            self._socket = self._bind(self.port)

    def take(self):
        """Paths of the hits that have arrived since the last call, in order, and how many connections there were. Waits
        until what is under way has arrived."""
        end = time.monotonic() + SETTLE_SECONDS
        while self._open and time.monotonic() < end:
            time.sleep(0.002)
        with self._lock:
            arrivals, connections = self._arrivals, self._connections
            self._arrivals, self._connections = [], 0
        return arrivals, connections

    def _bind(self, port):
        listener = socket.socket()
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        listener.bind(("127.0.0.1", port))
        return listener

    def _accept(self, listener):
        while True:
            try:
                connection, _ = listener.accept()
            except OSError:
                return
            with self._lock:
                self._connections += 1
                self._open += 1
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        try:
            with connection:
                connection.settimeout(SETTLE_SECONDS)
                data = b""
                while b"\r\n\r\n" not in data:  # hits have no body
                    received = connection.recv(65536)
                    if not received:
                        return
                    data += received
                if data.startswith(b"CONNECT "):  # a program that cannot read its settings encrypts
                    connection.sendall(NO_TUNNEL)
                    return
                with self._lock:
                    self._arrivals.append(path_of(data))
                connection.sendall(ANSWER)
        except OSError:
            pass  # the program has ended
        finally:
            with self._lock:
                self._open -= 1


def path_of(request):
    """Path and query of what a proxy is asked for."""
    target = request.split(b" ", 2)[1].decode("latin-1")
    return "/" + target.removeprefix("http://").partition("/")[2]
