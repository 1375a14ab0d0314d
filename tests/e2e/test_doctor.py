"""The doctor: what it says of a run, that it changes nothing, and what it makes of absurd files and registries. That its
verdict is the program's in all other tests is checked by kvtest.doctor at each of their runs."""

import json
import re
import time
import unittest

from kvtest import hits
from kvtest.doctor import MOST_QUESTIONS, UNEXAMINED, Cases, Diagnosis, ExaminedProduct, compare
from kvtest.product import HOST, LOGGING_KEY, PROXY_S_DONE, PROXY_S_NOT_OPTED_IN, Run, make_file
from kvtest.program_test import PLAIN, ReportingTest
from kvtest.wine import SOURCE

PAGE = SOURCE / "docs" / "doctor.md"
CLIENT_ID = "3f2504e0-4f89-11d3-9a0c-0305e82c3301"
PROFILE = f"[Users]\r\nUUID={CLIENT_ID}\r\n".encode("ascii")
OPTED_OUT = json.dumps({"verdict": {"programResult": PROXY_S_NOT_OPTED_IN}})
MODULE_KEY = f"{LOGGING_KEY}\\KVAnalyticsProxy.exe"
# Without /connect it ends within five seconds; a busy machine takes some more to start it.
LONGEST_SECONDS = 20


class DoctorTest(ReportingTest):
    def ask(self, *arguments):
        """Exit code and output. On a busy machine the doctor's time may not suffice; it is then asked again."""
        for _ in range(MOST_QUESTIONS):
            status, output = self.prefix.run_for_both(self.product.doctor, *arguments)
            if "could not be determined" not in output or arguments == ("/?",):
                break
        return status, output

    def hit(self, name, mark=""):
        return f"/collect?v=1&z=41&cid={CLIENT_ID}&t=appview&cd={name}{mark}\n"

    def config_file(self):
        return self.prefix.path(f"{self.product.folder}\\config.ini")

    def fill_queue(self, *lines):
        make_file(self.product.profile_file, PROFILE)
        make_file(self.product.queue_file, "".join(lines).encode("latin-1"))


class VerdictTests(DoctorTest):
    """Each exit code, with its reason."""

    def assertVerdict(self, exit_code, reason, *arguments):
        diagnosis = self.product.examine(*arguments)
        self.assertEqual((diagnosis.exit_code, diagnosis.report["verdict"]["reason"]), (exit_code, reason))
        self.assertEqual(diagnosis.report["verdict"]["exitCode"], exit_code)
        return diagnosis

    def test_would_report(self):
        diagnosis = self.assertVerdict(0, "wouldReport")
        self.assertEqual((diagnosis.result, diagnosis.report["verdict"]["programResultName"]),
                         (PROXY_S_DONE, "PROXY_S_DONE"))

    def test_no_participation_program(self):
        self.product.participation_program().unlink()
        self.assertVerdict(10, "noParticipationProgram")

    def test_opted_out(self):
        self.product.opt_out()
        self.assertVerdict(11, "optedOut")

    def test_no_client_id(self):
        make_file(self.product.client_folder)
        self.assertVerdict(12, "noClientId")

    def test_program_missing(self):
        self.prefix.path(self.product.program).unlink()
        self.assertVerdict(13, "programMissing")

    def test_host_not_reached(self):
        self.serve(is_listening=False)
        diagnosis = self.assertVerdict(15, "hostNotReached", "/connect")
        self.assertFalse(diagnosis.report["reach"]["reached"])
        self.assertGreater(diagnosis.report["reach"]["error"], 12000)

    def test_unknown_argument(self):
        for argument in ("/jsn", "json", "", "/hits=1"):
            status, output = self.ask(argument)
            self.assertEqual(status, 2, argument)
            self.assertRegex(output.strip(), r"^KVAnalyticsDoctor: unknown argument .*; /\? shows the known ones$")

    def test_comparison_finds_a_verdict_that_the_run_does_not_bear_out(self):
        """Otherwise the comparison at the runs of all other tests would prove nothing."""
        opted_out = Diagnosis(11, OPTED_OUT)
        compare(opted_out, Run(0x03E8C0FF, 0))
        for exit_code in (0x03E8C0FB, 0x83E8C0FC, 0x83E8C0FE):
            with self.assertRaises(AssertionError):
                compare(opted_out, Run(exit_code, 0))


