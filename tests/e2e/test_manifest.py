"""The manifest in the program: it leaves the version that the system reports as it is, and a manifest beside the program
does not count. Shown by a program that has the same manifest and prints the version."""

import os
import pathlib

from kvtest.product import make_file
from kvtest.program_test import ProgramTest

PROGRAM = "C:\\Versions\\version.exe"
# Declares that the program supports Windows 8.1 and 10.
DECLARING = b"""<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
<compatibility xmlns="urn:schemas-microsoft-com:compatibility.v1"><application>
<supportedOS Id="{1f676c76-80e1-4239-95bb-83d0f6d0da78}"/><supportedOS Id="{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"/>
</application></compatibility></assembly>
"""


class ManifestTests(ProgramTest):
    def reported(self, name, version):
        """What a program of the build reports on that version of Windows."""
        make_file(self.prefix.path(PROGRAM), pathlib.Path(os.environ[f"KV_E2E_{name}"]).read_bytes())
        key = "HKEY_CURRENT_USER\\Software\\Wine\\AppDefaults\\version.exe"
        self.prefix.import_registry(f"[{key}]", f'"Version"="{version}"', undo=(f"[-{key}]",))
        return self.prefix.run(PROGRAM).strip()

    def test_leaves_the_reported_version_as_it_is(self):
        for version, expected in ("vista", "6.0 none"), ("win7", "6.1 6.1"), ("win81", "6.2 6.1"), ("win10", "6.2 6.1"):
            self.assertEqual(self.reported("PLAIN", version), expected)
            self.assertEqual(self.reported("MANIFESTED", version), expected)

    def test_keeps_a_manifest_beside_the_program_out_of_play(self):
        make_file(self.prefix.path(PROGRAM + ".manifest"), DECLARING)
        self.assertEqual(self.reported("PLAIN", "win10"), "10.0 10.0") # it would count
        self.assertEqual(self.reported("MANIFESTED", "win10"), "6.2 6.1")
