"""The trace log of whole runs, line by line. What changes from run to run is masked: times, counters, durations, process
and thread, the numbers of source lines."""

import pathlib
import re
import time

from kvtest.product import LOGGING_KEY
from kvtest.program_test import ReportingTest
from kvtest.wine import SOURCE, to_windows

LOG_FILE = "C:\\trace.log"
EVERYTHING = 0x66000FF0
# Date, time, process, thread, counter with line number, indentation, durations.
ALL_PREFIXES = 0x2F600000

LINE = re.compile(r"([0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}) ([0-9]{10}) \[([0-9]+)\] "
                  r"\{tid: 0x([0-9A-F]{4})\} ([0-9]{4}: |      )(.*)")
POLL = ["LINE: (->)     CAnalyticsEngine::HasPendingRequests",
        "      (<-)     CAnalyticsEngine::HasPendingRequests (Dur: N us) "]

HEADER = """\
      (++) Module File Name: C:\\Product\\bin\\KVAnalyticsProxy.exe (%(size)d bytes)
      (++)     Command Line: %(command_line)s
      (++)     File Version: %(version)s
      (++)       Process ID: [PID]%(blank)s
      (++)         Built on: Aug 22 2014 04:50:00
      (++)    Log File Name: <c:\\trace.log>
LINE: (->) wWinMain
LINE: (->)   CAnalyticsProxy::Run
"""
CONSENT = """\
LINE: (->)     CAnalyticsProxy::IsOptInForAnalytics
LINE: (->)       CPathUtils::GetPathOfExecutable
LINE: (->)         CPathUtils::StripFilename
      (<-)         CPathUtils::StripFilename (Dur: N us)%(blank)s
LINE: (I7)         GetPathOfExecutable: wstrResult = C:\\Product\\bin
      (<-)       CPathUtils::GetPathOfExecutable (Dur: N us)%(blank)s
LINE: (->)       CSxSConfig::GetDataFolder
LINE: (->)         CSxSConfig::_GetIniFile
LINE: (->)           CPathUtils::GetPathOfExecutable
LINE: (->)             CPathUtils::StripFilename
      (<-)             CPathUtils::StripFilename (Dur: N us)%(blank)s
LINE: (I7)             GetPathOfExecutable: wstrResult = C:\\Product\\bin
      (<-)           CPathUtils::GetPathOfExecutable (Dur: N us)%(blank)s
LINE: (->)           CPathUtils::StripFilename
      (<-)           CPathUtils::StripFilename (Dur: N us)%(blank)s
      (<-)         CSxSConfig::_GetIniFile (Dur: N us)%(blank)s
LINE: (I0)         CSxSConfig::SetSxSProductFolder, data folder is C:\\ProgramData\\Norvik\\Product
      (<-)       CSxSConfig::GetDataFolder (Dur: N us)%(blank)s
LINE: (I0)       CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is %(opt_in)s
      (<-)     CAnalyticsProxy::IsOptInForAnalytics (Dur: N us)%(blank)s
"""
CALLER = """\
LINE: (->)     CAnalyticsProxy::IsCalledByLumo
      (<-)     CAnalyticsProxy::IsCalledByLumo (Dur: N us)%(blank)s
"""
INITIALIZE = """\
LINE: (->)     CSxSConfig::_GetIniFile
      (<-)     CSxSConfig::_GetIniFile (Dur: N us)%(blank)s
LINE: (->)     CSxSConfig::_GetIniFile
      (<-)     CSxSConfig::_GetIniFile (Dur: N us)%(blank)s
LINE: (->)     CAnalyticsEngine::Initialize
      (<-)     CAnalyticsEngine::Initialize (Dur: N us)%(blank)s
"""
START = """\
LINE: (->)     CAnalyticsEngine::Start
      (<-)     CAnalyticsEngine::Start (Dur: N us)%(blank)s
LINE: (->)     CAnalyticsProxy::TranslateConnectivityType
      (<-)     CAnalyticsProxy::TranslateConnectivityType (Dur: N us)%(blank)s
"""
LINK = """\
LINE: (->)     CSxSConfig::_GetIniFile
      (<-)     CSxSConfig::_GetIniFile (Dur: N us)%(blank)s
LINE: (->)     CAnalyticsEngine::TrackLumoLink
      (<-)     CAnalyticsEngine::TrackLumoLink (Dur: N us)%(blank)s
LINE: (I0)     CAnalyticsProxy::Run - Calling TrackLumoLink for L 1
"""
SCREEN = """\
LINE: (->)     CAnalyticsEngine::TrackScreenView
      (<-)     CAnalyticsEngine::TrackScreenView (Dur: N us)%(blank)s
LINE: (I0)     CAnalyticsProxy::Run - Calling TrackScreenView for Scan
"""
END = """\
LINE: (->)     CAnalyticsEngine::Stop
      (<-)     CAnalyticsEngine::Stop (Dur: N us)%(blank)s
LINE: (->)     CAnalyticsEngine::HasPendingRequests
      (<-)     CAnalyticsEngine::HasPendingRequests (Dur: N us)%(blank)s
LINE: (I0)     CAnalyticsProxy::Run - Total wait time is N ms
"""
LEAVE = """\
      (<-)   CAnalyticsProxy::Run (Dur: N us)%(blank)s
      (<-) wWinMain (Dur: N us)%(blank)s
"""
FAILURE = """\
      (<-)   CAnalyticsProxy::Run (Dur: N us)%(blank)s
LINE: (##)   failure occured while running AnalyticsProxy, HR = 0x%(result)s
      (<-) wWinMain (Dur: N us)%(blank)s
"""


