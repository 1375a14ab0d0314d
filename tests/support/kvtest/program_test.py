"""The base of the black-box tests of the program: each has a product of its own and sees a run from outside."""

import atexit
import functools
import os
import pathlib
import shutil
import tempfile
import unittest

from kvtest import computers, hits
from kvtest.certificates import make_authority, make_certificate, openssl
from kvtest.collection_server import CollectionServer
from kvtest.doctor import ExaminedProduct
from kvtest.product import HOST, Files, Run

WORK = pathlib.Path(os.environ["KV_E2E_WORK"])
LOGS = WORK / "logs"
_prefixes = computers.make_pool(WORK)
atexit.register(_prefixes.close)

LONGEST_WAIT_MS = 12000
# With what a busy machine may add. A run that takes longer has waited twice.
LONGEST_RUN_MS = 23500
PLAIN = "[Analytics]\nUseSSL=false\n"


@functools.cache
def _make_certificates(host):
    """The certificate of an authority (DER), and the file with key and certificate of that host."""
    folder = pathlib.Path(tempfile.mkdtemp(prefix="certificates-", dir=WORK))
    atexit.register(shutil.rmtree, folder)
    make_authority(folder, "authority")
    make_certificate(folder, "server", "authority", f"DNS:{host}", -1, 2)
    openssl(folder, "x509", "-in", "authority.pem", "-outform", "DER", "-out", "authority.der")
    return (folder / "authority.der").read_bytes(), folder / "server.pem"


class ProgramTest(unittest.TestCase):
    """Each test has a new product, in a Wine prefix (on Windows: the tests' own account) that no other test uses at the
    same time. The user has not opted in."""
    maxDiff = None

    def setUp(self):
        files = Files.from_environment()
        self.prefix = _prefixes.take()
        self.addCleanup(_prefixes.give_back, self.prefix)
        self.addCleanup(self._keep_logs)
        self.product = ExaminedProduct(self.prefix, files)

    def _keep_logs(self):
        """Copies the trace logs of the test, every line of which the parser of the viewer must know (tests/viewer)."""
        profile = self.prefix.local_app_data.parent.parent
        for file in [*self.prefix.drive_c.glob("*.log"), *profile.rglob("kvtrace.log")]:
            if file.is_file():
                LOGS.mkdir(exist_ok=True)
                shutil.copyfile(file, LOGS / f"{self.id()}-{file.name}")

    def serve(self, **options):
        """A collection server (see CollectionServer) that is the user's proxy."""
        server = CollectionServer(**options)
        self.addCleanup(server.close)
        self.product.send_to(server.port)
        return server

    def serve_encrypted(self):
        """A collection server that even accepts encrypted hits, with a certificate that the user trusts."""
        authority, server = _make_certificates(self.product.files.collection_host)
        self.product.trust(authority)
        return self.serve(certificate=server)

    def assertEnds(self, run: Run, result):
        """The run has this result and ended in time."""
        self.assertEqual(run.result, result)
        self.assertLess(run.elapsed_ms, LONGEST_RUN_MS)

    def assertSent(self, server, expected):
        """These hits arrived, and no others; the tracked one within the longest time that a run takes."""
        paths = [request.path for request in server.requests]
        self.assertEqual([hits.sent(path) for path in paths], expected)
        for path in paths:
            self.assertRegex(hits.value_of(path, "qt") or "0", "^(0|[1-9]000|1[0-3]000)$")


class ReportingTest(ProgramTest):
    """The user has opted in, hits are sent unencrypted, and the server accepts them."""

    def setUp(self):
        super().setUp()
        self.product.opt_in()
        self.product.write_config(PLAIN)

    def assertReports(self, arguments, expected, host=HOST, **facts):
        """A run with these arguments sends the hits that expected, a function of ExpectedHits, returns."""
        server = self.serve()
        self.assertEnds(self.product.start(arguments, host), "PROXY_S_DONE")
        self.assertSent(server, expected(self.product.expected_hits(**facts)))
        return server
