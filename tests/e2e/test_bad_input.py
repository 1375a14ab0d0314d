"""Bad input: the program ends with a documented result, in time, without a crash or a message box.

A crash would be an exit code that is none of the results, a message box a run that does not end."""

import os
import urllib.parse

from kvtest import hits
from kvtest.product import LOGGING_KEY, make_file
from kvtest.program_test import PLAIN, ReportingTest

USER_SHELL_FOLDERS = "HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders"
SHELL_FOLDERS = "HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"
COMMON_SHELL_FOLDERS = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders"


class ConfigurationTests(ReportingTest):
    """Whatever cannot be read counts as a file without any key."""

    def assertDefaults(self):
        server = self.serve_encrypted()
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits("3").link_run("L1", "Unknown"))
        self.assertTrue(all(request.is_encrypted for request in server.requests))

    def test_missing(self):
        self.config().unlink()
        self.assertDefaults()

    def test_folder_in_its_place(self):
        self.config().unlink()
        self.config().mkdir()
        self.assertDefaults()

    def test_binary(self):
        self.product.write_config(bytes(range(256)) * 300)
        self.assertDefaults()

    def test_zeros(self):
        self.product.write_config(b"\0" * 5000)
        self.assertDefaults()

    def test_byte_order_mark_and_nothing_else(self):
        self.product.write_config(b"\xff\xfe")
        self.assertDefaults()

    def test_section_that_is_cut_off(self):
        self.product.write_config(b"[Analytics\r\nUseSSL=false\r\nPropertyIDPrefix=X")
        self.assertDefaults()

    def config(self):
        return self.prefix.path("C:\\Product\\config.ini")


