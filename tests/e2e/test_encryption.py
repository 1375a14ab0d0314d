"""UseSSL: encrypted hits go to port 443, others to port 80."""

from kvtest.program_test import ProgramTest


class EncryptionTests(ProgramTest):
    def run_link(self, config):
        """The server after one run; a config of None is no config.ini."""
        self.product.opt_in()
        server = self.serve_encrypted()
        if config is not None:
            self.product.write_config(config)
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits().link_run("L1"))
        return server

    def assertEncrypted(self, config):
        server = self.run_link(config)
        host = self.product.files.collection_host
        self.assertEqual({(request.is_encrypted, request.host, request.port) for request in server.requests},
                         {(True, host, 443)})
        # No connection but those inside which the hits came.
        self.assertEqual(set(server.tunnels), {f"{host}:443"})
        self.assertEqual(server.connections, len(server.tunnels))

    def assertPlain(self, config):
        server = self.run_link(config)
        self.assertEqual({(request.is_encrypted, request.host, request.port) for request in server.requests},
                         {(False, self.product.files.collection_host, 80)})
        self.assertEqual(server.tunnels, [])

    def test_true(self):
        self.assertEncrypted("[Analytics]\nUseSSL=true\n")

    def test_true_in_capital_letters(self):
        self.assertEncrypted("[Analytics]\nUseSSL=TRUE\n")

    def test_absent(self):
        self.assertEncrypted("[Analytics]\nOther=1\n")

    def test_empty(self):
        self.assertEncrypted("[Analytics]\nUseSSL=\n")

    def test_no_configuration(self):
        self.assertEncrypted(None)

    def test_false(self):
        self.assertPlain("[Analytics]\nUseSSL=false\n")

    def test_yes_is_not_true(self):
        self.assertPlain("[Analytics]\nUseSSL=yes\n")

    def test_one_is_not_true(self):
        self.assertPlain("[Analytics]\nUseSSL=1\n")
