"""For a user who did not opt in, the program changes no file and no registry key, and makes no connection."""

from kvtest.product import HOST, make_file
from kvtest.program_test import PLAIN, ReportingTest
from kvtest.wine import to_windows


class UntouchedTests(ReportingTest):
    """The whole prefix is compared, before and after a run. Another program that opens the desktop has run before, and
    the system has been started and ended once, so that what the system does for itself is there already."""

    def setUp(self):
        super().setUp()
        self.server = self.serve()

    def changes(self, arguments, result, host=HOST):
        """The names of all files and folders that a run makes, changes or removes."""
        self.product.place_host(host)
        self.product.start_command_line(f'"{to_windows(self.product.files.facts)}"', host)
        self.prefix.stop()
        before = self.prefix.snapshot()
        self.prefix.start()
        self.assertEnds(self.product.start_command_line(self.product.command_line(arguments), host), result)
        self.prefix.stop()
        after = self.prefix.snapshot()
        return {name for name in before.keys() | after.keys() if before.get(name) != after.get(name)}

    def assertUntouched(self, host=HOST, result="PROXY_S_NOT_OPTED_IN"):
        self.assertEqual(self.changes("/linkid L1 /connection USB", result, host), set())
        self.assertEqual(self.server.connections, 0)

    def test_neither_program_nor_mark(self):
        self.product.participation_program().unlink()
        self.assertUntouched()

    def test_mark_without_program(self):
        self.product.participation_program().unlink()
        self.product.opt_out()
        self.assertUntouched()

    def test_program_and_mark(self):
        self.product.opt_out()
        self.assertUntouched()

    def test_program_and_mark_in_the_configured_data_folder(self):
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=C:\\Data\n")
        self.product.opt_out("C:\\Data")
        self.assertUntouched()

    def test_folder_named_like_the_program(self):
        self.product.participation_program().unlink()
        self.product.participation_program().mkdir()
        self.assertUntouched()

    def test_program_and_mark_with_hits_of_an_earlier_run(self):
        """Hits that waited when the user opted out stay where they are."""
        self.product.opt_out()
        make_file(self.product.queue_file, b"/collect?v=1&t=appview&cd=Before#1416096000\n")
        make_file(self.product.profile_file, b"[Users]\r\nUUID=3f2504e0-4f89-11d3-9a0c-0305e82c3301\r\n")
        self.assertUntouched()

    def test_consent_but_another_caller(self):
        self.assertUntouched("C:\\windows\\syswow64\\other.exe", "PROXY_E_NOT_CALLED_BY_LUMO")

    def test_run_with_consent_is_seen(self):
        """The comparison finds what a run leaves behind, when it leaves something behind."""
        changes = self.changes("/linkid L1", "PROXY_S_DONE")
        folder = self.product.client_folder.relative_to(self.prefix.folder)
        self.assertLessEqual({str(folder), str(folder / "LumoLink.ini"), str(folder / "Statlet_RequestQueue.txt")},
                             changes)
        self.assertEqual(self.server.connections, 4)
