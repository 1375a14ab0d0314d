"""The collection server: what the other tests see through it, and the command. Needs no Wine."""

import http.client
import pathlib
import re
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest

from kvtest.certificates import make_authority, make_certificate
from kvtest.collection_server import CLOSE, CollectionServer

TARGET = "http://collect.norvik.example:80/collect?v=1&cd=a%20b&cd3=USB&qt=0"
SECONDS = 5


def post(port, target=TARGET):
    """The status with which a request is answered."""
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=SECONDS)
    try:
        connection.request("POST", target)
        return connection.getresponse().status
    finally:
        connection.close()


class CollectionServerTests(unittest.TestCase):
    def serve(self, **options):
        server = CollectionServer(**options)
        self.addCleanup(server.close)
        return server

    def test_plain_hit(self):
        server = self.serve()
        self.assertEqual(post(server.port), 200)
        request, = server.requests
        self.assertEqual(request[1:5], (False, "collect.norvik.example", 80, "/collect?v=1&cd=a%20b&cd3=USB&qt=0"))
        self.assertEqual((request.body, request.answer, server.connections, server.tunnels), (b"", 200, 1, []))

    def test_answers_in_turn(self):
        server = self.serve(answers=[500, 201])
        self.assertEqual([post(server.port) for _ in range(3)], [500, 201, 201])

    def test_refuses_one_path(self):
        server = self.serve(refused="cd=refused")
        targets = [TARGET, "http://collect.norvik.example:80/collect?v=1&cd=refused&cd3=USB", TARGET]
        self.assertEqual([post(server.port, target) for target in targets], [200, 503, 200])

    def test_answers_slowly(self):
        server = self.serve(delay_seconds=0.3)
        begin = time.monotonic()
        self.assertEqual(post(server.port), 200)
        self.assertGreaterEqual(time.monotonic() - begin, 0.3)

    def test_close_without_an_answer(self):
        server = self.serve(answers=[CLOSE])
        with self.assertRaises(http.client.RemoteDisconnected):
            post(server.port)
        self.assertEqual(len(server.requests), 1)

    def test_refuses_until_it_listens(self):
        server = self.serve(is_listening=False)
        with self.assertRaises(ConnectionRefusedError):
            post(server.port)
        self.assertEqual(server.connections, 0)
        server.listen()
        self.assertEqual(post(server.port), 200)

    def test_refuses_after_it_was_closed(self):
        server = self.serve()
        server.close()
        with self.assertRaises(ConnectionRefusedError):
            post(server.port)

    def tunnel(self, server):
        """A connection through the server, and the server's answer."""
        connection = socket.create_connection(("127.0.0.1", server.port), SECONDS)
        self.addCleanup(connection.close)
        connection.sendall(b"CONNECT collect.norvik.example:443 HTTP/1.1\r\nHost: collect.norvik.example\r\n\r\n")
        answer = b""
        while not answer.endswith(b"\r\n\r\n"):
            answer += connection.recv(1000)
        return connection, answer

    def test_encrypted_hit(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        folder = pathlib.Path(temporary.name)
        make_authority(folder, "authority")
        make_certificate(folder, "server", "authority", "DNS:collect.norvik.example", -1, 2)
        server = self.serve(certificate=folder / "server.pem")
        connection, answer = self.tunnel(server)
        self.assertTrue(answer.startswith(b"HTTP/1.1 200 "))
        context = ssl.create_default_context(cafile=folder / "authority.pem")
        with context.wrap_socket(connection, server_hostname="collect.norvik.example") as encrypted:
            encrypted.sendall(b"POST /collect?v=1 HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\n\r\n")
            self.assertTrue(encrypted.recv(1000).startswith(b"HTTP/1.1 200 "))
        request, = server.requests
        self.assertEqual(request[1:5], (True, "collect.norvik.example", 443, "/collect?v=1"))
        self.assertEqual(server.tunnels, ["collect.norvik.example:443"])

    def test_encrypted_hit_without_a_certificate(self):
        server = self.serve()
        _, answer = self.tunnel(server)
        self.assertTrue(answer.startswith(b"HTTP/1.1 502 "))
        self.assertEqual((server.tunnels, server.requests), (["collect.norvik.example:443"], []))


class CommandTests(unittest.TestCase):
    def test_prints_each_hit(self):
        command = [sys.executable, "-m", "kvtest.collection_server", "--answer", "202"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, text=True) as server:
            try:
                port = re.fullmatch(r"listening on 127\.0\.0\.1:([0-9]+)\n", server.stdout.readline())[1]
                self.assertEqual(post(int(port)), 202)
                lines = [server.stdout.readline() for _ in range(5)]
            finally:
                server.terminate()
        self.assertEqual(lines, ["POST to collect.norvik.example, port 80, plain, answered 202\n",
                                 "    v    protocol version     1\n",
                                 "    cd   screen name          a b\n",
                                 "    cd3  connection type      USB\n",
                                 "    qt   queue time in ms     0\n"])