class TraceLogTests(ReportingTest):
    def setUp(self):
        super().setUp()
        self.product.log_to(LOG_FILE, EVERYTHING, ALL_PREFIXES)

    def masked_log(self):
        """The lines of the log; what is masked has been checked. Further polls are left out."""
        text = self.prefix.path(LOG_FILE).read_bytes().decode("utf-16-le")
        self.assertTrue(text.endswith("\r\n"))
        parts = [LINE.fullmatch(line) for line in text[:-2].split("\r\n")]
        self.assertNotIn(None, parts, text)
        times, counters, processes, threads = ([part[group] for part in parts] for group in (1, 2, 3, 4))
        self.assertEqual(times, sorted(times))
        # Local time, of a zone that this process need not share.
        self.assertLess(abs(time.mktime(time.strptime(times[0], "%Y/%m/%d %H:%M:%S")) - time.time()), 100000)
        self.assertLess((int(counters[-1]) - int(counters[0])) % 10 ** 10, 10 ** 8) # microseconds; it starts over
        self.assertEqual((len(set(processes)), len(set(threads))), (1, 1))
        lines = []
        for part in parts:
            lines.append(self.mask(("LINE: " if part[5].strip() else part[5]) + part[6], processes[0]))
            if lines[-4:] == POLL * 2:
                del lines[-2:]
        return lines

    @staticmethod
    def mask(line, process):
        line = re.sub(r"\(Dur: [0-9]+ us\)", "(Dur: N us)", line)
        line = re.sub(r"Total wait time is [0-9]+ ms$", "Total wait time is N ms", line)
        return line.replace(f"Process ID: [{process}]", "Process ID: [PID]")

    def assertLogged(self, arguments, *blocks, opt_in="true", result=None, command_line=None):
        facts = {"size": self.product.files.program.stat().st_size, "version": self.product.files.version,
                 "command_line": command_line or self.product.command_line(arguments), "opt_in": opt_in,
                 "result": result, "blank": " "}
        self.assertEqual(self.masked_log(), ("".join(blocks) % facts).splitlines())

    def test_link_run(self):
        self.serve()
        arguments = '/linkid "L 1" /connection USB'
        self.assertEnds(self.product.start(arguments), "PROXY_S_DONE")
        self.assertLogged(arguments, HEADER, CONSENT, CALLER, INITIALIZE, START, LINK, END, LEAVE)

    def test_screen_run(self):
        self.serve()
        self.assertEnds(self.product.start("/tabid Scan"), "PROXY_S_DONE")
        self.assertLogged("/tabid Scan", HEADER, CONSENT, CALLER, INITIALIZE, START, SCREEN, END, LEAVE)

    def test_run_that_tracks_nothing(self):
        self.serve()
        self.assertEnds(self.product.start(), "PROXY_S_DONE")
        self.assertLogged("", HEADER, CONSENT, CALLER, INITIALIZE, START, END, LEAVE)

    def test_user_who_did_not_opt_in(self):
        self.product.opt_out()
        self.assertEnds(self.product.start("/linkid a"), "PROXY_S_NOT_OPTED_IN")
        self.assertLogged("/linkid a", HEADER, CONSENT, LEAVE, opt_in="false")

    def test_another_caller(self):
        self.assertEnds(self.product.start("/linkid a", "C:\\Stranger.exe"), "PROXY_E_NOT_CALLED_BY_LUMO")
        entry, leave = CALLER.splitlines(keepends=True)
        told = "LINE: (I0)       CAnalyticsProxy::IsCalledByLumo - The parent process is not Lumo HTA. " \
               "Parent: C:\\Stranger.exe\n"
        self.assertLogged("/linkid a", HEADER, CONSENT, entry, told, leave, FAILURE, result="83e8c0fe")

    def test_command_prompt(self):
        self.product.place_host()
        command_line = f"{self.product.program} /linkid a"
        run = self.product.start_command_line(f"C:\\windows\\system32\\cmd.exe /c {command_line}")
        self.assertEnds(run, "PROXY_E_NOT_CALLED_BY_LUMO")
        self.assertIn("LINE: (I0)       CAnalyticsProxy::IsCalledByLumo - The parent process is not Lumo HTA. "
                      "Parent: C:\\windows\\system32\\cmd.exe", self.masked_log())

    def test_no_parent(self):
        self.prefix.run_for_status(self.product.program, "/linkid", "a")
        entry, leave = CALLER.splitlines(keepends=True)
        told = "LINE: (I0)       CAnalyticsProxy::IsCalledByLumo - Could not find the parrent process\n"
        self.assertLogged("/linkid a", HEADER, CONSENT, entry, told, leave, FAILURE, result="83e8c0fe")

    def test_engine_that_cannot_be_initialised(self):
        self.product.profile_file.mkdir(parents=True)
        self.assertEnds(self.product.start("/linkid a"), "PROXY_E_INIT_FAILED")
        told = "LINE: (WN)     CAnalyticsProxy::Run - Failed to initialize the analytics engine.\n"
        self.assertLogged("/linkid a", HEADER, CONSENT, CALLER, INITIALIZE, told, FAILURE, result="83e8c0fc")

    def test_exact_command_line_reaches_the_program(self):
        """Blanks and quotes as the host has written them."""
        self.product.opt_out()
        self.product.place_host()
        command_line = f'{self.product.program}   /linkid  "a ""b"  \\"c\u00e9\u4e2d '
        self.product.start_command_line(command_line)
        self.assertLogged(None, HEADER, CONSENT, LEAVE, opt_in="false", command_line=command_line)