class ExceptionsTests(unittest.TestCase):
    def test_tests_that_do_not_ask_the_doctor_are_named(self):
        """A test starts the program past the doctor by a plain Product, or by a call that names the program."""
        tests = SOURCE / "tests"
        found = set()
        for file in [*tests.glob("e2e/test_*.py"), *tests.glob("package/test_*.py")]:
            place = ""
            for line in file.read_text(encoding="utf-8").splitlines():
                if named := re.match(r"class (\w+)", line):
                    place = f"{file.stem}.{named[1]}"
                elif named := re.match(r"    def (test_\w+)", line):
                    place = f"{file.stem}.{place.split('.')[1]}.{named[1]}"
                if re.search(r"\bProduct\(|(run|run_for_status|run_for_both)\(self\.product\.program", line):
                    found.add(place)
        self.assertEqual({name for name in found if not any(name.startswith(known) for known in UNEXAMINED)}, set())
        self.assertEqual({known for known in UNEXAMINED if not any(name.startswith(known) for name in found)}, set())


class CasesTests(DoctorTest):
    """When the doctor is asked before a run."""

    def setUp(self):
        super().setUp()
        if self.prefix.differences() is None:
            self.skipTest("nothing is noted of what has changed, so the doctor is asked before each run")

    def test_equal_installations_are_one_case(self):
        self.product.send_to(4711)
        case = Cases.name(self.product)
        self.assertIsNotNone(case)
        self.prefix.restore()
        self.product = ExaminedProduct(self.prefix, self.product.files)
        self.product.opt_in()
        self.product.write_config(PLAIN)
        self.product.send_to(4712)
        self.assertEqual(Cases.name(self.product), case)

    def test_whatever_the_doctor_may_see_makes_a_new_case(self):
        changes = (self.product.opt_out,
                   self.product.participation_program().unlink,
                   lambda: self.product.write_config(PLAIN + "[Directories]\nDataFolder=C:\\Data\n"),
                   lambda: self.fill_queue(self.hit("A")),
                   lambda: self.fill_queue(self.hit("B")),
                   lambda: self.product.send_to(4711),
                   self.prefix.path(self.product.doctor).unlink,
                   lambda: setattr(self.product, "folder", "C:\\Other"))
        cases = {Cases.name(self.product)}
        for change in changes:
            change()
            cases.add(Cases.name(self.product))
        self.assertEqual(len(cases), 1 + len(changes))
        self.assertNotIn(None, cases)

    def test_change_that_is_not_noted_makes_the_case_unknown(self):
        self.prefix.spoil()
        self.assertIsNone(Cases.name(self.product))

    def test_linked_folder_makes_the_case_unknown(self):
        (self.prefix.drive_c / "Linked").symlink_to(self.prefix.scratch)
        self.assertIsNone(Cases.name(self.product))
        (self.prefix.drive_c / "Linked").unlink()

    def test_known_case_is_not_asked_again_and_each_run_is_compared(self):
        cases, asked = Cases(), []
        self.product.cases = cases
        self.product.examine = lambda: asked.append(cases.name(self.product)) or Diagnosis(0, OPTED_OUT)
        self.product.opt_out()
        for _ in range(2):
            self.product.start()
        self.assertEqual(len(asked), 1)
        self.product.opt_out_mark().unlink()
        self.serve()
        for count in (2, 3): # a run leaves the client's files, which make a new case
            self.assertRaisesRegex(AssertionError, "the doctor said PROXY_S_NOT_OPTED_IN", self.product.start)
            self.assertEqual(len(asked), count)


class UnchangedTests(DoctorTest):
    """The whole prefix, files and registry, before and after."""

    def assertUnchanged(self, *arguments, before="/?"):
        """before: what has run already, so that what the system does for itself at a first start is there."""
        self.ask(before)
        self.prefix.stop()
        earlier = self.prefix.snapshot()
        self.prefix.start()
        status, _ = self.ask(*arguments)
        self.prefix.stop()
        later = self.prefix.snapshot()
        self.assertEqual({name for name in earlier.keys() | later.keys() if earlier.get(name) != later.get(name)}, set())
        return status

    def test_user_who_has_never_reported(self):
        """Nothing is there that a run would make: neither the client's folder nor its files."""
        self.assertEqual(self.assertUnchanged(), 0)
        self.assertFalse((self.prefix.local_app_data / "Norvik").exists())

    def test_user_with_everything(self):
        """Hits wait, and the log settings ask for a log of every program and for keys of its modules."""
        self.fill_queue(self.hit("A"), "half a line")
        self.product.set_logging(f"[{LOGGING_KEY}]", '"LogFileName"="C:\\\\every.log"', '"LogCategories"=dword:67000ff0',
                                 '"LogInfoDetailLevel"=dword:0000000f')
        self.assertEqual(self.assertUnchanged("/hits", "/id"), 0)
        self.assertFalse(self.prefix.path("C:\\every.log").exists())

    def test_connection(self):
        self.serve_encrypted()
        self.product.write_config("")
        # The system's own WinINet and its certificate store write to the registry at a user's first connection.
        self.assertEqual(self.assertUnchanged("/connect", before="/connect"), 0)


