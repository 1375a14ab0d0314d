"""The base of tests of what programs report, each on a computer of its own with encrypted connections."""

import place
from kvtest import hits
from kvtest.certificates import make_authority, make_certificate, openssl
from kvtest.program_test import ProgramTest


class EncryptedTest(ProgramTest):
    """The user trusts the collection server, which accepts all hits."""

    def setUp(self):
        super().setUp()
        # So that the name of the system is known.
        self.prefix.import_registry("[HKEY_CURRENT_USER\\Software\\Wine]", '"Version"="win7"')
        folder = self.prefix.scratch
        make_authority(folder, "authority")
        make_certificate(folder, "server", "authority", f"DNS:{place.HOST}", -1, 2)
        openssl(folder, "x509", "-in", "authority.pem", "-outform", "DER", "-out", "authority.der")
        self.product.trust((folder / "authority.der").read_bytes())
        self.server = self.serve(certificate=folder / "server.pem")

    def assertArrived(self, expected):
        """These hits and no others arrived, over encrypted connections to the collection host only."""
        self.assertEqual([hits.sent(request.path) for request in self.server.requests], expected)
        self.assertEqual({(request.is_encrypted, request.host, request.port) for request in self.server.requests},
                         {(True, place.HOST, 443)})
        self.assertEqual(set(self.server.tunnels), {f"{place.HOST}:443"})
