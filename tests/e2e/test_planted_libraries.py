"""Libraries that somebody puts beside the program, named like those of the system: their code is not run, whichever
library the system loads for an encrypted request, for the query for the battery or for the list of printers."""

import os
import pathlib

from kvtest.product import make_file
from kvtest.program_test import ProgramTest

FOLDER = "C:\\Planted"
# Those that the system loads by LoadLibraryW, from the program's folder first. Of others that are imported late Wine takes
# its own: unlike Windows, it searches the program's folder for these whatever has been set.
PREFERRED = {"imm32.dll", "kerberos.dll", "schannel.dll", "uxtheme.dll"}
SYSTEM_FOLDER = "c:\\windows\\system32\\"
PRINTERS_KEY = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\Printers\\Norvik 3000"


def modules(lines, when):
    """The paths of the modules that were loaded then."""
    return [path.lower() for key, path in lines if key == when]


def file_part(path):
    return path.rpartition("\\")[2]


class PlantedLibraryTests(ProgramTest):
    def setUp(self):
        super().setUp()
        self.server = self.serve_encrypted()
        self.prefix.import_registry(f"[{PRINTERS_KEY}]", '"Name"="Norvik 3000"', '"Port"="LPT1:"',
                                    '"Print Processor"="WinPrint"', '"Datatype"="RAW"', '"Printer Driver"="Driver"')
        make_file(self.prefix.path(f"{FOLDER}\\loader.exe"), self.built("LOADER"))

    @staticmethod
    def built(name):
        return pathlib.Path(os.environ[f"KV_E2E_{name}"]).read_bytes()

    def load(self, setup):
        """What the loader prints, as pairs of words."""
        output = self.prefix.run(f"{FOLDER}\\loader.exe", setup)
        return [tuple(line.split(" ", 1)) for line in output.splitlines()]

    def plant(self):
        """A marking library under the name of each library that is loaded on the way, and their names."""
        lines = self.load("protected")
        self.assertWorked(lines)
        # Not what every process has from its beginning: no code of ours is run before these are loaded.
        names = {file_part(path) for path in modules(lines, "end")} - {file_part(path) for path in modules(lines, "start")}
        for name in names:
            make_file(self.prefix.path(f"{FOLDER}\\{name}"), self.built("MARKING"))
        self.prefer_files()
        return names

    def prefer_files(self):
        """A file that is found counts, as on Windows. Wine would put its own library in the place of most of them."""
        key = "HKEY_CURRENT_USER\\Software\\Wine\\AppDefaults\\loader.exe"
        self.prefix.import_registry(f"[{key}\\DllOverrides]", *(f'"{name.removesuffix(".dll")}"="native,builtin"'
                                                                 for name in sorted(PREFERRED)), undo=(f"[-{key}]",))

    def assertWorked(self, lines):
        facts = dict(lines)
        self.assertEqual((facts["sent"], facts["battery"], facts["printers"]), ("1", "No", "1"))

    def run_libraries(self):
        return {file.name.removesuffix(".run").lower() for file in self.prefix.path(FOLDER).glob("*.run")}

    def test_none_is_run(self):
        names = self.plant()
        self.assertLess({"wininet.dll", "ws2_32.dll", "ole32.dll", "wbemprox.dll", "winspool.drv"} | PREFERRED, names)
        lines = self.load("protected")
        self.assertEqual(self.run_libraries(), set())
        paths = {file_part(path): path for path in modules(lines, "end")}
        self.assertEqual({paths[name] for name in PREFERRED}, {SYSTEM_FOLDER + name for name in PREFERRED})
        self.assertWorked(lines)
        self.assertTrue(all(request.is_encrypted for request in self.server.requests))
        self.assertEqual(len(self.server.requests), 2)

    def test_without_the_set_up_they_are(self):
        """The trap works."""
        self.plant()
        self.prefix.spoil() # what a planted library breaks in the system's processes stays broken
        caught = set()
        # The first to be caught breaks what would load the next, so each is taken away when it has been caught.
        for _ in PREFERRED:
            self.prefix.run_for_status(f"{FOLDER}\\loader.exe", "unprotected")
            caught |= self.run_libraries()
            for name in PREFERRED & caught:
                self.prefix.path(f"{FOLDER}\\{name}").unlink(missing_ok=True)
        self.assertEqual(caught, PREFERRED)
