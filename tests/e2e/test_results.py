"""Every result as the parent sees it, all 32 bits. PROXY_E_START_FAILED has no test here: the engine starts whenever it
could be initialised, so nothing from outside brings it about."""

from kvtest.product import HOST, make_file
from kvtest.program_test import ReportingTest
from kvtest.wine import to_windows


class ResultTests(ReportingTest):
    def test_done(self):
        self.serve()
        self.assertEqual(self.product.start("/linkid a").exit_code, 0x03E8C0FB)

    def test_not_opted_in(self):
        self.product.opt_out()
        self.assertEqual(self.product.start("/linkid a").exit_code, 0x03E8C0FF)

    def test_not_called_by_lumo(self):
        self.assertEqual(self.product.start("/linkid a", "C:\\stranger.exe").exit_code, 0x83E8C0FE)

    def assertInitFails(self):
        server = self.serve()
        self.assertEqual(self.product.start("/linkid a").exit_code, 0x83E8C0FC)
        self.assertEqual(server.connections, 0)

    def test_init_failed_for_a_profile_that_is_a_folder(self):
        self.product.profile_file.mkdir(parents=True)
        self.assertInitFails()

    def test_init_failed_for_a_folder_that_is_a_file(self):
        make_file(self.prefix.local_app_data / "Norvik")
        self.assertInitFails()


class StandInTests(ReportingTest):
    """The stand-in of the host reports what the other tests rely on."""

    def start_ending(self, arguments):
        self.product.place_host()
        return self.product.start_command_line(f'"{to_windows(self.product.files.ending)}" {arguments}')

    def test_all_bits_of_an_exit_code(self):
        for code in (0, 1, 0x03E8C0FB, 0x83E8C0FE, 0xFFFFFFFF):
            self.assertEqual(self.start_ending(hex(code)).exit_code, code)

    def test_crash(self):
        self.assertEqual(self.start_ending("crash").exit_code, 0xC0000005)

    def test_child_of_another_program(self):
        """Where the system's own host cannot be replaced, a stand-in elsewhere makes it the parent."""
        self.serve()
        make_file(self.prefix.path(HOST), self.product.files.ending.read_bytes())
        parent = self.prefix.path("C:\\parent.txt")
        child = self.prefix.path("C:\\child.txt")
        parent.write_bytes(f'"{HOST}" hang'.encode("utf-16-le"))
        child.write_bytes(self.product.command_line("/linkid a").encode("utf-16-le"))
        stand_in = to_windows(self.product.files.host)
        output = self.prefix.run(stand_in, "C:\\child.txt", "30000", "C:\\parent.txt")
        self.assertRegex(output, r"\A0x03E8C0FB [0-9]+\n\Z")

    def test_program_that_does_not_exist(self):
        self.product.place_host()
        with self.assertRaisesRegex(RuntimeError, "kv_mshta: the process cannot be started"):
            self.product.start_command_line("C:\\none.exe", HOST)

    def test_program_that_does_not_end(self):
        self.product.place_host()
        with self.assertRaisesRegex(RuntimeError, "kv_mshta: the program did not end within 500 ms"):
            self.product.start_command_line(f'"{to_windows(self.product.files.ending)}" hang', longest_ms=500)