class ReportTests(DoctorTest):
    def test_client_id_is_shown_whole_only_on_request(self):
        self.fill_queue(self.hit("A"))
        for arguments in ([], ["/json"], ["/hits"], ["/json", "/hits"]):
            _, output = self.ask(*arguments)
            self.assertIn("3f25...", output)
            self.assertNotIn(CLIENT_ID[:5], output)
        for arguments in (["/id"], ["/json", "/id"]):
            self.assertIn(CLIENT_ID, self.ask(*arguments)[1])

    def test_queue(self):
        before = int(time.time())
        self.fill_queue(self.hit("A"), self.hit("B", f"#{before - 7200}"), self.hit("C", f"#{before - 60}"))
        queue = self.product.examine().report["queue"]
        self.assertEqual((queue["state"], queue["hits"], queue["full"]), ("read", 3, False))
        self.assertGreaterEqual(queue["oldestAgeSeconds"], 7200)
        self.assertLessEqual(queue["oldestAgeSeconds"], 7200 + time.time() - before + 1)
        self.assertNotIn("decodedHits", queue)

    def test_decoded_hits_are_those_of_the_file(self):
        self.fill_queue(self.hit("A", "#5"), self.hit("B"))
        decoded = self.product.examine("/hits", "/id").report["queue"]["decodedHits"]
        self.assertEqual([[(item["key"], item["value"]) for item in hit["parameters"]] for hit in decoded],
                         [hits.parameters(self.hit(name).strip()) for name in "AB"])

    def test_configuration(self):
        self.product.write_config("[Analytics]\nPropertyIDPrefix=NV-\nUseSSL=yes\n[DeviceInfo]\nModelName=N 3000\n"
                                  "[Directories]\nDataFolder=C:\\Data\n")
        configuration = self.product.examine().report["configuration"]
        self.assertEqual(configuration, {
            "path": f"{self.product.folder}\\config.ini", "present": True, "propertyIdPrefix": "NV-", "propertyId": "NV-3",
            "useSslText": "yes", "useSsl": False, "modelName": "N 3000", "dataFolder": "C:\\Data",
            "dataFolderSource": "config.ini"})

    def test_default_data_folder(self):
        self.config_file().unlink()
        configuration = self.product.examine().report["configuration"]
        self.assertEqual((configuration["present"], configuration["dataFolder"], configuration["dataFolderSource"],
                          configuration["useSsl"]), (False, self.product.default_data_folder, "default", True))

    def test_data_folder_that_is_no_full_path(self):
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=Data\n")
        self.assertIn("The data folder is no full path, so the opt-out mark is never found.", self.ask()[1])

    def test_log_settings(self):
        self.product.log_to("C:\\trace.log", 0x10, 0x200000, 3)
        self.product.set_logging(f"[{MODULE_KEY}]", '"LogCategories"=dword:000000c0', "",
                                 f"[{MODULE_KEY}\\Utils]", '"LogFileName"="C:\\\\Utils.log"', "",
                                 f"[{MODULE_KEY}\\Utils\\pathutils.cpp]", '"LogOptions"="wrong"')
        log = self.product.examine().report["log"]
        levels = {level["key"].removeprefix("Software\\Norvik\\KV\\Logging"):
                  {value["name"]: value["value"] for value in level["values"]} for level in log["levels"]}
        program = "\\KVAnalyticsProxy.exe"
        self.assertEqual(levels, {
            "": {"LogInfoDetailLevel": 3, "LogCategories": 0x10, "LogOptions": 0x200000,
                 "LogFileName": "C:\\trace.log"},
            program: {"LogCategories": 0xC0}, f"{program}\\Utils": {"LogFileName": "C:\\Utils.log"},
            f"{program}\\Utils\\pathutils.cpp": {"LogOptions": None}})
        self.assertEqual(log["modules"], [
            {"name": "KVAnalyticsProxy", "categories": 0xC0, "options": 0x200000, "detailLevel": 3,
             "file": "c:\\trace.log"},
            {"name": "Utils", "categories": 0xC0, "options": 0x200000, "detailLevel": 3, "file": "c:\\utils.log"}])

    def test_proxy(self):
        server = self.serve()
        connection = self.product.examine().report["connection"]
        self.assertEqual((connection["host"], connection["port"], connection["proxy"], connection["connected"]),
                         (self.product.files.collection_host, 80, f"127.0.0.1:{server.port}", True))
        self.assertEqual((connection["proxyForComputer"], connection["autoConfigUrl"]), (False, ""))
        self.assertEqual(server.connections, 0)

    def test_version_and_place_of_the_program(self):
        program = self.product.examine().report["program"]
        self.assertEqual((program["path"], program["present"], program["version"]),
                         (self.product.program, True, self.product.files.version))
        self.assertFalse(self.prefix.path(HOST).exists())
        self.assertEqual((program["hostPath"], program["hostPresent"]), (HOST, False))

    def test_text_for_people(self):
        status, output = self.ask()
        self.assertEqual(status, 0)
        self.assertTrue(output.startswith("Verdict\n  ") or output.startswith("Verdict\r\n  "), output)
        for title in ("Program", "Consent", "Configuration", "Client id", "Waiting hits", "Trace log", "Connection"):
            self.assertRegex(output, rf"(?m)^{title}\r?$")

    def test_ends_in_time(self):
        begin = time.monotonic()
        self.ask()
        self.assertLess(time.monotonic() - begin, LONGEST_SECONDS)


