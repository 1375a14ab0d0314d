"""A collection server that fails and heals: the proxy of programs that send hits, in place of the collection host."""

import random
import socket
import threading
import time

ANSWERS = {"ok": b"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 0\r\n\r\n",
           "error": b"HTTP/1.1 503 Busy\r\nConnection: close\r\nContent-Length: 0\r\n\r\n"}
# Failures of the network, which alternate with times without one:
#   error    every hit is refused with a status
#   refuse   connections are refused
#   slam     connections are closed before anything is read
#   lose     hits are accepted, and about every second connection is closed without an answer
#   slow     answers are delayed
#   restart  the server ends, with the hits that it is about to answer, and listens again at once
FAILURES = ("error", "refuse", "slam", "lose", "slow", "restart")
ACCEPTED, REFUSED, LOST = "accepted", "refused", "lost"


class Arrival:
    """A hit that the server has read. LOST: the client did not receive the answer."""

    def __init__(self, target, outcome):
        self.time = time.time()
        self.target = target
        self.outcome = outcome


class FailingServer:
    """Listens on a thread of its own until it is closed. Without a failure at first."""

    def __init__(self, seed):
        self._random = random.Random(seed)
        self._lock = threading.Lock()
        self._arrivals = []
        self._mode = "ok"
        self._generation = 0  # of the listening socket
        self._gone = threading.Event()  # set as the generation ends
        self._is_closed = threading.Event()
        self._healing = threading.Event()
        self._socket = self._bind(0)
        self.port = self._socket.getsockname()[1]
        self.failures = dict.fromkeys(FAILURES, 0)
        self._schedule = None
        self._listen()

    @property
    def arrivals(self):
        """In the order in which they came."""
        with self._lock:
            return list(self._arrivals)

    def fail_and_heal(self):
        """Until heal(), causes all kinds of failures equally often, with times without one in between."""
        self._healing.clear()
        self._schedule = threading.Thread(target=self._run_schedule, daemon=True)
        self._schedule.start()

    def heal(self):
        self._healing.set()
        if self._schedule is not None:
            self._schedule.join()
            self._schedule = None

    def close(self):
        self.heal()
        self._is_closed.set()
        self._stop_listening()
        self._socket.close()

    def _bind(self, port):
        listener = socket.socket()
        listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        listener.bind(("127.0.0.1", port))
        return listener

    def _listen(self):
        self._gone = threading.Event()
        self._socket.listen(64)
        threading.Thread(target=self._accept, args=(self._socket, self._gone), daemon=True).start()

    def _stop_listening(self):
        """The port stays bound, so that no other program can take it."""
        self._gone.set()
        self._socket.shutdown(socket.SHUT_RDWR)
        self._socket.close()
        self._socket = self._bind(self.port)

    def _run_schedule(self):
        while True:
            failures = list(FAILURES)
            self._random.shuffle(failures)
            for failure in failures:
                if self._healing.wait(self._random.uniform(1.5, 4)):
                    return
                self.failures[failure] += 1
                self._fail(failure, self._random.uniform(0.3, 1.2))

    def _fail(self, failure, seconds):
        if failure in ("refuse", "restart"):
            self._stop_listening()
            if failure == "refuse":
                self._healing.wait(seconds)
            self._listen()
            return
        self._mode = failure
        self._healing.wait(seconds)
        self._mode = "ok"

    def _accept(self, listener, gone):
        while True:
            try:
                connection, _ = listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(connection, gone), daemon=True).start()

    def _serve(self, connection, gone):
        data = b""
        with connection:
            connection.settimeout(60)
            try:
                while self._mode != "slam" and not gone.is_set():
                    while b"\r\n\r\n" not in data:
                        received = connection.recv(65536)
                        if not received:
                            return
                        data += received
                    head, data = data.split(b"\r\n\r\n", 1)  # hits have no body
                    if not self._answer(connection, gone, head.split(b" ")[1].decode("ascii")):
                        return
            except OSError:
                return  # the client has disconnected

    def _answer(self, connection, gone, target):
        """False when the connection is to be closed."""
        mode = self._mode
        with self._lock:
            loses = mode == "lose" and self._random.random() < 0.5
            arrival = Arrival(target, LOST if loses else REFUSED if mode == "error" else ACCEPTED)
            self._arrivals.append(arrival)  # before the answer, whose receiver may look for it
            delay = self._random.uniform(0.05, 0.4) if mode == "slow" else 0
        if delay and gone.wait(delay):
            arrival.outcome = LOST
        if arrival.outcome == LOST:
            return False
        try:
            connection.sendall(ANSWERS["error" if arrival.outcome == REFUSED else "ok"])
        except OSError:
            arrival.outcome = LOST
            return False
        return True