class LogSettingsTests(ReportingTest):
    def import_sample(self, name):
        self.prefix.spoil()
        self.prefix.run("regedit", "/S", to_windows(pathlib.Path(SOURCE, "packaging", name)))

    def lines_after_a_run(self):
        """Of the sample's log file, without their prefixes; none when there is no file."""
        self.product.start("/linkid a")
        file, = list((self.prefix.local_app_data.parent.parent).rglob("kvtrace.log")) or [None]
        return file and [re.sub(r"^.*?(?=\((?:->|<-|I[0-9]+|\+\+|##|WN)\) )", "", line)
                         for line in file.read_bytes().decode("utf-16-le").splitlines()]

    def test_samples_switch_the_log_on_and_off(self):
        self.product.opt_out()
        self.assertIsNone(self.lines_after_a_run())
        self.import_sample("logging-on-brief.reg")
        lines = self.lines_after_a_run()
        self.assertEqual(lines[6:], [
            "(I0) CSxSConfig::SetSxSProductFolder, data folder is C:\\ProgramData\\Norvik\\Product",
            "(I0) CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is false"])
        self.import_sample("logging-off.reg")
        self.assertEqual(self.lines_after_a_run(), lines)

    def test_sample_for_everything(self):
        self.product.opt_out()
        self.import_sample("logging-on.reg")
        lines = self.lines_after_a_run()
        self.assertEqual((lines[6], re.sub("[0-9]+", "N", lines[-1])), ("(->) wWinMain", "(<-) wWinMain (Dur: N us) "))

    def test_modules_have_their_documented_names(self):
        """The libraries' module is silenced by its name, the program's own by that of its file."""
        self.product.opt_out()
        self.product.log_to(LOG_FILE, 0x400, 0, detail_level=0)
        key = f"{LOGGING_KEY}\\KVAnalyticsProxy.exe"
        self.product.set_logging(f"[{key}\\Utils]", '"LogCategories"=dword:00000000')
        self.product.start("/linkid a")
        file = self.prefix.path(LOG_FILE)
        self.assertEqual(file.read_bytes().decode("utf-16-le").splitlines(),
                         ["(->) wWinMain", "(->) CAnalyticsProxy::Run", "(->) CAnalyticsProxy::IsOptInForAnalytics"])
        file.unlink()
        self.product.set_logging(f"[{key}]", '"LogCategories"=dword:00000000', "",
                                    f"[{key}\\Utils]", '"LogCategories"=dword:00000400')
        self.product.start("/linkid a")
        self.assertEqual({line.rpartition("::")[0] for line in file.read_bytes().decode("utf-16-le").splitlines()},
                         {"(->) CPathUtils", "(->) CSxSConfig"})
