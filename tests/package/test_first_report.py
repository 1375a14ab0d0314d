"""The path of somebody who has nothing but the archive: the commands of the readme, from the archive to the first report
that is seen at a server on this computer."""

import json
import re
import shutil
import subprocess
import sys
import threading

import place
from kvtest import hits
from kvtest.doctor import ExaminedProduct
from kvtest.product import PROXY_S_DONE
from kvtest.program_test import ProgramTest
from kvtest.script_host import exit_code_of, place_script_engine, press_start
from kvtest.wine import to_windows

FOLDER = "C:\\Trial"
SECONDS = 20


class FirstReportTests(ProgramTest):
    def setUp(self):
        super().setUp()
        self.prefix.spoil()
        self.product = ExaminedProduct(self.prefix, self.product.files, FOLDER)
        shutil.copytree(place.archive("program"), self.prefix.path(FOLDER), dirs_exist_ok=True)
        readme = self.prefix.path(f"{FOLDER}\\readme.txt").read_text(encoding="ascii")
        chapter = readme.split("\n\n\nTRYING IT\n", 1)[1].split("\n\n\n", 1)[0]
        # The commands of each step, by its number.
        self.steps = {int(number): re.findall(r"(?m)^        (\S.*)$", text) for number, text in
                      re.findall(r"(?ms)^([0-9])\.  (.*?)(?=^[0-9]\.  |\Z)", chapter)}

    def start_server(self, command):
        """Starts what the command names, by the Python of this test on a port of the system's choice. Returns that port."""
        python, collect, option, self.port_of_the_readme = command.split()
        self.assertEqual((python, option), ("py", "--port"))
        self.server = subprocess.Popen([sys.executable, "-B", self.prefix.path(collect)], cwd=self.prefix.scratch,
                                       stdout=subprocess.PIPE, text=True)
        self.addCleanup(self.server.stdout.close)
        self.addCleanup(self.server.wait)
        self.addCleanup(self.server.kill)
        watch = threading.Timer(SECONDS, self.server.kill) # ends the lines below
        watch.start()
        self.addCleanup(watch.join)
        self.addCleanup(watch.cancel)
        for line in self.server.stdout:
            if told := re.fullmatch(r"The proxy: 127\.0\.0\.1:([0-9]+)\n", line):
                watch.cancel()
                return told[1]
        raise AssertionError("the server named no proxy")

    def run_commands(self, *numbers, port=""):
        """Runs the commands of these steps in one command prompt. Returns its output and the last exit code."""
        lines = [line.replace(f":{self.port_of_the_readme} ", f":{port} ") if port else line
                 for number in numbers for line in self.steps[number]]
        file = self.prefix.scratch / "commands.cmd"
        file.write_bytes("\r\n".join(("@echo off", *lines, "")).encode("ascii"))
        status, output = self.prefix.run_for_both("cmd", "/c", to_windows(file))
        return output, status

    def recorded(self):
        lines = (self.prefix.scratch / "hits.jsonl").read_text(encoding="utf-8").splitlines()
        return [json.loads(line) for line in lines]

    def test_readme_leads_from_the_archive_to_the_first_report(self):
        self.assertEqual(sorted(self.steps), [1, 2, 3, 4, 5, 6, 7, 8])
        port = self.start_server(self.steps[4][-1])
        output, status = self.run_commands(1, 2, 3, 5, 6, port=port)
        self.assertEqual(status, 0, output)
        self.assertRegex(output, r"(?m)^ +A run would report\.\r?$")
        self.assertRegex(output, r"(?m)^  exit code of the doctor +0\r?$")
        self.assertRegex(output, r"(?m)^  reached +yes\r?$")

        command, = self.steps[7]
        host, page = re.fullmatch(r'"(.*)" "(.*)"', command).groups()
        told = re.search(r"(?m)^  must be started by +(\S+)\r?$", output)[1]
        self.assertEqual(host.lower(), told.lower())
        place_script_engine(self.prefix)
        shown = press_start(self.prefix, page, "/linkid TestByHand /connection USB")
        self.assertEqual(exit_code_of(shown), PROXY_S_DONE, shown)
        arrived = self.recorded()
        self.assertEqual([hits.sent(hit["path"]) for hit in arrived],
                         self.product.expected_hits("TRIAL-3").link_run("TestByHand", "Unknown", "USB"))
        self.assertEqual({hit["answer"] for hit in arrived}, {200})

        self.run_commands(5, 8, port=port)
        self.assertFalse(self.product.client_folder.parent.exists())
        key = "HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings"
        self.assertRegex(self.prefix.run("reg", "query", key, "/v", "ProxyEnable"), r"REG_DWORD\s+0x0\b")

    def test_server_that_cannot_record_or_listen_says_so_in_a_sentence(self):
        (self.prefix.scratch / "hits.jsonl").mkdir()
        taken = self.serve().port
        for options, beginning in (((), "The recording cannot be written to hits.jsonl ("),
                                   (("--record", "other.jsonl", "--port", str(taken)), f"Port {taken} cannot be used (")):
            done = subprocess.run([sys.executable, "-B", self.prefix.path(f"{FOLDER}\\viewer\\collect"), *options],
                                  cwd=self.prefix.scratch, timeout=SECONDS, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE, text=True, check=False)
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertTrue(done.stderr.startswith(beginning) and done.stderr.count("\n") == 1, done.stderr)
