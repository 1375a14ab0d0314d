"""docs/troubleshooting.md and docs/privacy.md against the program: their logs, exit codes and commands."""

import os
import re

from kvtest import hits
from kvtest.doctor import ExaminedProduct
from kvtest.product import RESULT_NAMES, make_file
from kvtest.program_test import PLAIN, ReportingTest
from kvtest.script_host import exit_code_of, place_script_engine, press_start, run_script
from kvtest.wine import SOURCE, to_windows

TROUBLESHOOTING = (SOURCE / "docs" / "troubleshooting.md").read_text(encoding="ascii")
PRIVACY = (SOURCE / "docs" / "privacy.md").read_text(encoding="ascii")
START_BY_HAND = (SOURCE / "packaging" / "start-by-hand.hta").read_text(encoding="ascii")
FOLDER = "C:\\Program Files\\Norvik\\Device Centre"
LINK = "/linkid BuyInk /connection USB"
CLIENT_ID = "3f2504e0-4f89-11d3-9a0c-0305e82c3301"


def chapter(page, title):
    """The text below a heading, up to the next one."""
    return re.split(r"(?m)^#+ ", page.split(f"# {title}\n", 1)[1], maxsplit=1)[0]


def blocks(text):
    """The indented blocks of a text, in order."""
    found = re.findall(r"(?m)(?:^    .*\n(?:\n(?=    ))?)+", text)
    return [[line[4:] for line in block.splitlines()] for block in found]


def signed(code):
    """As shells show an exit code."""
    return code - (1 << 32) if code >> 31 else code


class HelpPageTest(ReportingTest):
    def setUp(self):
        super().setUp()
        self.product = ExaminedProduct(self.prefix, self.product.files, FOLDER)
        self.product.opt_in()
        self.product.write_config(PLAIN)

    def run_batch(self, *lines):
        """The output of these lines in the command prompt. They change nothing but files."""
        file = self.prefix.scratch / "lines.cmd"
        file.write_bytes("\r\n".join(("@echo off", *lines, "exit /b 0", "")).encode("ascii"))
        return self.prefix.run("cmd", "/c", to_windows(file))

    def import_sample(self):
        self.prefix.spoil() # nothing reverts it
        self.prefix.run("regedit", "/S", to_windows(SOURCE / "packaging" / "logging-on-brief.reg"))


class TraceLogTests(HelpPageTest):
    """The two logs of the page are those of such runs."""

    def setUp(self):
        super().setUp()
        self.import_sample()

    @staticmethod
    def mask(line):
        line = re.sub(r"^[0-9]{4}(/[0-9]{2}){2} [0-9]{2}(:[0-9]{2}){2} \[[0-9]+\] ", "TIME [PID] ", line)
        line = re.sub(r"Process ID: \[[0-9]+\] ?", "Process ID: [PID]", line)
        line = re.sub(r"<.*\\kvtrace\.log>", "<FOLDER/kvtrace.log>", line)
        line = re.sub(r"wait time is [0-9]+ ms", "wait time is N ms", line)
        return re.sub(r"\([0-9]+ bytes\)", "(N bytes)", line)

    def assertLogIsOnThePage(self, title):
        log, = self.prefix.drive_c.rglob("kvtrace.log")
        actual = log.read_bytes().decode("utf-16-le").splitlines()
        expected, = blocks(chapter(TROUBLESHOOTING, title))
        self.assertEqual(list(map(self.mask, actual)), list(map(self.mask, expected)))
        return actual

    def test_good_run(self):
        self.serve()
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        self.assertLogIsOnThePage("A good run")

    def test_bad_run(self):
        self.product.place_host()
        run = self.product.start_command_line(self.product.command_line(LINK), "C:\\windows\\SysWOW64\\mshta.exe")
        self.assertEnds(run, "PROXY_E_NOT_CALLED_BY_LUMO")
        self.assertLogIsOnThePage("A bad run")


