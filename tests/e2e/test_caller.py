"""The caller check: only the host of the device centre, at exactly its path, may start the program."""

from kvtest.product import PROXY_E_NOT_CALLED_BY_LUMO
from kvtest.program_test import ReportingTest

COMMAND_PROMPT = "C:\\windows\\system32\\cmd.exe"


class CallerTests(ReportingTest):
    def assertRefused(self, start):
        """A run begun by start() ends at once, without a connection and without a file of the client."""
        server = self.serve()
        self.assertEnds(start(), "PROXY_E_NOT_CALLED_BY_LUMO")
        self.assertEqual(server.connections, 0)
        self.assertFalse((self.prefix.local_app_data / "Norvik").exists())

    def test_host_of_the_device_centre(self):
        self.assertReports("/linkid a", lambda expected: expected.link_run("a"))

    def test_another_name_in_the_hosts_folder(self):
        self.assertRefused(lambda: self.product.start("/linkid a", "C:\\windows\\syswow64\\mshtb.exe"))

    def test_hosts_name_in_the_64_bit_system_folder(self):
        # Wine has a program of its own there, which it prefers to any file.
        self.prefix.import_registry("[HKEY_CURRENT_USER\\Software\\Wine\\DllOverrides]", '"mshta.exe"="native"')
        self.assertRefused(lambda: self.product.start("/linkid a", "C:\\windows\\system32\\mshta.exe"))

    def test_hosts_name_in_the_product_folder(self):
        self.assertRefused(lambda: self.product.start("/linkid a", "C:\\Product\\bin\\mshta.exe"))

    def assertRefusedInAnotherLetterCase(self, host):
        """The system repeats the letters with which the host was started."""
        self.product.place_host()
        command_line = self.product.command_line("/linkid a")
        self.assertRefused(lambda: self.product.start_command_line(command_line, host))

    def test_host_whose_name_is_in_capital_letters(self):
        self.assertRefusedInAnotherLetterCase("C:\\windows\\syswow64\\MSHTA.EXE")

    def test_host_whose_folder_has_a_capital_letter(self):
        self.assertRefusedInAnotherLetterCase("C:\\windows\\SysWOW64\\mshta.exe")

    def test_command_prompt_started_by_the_host(self):
        self.product.place_host()
        command_line = f'{COMMAND_PROMPT} /c {self.product.program} /linkid a'
        self.assertRefused(lambda: self.product.start_command_line(command_line))

    def test_no_parent_at_all(self):
        """Started from a Unix shell, which is no process of the prefix and sees eight bits of the exit code."""
        server = self.serve()
        status = self.prefix.run_for_status(self.product.program, "/linkid", "a")
        self.assertEqual(status, PROXY_E_NOT_CALLED_BY_LUMO & 0xFF)
        self.assertEqual(server.connections, 0)
        self.assertFalse((self.prefix.local_app_data / "Norvik").exists())