class ConnectTests(DoctorTest):
    def test_one_encrypted_connection_and_no_hit(self):
        server = self.serve_encrypted()
        self.product.write_config("")
        diagnosis = self.product.examine("/connect")
        self.assertEqual(diagnosis.exit_code, 0)
        self.assertTrue(diagnosis.report["reach"]["reached"])
        self.assertEqual(server.tunnels, [f"{self.product.files.collection_host}:443"])
        self.assertEqual((server.connections, server.requests), (1, []))

    def test_plain_connection(self):
        server = self.serve()
        self.assertTrue(self.product.examine("/connect").report["reach"]["reached"])
        self.assertEqual((server.connections, server.tunnels, server.requests), (1, [], []))

    def test_proxy_that_cannot_reach_the_host(self):
        server = self.serve() # refuses CONNECT
        self.product.write_config("")
        diagnosis = self.product.examine("/connect")
        self.assertEqual((diagnosis.exit_code, diagnosis.report["reach"]["reached"]), (15, False))
        self.assertEqual(len(server.tunnels), 1)

    def test_nothing_is_connected_without_the_switch(self):
        server = self.serve()
        self.assertNotIn("reach", self.product.examine().report)
        self.assertEqual(server.connections, 0)


class AbsurdInputTests(DoctorTest):
    """Whatever files and registry hold, there is a report."""

    def test_binary_configuration(self):
        self.product.write_config(bytes(range(256)) * 300)
        self.assertEqual(self.product.examine().exit_code, 0)
        self.assertEqual(self.ask()[0], 0)

    def test_folder_in_place_of_the_configuration(self):
        self.config_file().unlink()
        self.config_file().mkdir()
        self.assertFalse(self.product.examine().report["configuration"]["present"])

    def test_very_long_values(self):
        self.product.write_config(PLAIN + f"PropertyIDPrefix={'P' * 5000}\n")
        self.assertEqual(self.product.examine().report["configuration"]["propertyIdPrefix"], "P" * 5000)
        self.assertIn("P" * 400 + "... (5000 characters)", self.ask()[1])

    def test_characters_of_the_world_reach_a_file_in_utf_8(self):
        model = "Norvik \u00e9\u4e2d\U0001f600"
        config = "\ufeff" + PLAIN + f"[DeviceInfo]\nModelName={model}\n"
        self.product.write_config(config.replace("\n", "\r\n").encode("utf-16-le"))
        self.assertEqual(self.product.examine().report["configuration"]["modelName"], model)
        file = self.prefix.path("C:\\out.txt")
        self.prefix.run("cmd", "/c", f"{self.product.doctor} > C:\\out.txt")
        output = file.read_bytes()
        self.assertTrue(output.startswith(b"Verdict\r\n"))
        self.assertIn(model, output.decode("utf-8"))

    def test_characters_that_control_a_console_are_shown_as_numbers(self):
        config = "\ufeff" + PLAIN + "[DeviceInfo]\nModelName=a\x1b[2Jb\u202ec\n"
        self.product.write_config(config.replace("\n", "\r\n").encode("utf-16-le"))
        self.assertIn("a\\u001B[2Jb\\u202Ec", self.ask()[1])

    def test_binary_queue(self):
        self.fill_queue("".join(map(chr, range(256))) * 4)
        queue = self.product.examine("/hits").report["queue"]
        self.assertEqual(queue["state"], "read")
        self.assertGreater(queue["hits"], 0)
        self.assertEqual(self.ask("/hits")[0], 0)

    def test_huge_queue(self):
        """As much as a file can hold that nothing empties; a run takes the first 500."""
        make_file(self.product.profile_file, PROFILE)
        make_file(self.product.queue_file, self.hit("A").encode("ascii") * 100000)
        queue = self.product.examine().report["queue"]
        self.assertEqual((queue["hits"], queue["full"]), (500, True))

    def test_queue_of_zeros(self):
        make_file(self.product.profile_file, PROFILE)
        make_file(self.product.queue_file, b"\0" * 80000000)
        self.assertEqual(self.product.examine().report["queue"]["hits"], 0)

    def test_folder_in_place_of_the_queue(self):
        self.product.queue_file.mkdir(parents=True)
        self.assertEqual(self.product.examine().report["queue"]["state"], "unreadable")

    def test_binary_profile(self):
        make_file(self.product.profile_file, bytes(range(256)) * 50)
        self.assertEqual(self.product.examine().exit_code, 0)

    def test_registry_values_of_wrong_types(self):
        self.product.set_logging(f"[{LOGGING_KEY}]", '"LogFileName"=dword:00000007', '"LogCategories"="everything"',
                                 '"LogOptions"=hex:ff', '"LogParmsPollTime"="soon"',
                                 f"[{MODULE_KEY}]", '"ExtMonitorCLSID"=dword:00000001', '"ExtMonitorFlags"="all"')
        values = [value["value"] for level in self.product.examine().report["log"]["levels"]
                  for value in level["values"]]
        self.assertEqual(values, [None] * 6)
        self.assertIn("of a different type, ignored", self.ask()[1])

    def test_registry_with_many_keys(self):
        self.product.set_logging(*(line for number in range(105)
                                   for line in (f"[{MODULE_KEY}\\Module{number}]", '"LogCategories"=dword:1', "")))
        log = self.product.examine().report["log"]
        self.assertEqual((len(log["levels"]), log["moreKeys"]), (100, True))