class ShellTests(HelpPageTest):
    """What each start from a shell answers, by the table of the page."""

    def setUp(self):
        super().setUp()
        self.server = self.serve()
        self.answers = {}
        for row in re.findall(r"(?m)^\|(.*)\|$", chapter(TROUBLESHOOTING, "What a start from a shell must answer"))[2:]:
            shell, *codes = (cell.strip() for cell in row.split("|"))
            self.answers[shell.partition(":")[0]] = tuple(map(int, codes))

    def assertAnswers(self, shell, start):
        """start: starts the program by that shell and returns the exit code."""
        taking_part = start()
        self.product.opt_out()
        self.assertEqual((start(), taking_part), self.answers[shell])

    def test_command_prompt(self):
        def start():
            return int(self.run_batch(f'cd /d "{FOLDER}\\bin"', f'start /wait "" KVAnalyticsProxy.exe {LINK}',
                                      "echo %ERRORLEVEL%"))

        self.assertAnswers("Command Prompt", start)
        self.assertEqual(self.server.connections, 0)

    def test_script(self):
        command_line = self.product.command_line(LINK).replace("\\", "\\\\").replace('"', '\\"')
        run = f'new ActiveXObject("WScript.Shell").Run("{command_line}", 0, true)'
        self.assertAnswers("a script (`wscript`, `cscript`)", lambda: int(run_script(self.prefix, "wscript", run)))
        self.assertEqual(self.server.connections, 0)

    def test_page_that_starts_the_program_by_hand(self):
        if os.name == "nt":
            self.skipTest("the host of the system itself would open a window")
        place_script_engine(self.prefix)
        page = f"{FOLDER}\\docs\\start-by-hand.hta"
        make_file(self.prefix.path(page), START_BY_HAND.encode("ascii"))
        shown = []

        def start():
            shown[:] = press_start(self.prefix, page, LINK)
            return signed(exit_code_of(shown))

        self.assertAnswers("`start-by-hand.hta`, opened with the right host", start)
        self.assertEqual([hits.sent(request.path) for request in self.server.requests],
                         self.product.expected_hits().link_run("BuyInk", "Unknown", "USB"))
        self.assertEqual(shown[0], self.product.command_line(LINK))
        self.assertRegex(shown[2], "^PROXY_S_NOT_OPTED_IN: ")

    def test_page_that_starts_the_program_knows_all_exit_codes(self):
        known = re.findall(r'"([0-9A-F]{8})": "(PROXY_\w+)?', START_BY_HAND)
        self.assertEqual({int(code, 16): name for code, name in known}, {**RESULT_NAMES, 3: ""})


class RefusedHitTests(HelpPageTest):
    def test_next_run_sends_the_rest_once_the_first_line_is_taken_out(self):
        make_file(self.product.profile_file, f"[Users]\r\nUUID={CLIENT_ID}\r\n".encode("ascii"))
        make_file(self.product.queue_file, b"/collect?v=1&t=appview&cd=Refused\n/collect?v=1&t=appview&cd=Behind\n")
        self.serve(refused="cd=Refused")
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        first, *rest = self.product.queued_hits()
        self.assertIn("cd=Refused", first)
        self.assertIn("cd=Behind", rest[0])

        # What the commands of the page do, in a shell that these tests do not have.
        content = self.product.queue_file.read_bytes()
        self.product.queue_file.write_bytes(content.partition(b"\n")[2])
        server = self.serve()
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        self.assertEqual(self.product.queued_hits(), [])
        sent = [hits.sent(request.path) for request in server.requests]
        self.assertEqual(sorted(sent), sorted([hits.stored(hit) for hit in rest] +
                                              self.product.expected_hits().link_run("BuyInk", "Unknown", "USB")))


class PrivacyTests(HelpPageTest):
    def setUp(self):
        super().setUp()
        self.server = self.serve()

    def commands(self, title, number=0):
        return blocks(chapter(PRIVACY, title))[number]

    def test_one_user_is_switched_off_by_a_file_and_on_again_by_its_removal(self):
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        count = self.server.connections
        self.run_batch(*self.commands("For one user"))
        blocker = self.product.client_folder.parent
        self.assertTrue(blocker.is_file())
        self.assertEnds(self.product.start(LINK), "PROXY_E_INIT_FAILED")
        self.assertEqual(self.product.examine().exit_code, 12)
        self.assertEqual(self.server.connections, count)
        blocker.unlink()
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")

    def test_company_is_switched_off_by_the_mark(self):
        self.run_batch(*self.commands("For a whole company"))
        self.assertTrue(self.product.opt_out_mark().is_file())
        self.assertEnds(self.product.start(LINK), "PROXY_S_NOT_OPTED_IN")
        self.assertEqual(self.product.examine().exit_code, 11)
        self.assertEqual(self.server.connections, 0)

    def test_erasing_removes_identifiers_messages_and_log_of_all_versions(self):
        self.import_sample()
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        identifier = self.product.client_id()
        make_file(self.product.client_folder.parent / "0.9.0.0" / "LumoLink.ini", b"[Users]\r\nUUID=older\r\n")
        self.assertEqual(len(list(self.prefix.drive_c.rglob("kvtrace.log"))), 1)
        self.run_batch(*self.commands("Erasing"))
        self.assertFalse(self.product.client_folder.parent.exists())
        self.assertEqual(list(self.prefix.drive_c.rglob("kvtrace.log")), [])
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        self.assertNotEqual(self.product.client_id(), identifier)

    def test_opting_out_erases_nothing_and_waiting_messages_are_sent_when_the_user_takes_part_again(self):
        make_file(self.product.profile_file, f"[Users]\r\nUUID={CLIENT_ID}\r\n".encode("ascii"))
        make_file(self.product.queue_file, b"/collect?v=1&t=appview&cd=Waiting\n")
        self.product.opt_out()
        self.assertEnds(self.product.start(LINK), "PROXY_S_NOT_OPTED_IN")
        self.assertEqual(self.product.queued_hits(), ["/collect?v=1&t=appview&cd=Waiting"])
        self.assertEqual(self.server.connections, 0)
        self.product.opt_out_mark().unlink()
        self.assertEnds(self.product.start(LINK), "PROXY_S_DONE")
        self.assertIn("Waiting", [hits.value_of(request.path, "cd") for request in self.server.requests])