class ConfigurationValueTests(ReportingTest):
    def test_very_long_values(self):
        """The whole value arrives: no part of the way has a bound below it."""
        prefix, model = "P" * 5000, "M" * 5000
        self.product.write_config(PLAIN + f"PropertyIDPrefix={prefix}\n[DeviceInfo]\nModelName={model}\n")
        server = self.serve()
        self.assertEnds(self.product.start("/linkid L1"), "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits(prefix + "3").link_run("L1", model))

    def test_binary_behind_the_values(self):
        self.product.write_config(PLAIN.replace("\n", "\r\n").encode("ascii") + bytes(range(1, 256)) * 100)
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"))


class AbsurdCommandLineTests(ReportingTest):
    def assertDone(self, command_line, expected):
        """A run that sends what expected, a function of ExpectedHits, gives. Which characters the system escapes in an
        address is its own affair: they are compared as they were before."""
        server = self.serve()
        self.product.place_host()
        self.assertEnds(self.product.start_command_line(command_line), "PROXY_S_DONE")
        self.assertEqual([urllib.parse.unquote(hits.sent(request.path), errors="replace") for request in server.requests],
                         expected(self.product.expected_hits()))

    def test_program_path_alone_without_quotes(self):
        self.assertDone(self.product.program, lambda run: run.empty_run())

    def test_very_long_link(self):
        """As long as a link can be without the whole command line being longer than the system allows."""
        link = "L" * (32000 - len(self.product.command_line("/linkid ")))
        server = self.serve()
        self.product.place_host()
        self.assertEnds(self.product.start_command_line(self.product.command_line(f"/linkid {link}")), "PROXY_S_DONE")
        self.assertEqual(len(server.requests) + len(self.product.queued_hits()), 4)
        all_hits = [hits.sent(request.path) for request in server.requests] + \
            [hits.stored(hit) for hit in self.product.queued_hits()]
        self.assertEqual(all_hits, self.product.expected_hits().link_run(link))

    def test_many_switches(self):
        switches = " ".join(f"/s{number} {number}" for number in range(2500))
        self.assertDone(self.product.command_line(f"{switches} /linkid L1"), lambda run: run.link_run("L1"))

    def test_nothing_but_slashes(self):
        self.assertDone(self.product.command_line("/ " * 5000), lambda run: run.empty_run())

    def test_quotes_without_an_end(self):
        self.assertDone(self.product.command_line('/linkid "L1 /tabid T1'), lambda run: run.link_run("L1 /tabid T1"))

    def test_nothing_but_quotes(self):
        self.assertDone(self.product.command_line('"' * 999), lambda run: run.empty_run())

    def test_backslashes_before_a_quote(self):
        self.assertDone(self.product.command_line("/tabid " + "\\" * 9 + '"T'),
                        lambda run: run.screen_run("/" * 4 + '"T')) # the system's way with an address

    def test_control_characters(self):
        screen = "a" + "".join(map(chr, range(1, 9))) + "b"
        self.assertDone(self.product.command_line(f"/tabid {screen}"), lambda run: run.screen_run(screen))

    def test_line_end_in_a_value(self):
        """The value is sent unchanged, so the tracked hit is not a valid request and is lost, unlike the others."""
        server = self.serve()
        self.assertEnds(self.product.start('/tabid "a\r\nb"'), "PROXY_S_DONE")
        expected = self.product.expected_hits().screen_run("a")
        self.assertSent(server, expected[:2] + expected[3:])

    def test_line_end_in_a_value_begins_a_line_of_the_trace_log(self):
        """The log has values as they are, so what follows looks like any line."""
        self.serve()
        self.product.log_to("C:\\trace.log", 0x10, 0)
        self.assertEnds(self.product.start('/tabid "a\r\n(I0) Nothing happened"'), "PROXY_S_DONE")
        lines = self.prefix.path("C:\\trace.log").read_bytes().decode("utf-16-le").split("\r\n")
        line = lines.index("(I0) CAnalyticsProxy::Run - Calling TrackScreenView for a")
        self.assertEqual(lines[line + 1], "(I0) Nothing happened")

    def test_characters_beyond_the_code_page(self):
        self.assertDone(self.product.command_line("/linkid \u4e2d\u6587\U0001f600"),
                        lambda run: run.link_run("????")) # one for each UTF-16 unit

    def test_half_a_character(self):
        self.assertDone(self.product.command_line("/linkid a\ud800b"), lambda run: run.link_run("a?b"))


class FolderTests(ReportingTest):
    def test_data_folder_that_does_not_exist(self):
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=C:\\No\\Such\\Folder\n")
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"))

    def test_data_folder_that_is_no_path(self):
        self.product.write_config(PLAIN + '[Directories]\nDataFolder=|<>?*:"\n')
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"))

    def test_no_common_application_data(self):
        self.prefix.import_registry(f"[{COMMON_SHELL_FOLDERS}]", '"Common AppData"="Q:\\\\None"')
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"))

    def assertInitFails(self):
        server = self.serve()
        self.assertEnds(self.product.start("/linkid a"), "PROXY_E_INIT_FAILED")
        self.assertEqual(server.connections, 0)

    def test_no_local_application_data(self):
        self.prefix.import_registry(f"[{USER_SHELL_FOLDERS}]", '"Local AppData"="Q:\\\\None"')
        self.assertInitFails()

    def test_file_in_place_of_local_application_data(self):
        folder = self.prefix.local_app_data
        os.rename(folder, folder.with_name("Elsewhere"))
        make_file(folder)
        self.assertInitFails()

    def test_profile_folder_that_cannot_be_written(self):
        """A file has the name of the client's folder."""
        make_file(self.product.client_folder)
        self.assertInitFails()

    def test_profile_that_is_binary(self):
        make_file(self.product.profile_file, bytes(range(256)) * 50)
        server = self.serve()
        self.assertEnds(self.product.start("/tabid Scan"), "PROXY_S_DONE")
        self.assertEqual(len(server.requests), 4)

    def test_queue_file_that_is_a_folder(self):
        self.product.queue_file.mkdir(parents=True)
        server = self.serve()
        self.assertEnds(self.product.start("/tabid Scan"), "PROXY_S_DONE")
        self.assertSent(server, self.product.expected_hits().screen_run("Scan"))


class BinaryQueueTests(ReportingTest):
    def test_queue_file_that_is_binary(self):
        """Each line is sent as it is, or refused by the system; the run ends in any case, and no hit of its own is lost."""
        make_file(self.product.queue_file, bytes(range(256)) * 4)
        server = self.serve()
        self.assertEnds(self.product.start("/tabid Scan"), "PROXY_S_DONE")
        sent = [hits.sent(request.path) for request in server.requests]
        queued = [hits.stored(line) for line in self.product.queue_file.read_bytes().decode("latin-1").split("\n")]
        own = self.product.expected_hits().screen_run("Scan")
        self.assertEqual([hit for hit in sent + queued if hit in own], own)


class LoggingTests(ReportingTest):
    """A trace log that cannot be written changes nothing."""

    def assertReportsScreen(self):
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"))

    def test_values_of_wrong_types(self):
        self.product.set_logging(f"[{LOGGING_KEY}]", '"LogFileName"=dword:00000007', '"LogCategories"="everything"',
                                    '"LogOptions"=hex:ff', '"LogInfoDetailLevel"=hex(7):41,00,00,00,00,00',
                                    '"LogParmsPollTime"="soon"',
                                    f"[{LOGGING_KEY}\\KVAnalyticsProxy.exe]", '"ExtMonitorCLSID"=dword:00000001',
                                    '"ExtMonitorFlags"="all"')
        self.assertReportsScreen()

    def test_monitor_that_does_not_exist(self):
        self.product.log_to("C:\\trace.log", 0x66000FF0, 0x2F600000)
        self.product.set_logging(f"[{LOGGING_KEY}\\KVAnalyticsProxy.exe]",
                                    '"ExtMonitorCLSID"="{01234567-89AB-CDEF-0123-456789ABCDEF}"',
                                    '"ExtMonitorFlags"=dword:00000007')
        self.assertReportsScreen()

    def test_file_in_a_folder_that_does_not_exist(self):
        self.product.log_to("C:\\No\\Such\\Folder\\trace.log", 0x66000FF0, 0x2F600000)
        self.assertReportsScreen()

    def test_folder_in_place_of_the_file(self):
        self.prefix.path("C:\\trace.log").mkdir()
        self.product.log_to("C:\\trace.log", 0x66000FF0, 0x2F600000)
        self.assertReportsScreen()

    def test_name_that_is_no_path(self):
        self.product.log_to('|<>"?*', 0x66000FF0, 0x2F600000)
        self.assertReportsScreen()

    def test_very_long_name(self):
        self.product.log_to("C:\\" + "a" * 2000, 0x66000FF0, 0x2F600000)
        self.assertReportsScreen()