class PageTests(DoctorTest):
    """docs/doctor.md says what the program does."""

    def table(self, chapter):
        """The first two cells of each row of the chapter's table."""
        section = PAGE.read_text(encoding="utf-8").split(f"\n## {chapter}\n")[1].split("\n## ")[0]
        return [[cell.strip().strip("`") for cell in line.split("|")[1:3]]
                for line in section.splitlines() if line.startswith("| ")][1:]

    def test_exit_codes(self):
        _, output = self.ask("/?")
        codes = dict(re.findall(r"(?m)^ +([0-9]+)  (.*?)\r?$", output))
        self.assertEqual({code: text for code, text in self.table("Exit codes")}, codes)

    def test_switches(self):
        _, output = self.ask("/?")
        self.assertEqual([name for name, _ in self.table("Switches")], re.findall(r"(?m)^  (/[a-z?]+) ", output))

    def test_members(self):
        self.serve()
        self.fill_queue(self.hit("A"))
        self.product.log_to("C:\\trace.log", 0x10, 0)
        report = self.product.examine("/hits", "/connect").report
        self.assertEqual({name for name, _ in self.table("Members of the JSON object")}, set(members(report)))


def members(value, path=""):
    """The names of all members below, with their sections, "[]" for the items of a list."""
    if isinstance(value, dict):
        for name, member in value.items():
            yield from members(member, f"{path}.{name}" if path else name)
    elif isinstance(value, list):
        for item in value:
            yield from members(item, f"{path}[]")
    else:
        yield path
