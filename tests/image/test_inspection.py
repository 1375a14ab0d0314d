#!/usr/bin/env python3
"""test_inspection.py PROGRAM: the inspection finds each fault that is put into a copy of the program."""

import importlib.machinery
import importlib.util
import pathlib
import struct
import sys
import unittest

_loader = importlib.machinery.SourceFileLoader("inspect_image", str(pathlib.Path(__file__).parent / "inspect_image"))
inspect_image = importlib.util.module_from_spec(importlib.util.spec_from_loader("inspect_image", _loader))
_loader.exec_module(inspect_image)
PROGRAM = sys.argv.pop(1)


class InspectionTests(unittest.TestCase):
    def setUp(self):
        self.image = inspect_image.Image(PROGRAM)
        self.header = self.image.u32(0x3C)
        self.optional = self.header + 24

    def write(self, offset, form, *values):
        data = bytearray(self.image.data)
        struct.pack_into(form, data, offset, *values)
        self.image.data = bytes(data)
        self.reread()

    def replace(self, old, new):
        self.assertEqual(len(old), len(new))
        self.assertEqual(self.image.data.count(old), 1)
        self.image.data = self.image.data.replace(old, new)

    def reread(self):
        content, self.image = self.image.data, inspect_image.Image.__new__(inspect_image.Image)
        self.image.read(content, "a copy")

    def assertFound(self, *findings):
        self.assertEqual(list(inspect_image.findings(self.image, [])), list(findings))

    def test_program_has_none(self):
        self.assertFound()

    def test_console_program(self):
        self.write(self.optional + 68, "<H", 3)
        self.assertFound("subsystem 3, not the graphical one")

    def test_console_program_of_any_size(self):
        self.write(self.optional + 68, "<H", 3)
        self.image.data = self.image.data.ljust(inspect_image.MOST_BYTES + 1, b"\0")
        self.assertEqual(list(inspect_image.findings(self.image, [], is_console=True)), [])

    def test_graphical_program_in_place_of_the_console_one(self):
        self.assertEqual(list(inspect_image.findings(self.image, [], is_console=True)),
                         ["subsystem 2, not the console"])

    def test_no_data_execution_prevention(self):
        self.write(self.optional + 70, "<H", self.image.dll_characteristics & ~0x0100)
        self.assertFound("data execution prevention is off")

    def test_not_aware_of_terminal_servers(self):
        self.write(self.optional + 70, "<H", self.image.dll_characteristics & ~0x8000)
        self.assertFound("not aware of terminal servers")

    def test_older_system(self):
        self.write(self.optional + 40, "<H", 4)
        self.assertFound("made for the system (4, 1), subsystem (6, 1)")

    def test_older_subsystem(self):
        self.write(self.optional + 50, "<H", 0)
        self.assertFound("made for the system (6, 1), subsystem (6, 0)")

    def test_section_that_can_be_written_and_executed(self):
        rights = self.optional + self.image.u16(self.header + 20) + 36
        self.write(rights, "<I", self.image.u32(rights) | 0x80000000)
        self.assertFound("a section can be written and executed")

    def test_time_stamp(self):
        self.write(self.header + 8, "<I", 1416096000)
        self.assertFound("a time stamp makes each build another")

    def test_largest_program(self):
        self.image.data = self.image.data.ljust(inspect_image.MOST_BYTES, b"\0")
        self.assertFound()

    def test_too_large(self):
        self.image.data = self.image.data.ljust(inspect_image.MOST_BYTES + 1, b"\0")
        self.assertFound("340001 bytes, more than 340000")

    def test_relocations_stripped(self):
        self.write(self.header + 22, "<H", self.image.characteristics | 1)
        self.assertFound("the relocations are stripped")

    def test_manifest_of_another_type(self):
        root = self.image.offset(self.image.directories[inspect_image.RESOURCES][0])
        entries = [root + 16 + 8 * i for i in range(self.image.u16(root + 12) + self.image.u16(root + 14))]
        manifest, = (entry for entry in entries if self.image.u32(entry) == 24)
        self.write(manifest, "<I", 25)
        self.assertFound("0 manifests; without one of its own a file beside the program counts")

    def test_manifest_that_asks_for_rights(self):
        self.replace(b'level="asInvoker" uiAccess="false"', b'level="requireAd" uiAccess="false"')
        self.assertFound("the manifest asks for [{'level': 'requireAd', 'uiAccess': 'false'}]")

    def test_manifest_that_declares_a_version(self):
        manifest, = self.image.resources(inspect_image.RESOURCE_TYPE_MANIFEST)
        end = b"</assembly>"
        room = len(manifest) - manifest.index(b"<assembly") # the comment before it gives way
        declaring = b'<supportedOS Id="{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}"/>'
        changed = manifest[-room:].replace(end, declaring + end)
        self.replace(manifest, changed.rjust(len(manifest)))
        self.assertFound("the manifest declares versions of Windows, which changes the one that the system reports")

    def test_function_that_shows_a_box(self):
        self.replace(b"SetErrorMode\0", b"MessageBoxW\0\0")
        self.assertFound("holds the text MessageBox")

    def test_forbidden_text(self):
        self.assertEqual(list(inspect_image.findings(self.image, ["wWinMain"])), ["holds the text wWinMain"])

    def test_libraries(self):
        good, bad = b"..__stack_chk_fail..__memcpy_chk", b"..."
        self.assertEqual(list(inspect_image.library_findings({"a": good, "b": b"__stack_chk_fail"})), [])
        self.assertEqual(list(inspect_image.library_findings({"a": good, "b": bad})),
                         ["b is built without stack protector"])
        self.assertEqual(list(inspect_image.library_findings({"a": b"__stack_chk_fail"})),
                         ["no library has a checked copy"])


class VisualCppTests(InspectionTests):
    """The same program, taken for one of Visual C++: what only such a program may have is written into the copy."""

    def setUp(self):
        super().setUp()
        self.write(self.optional + 70, "<H", self.image.dll_characteristics | 0x4000)

    def assertFound(self, *findings, runtime=("msvcrt.dll",)):
        self.assertEqual(list(inspect_image.findings(self.image, [], "msvc", runtime)), list(findings))

    def test_too_large(self):
        """The bound is that of g++'s program. That of Visual C++ holds a different C runtime."""
        self.image.data = self.image.data.ljust(inspect_image.MOST_BYTES + 1, b"\0")
        self.assertFound()

    def write_debug_entries(self, *entries):
        """Over the first bytes of the code. Each entry is (type, content)."""
        _, address, _, start = self.image.sections[0]
        content_at = start + 28 * len(entries)
        for index, (kind, content) in enumerate(entries):
            self.write(start + 28 * index, "<IIIIIII", 0, 0, 0, kind, len(content), 0, content_at)
            self.write(content_at, f"{len(content)}s", content)
            content_at += len(content)
        self.write(self.optional + 112 + 8 * inspect_image.DEBUG, "<II", address, 28 * len(entries))

    @staticmethod
    def symbols(name):
        return 2, b"RSDS" + bytes(20) + name + b"\0"

    def test_imported_c_runtime(self):
        self.assertFound("imports msvcrt.dll, for which every run would pay", runtime=())

    def test_no_control_flow_guard(self):
        self.write(self.optional + 70, "<H", self.image.dll_characteristics & ~0x4000)
        self.assertFound("control flow guard is off")

    def test_symbol_file_by_its_name(self):
        self.write_debug_entries(self.symbols(b"KVAnalyticsProxy.pdb"))
        self.assertFound()

    def test_symbol_file_with_its_folder(self):
        self.write_debug_entries(self.symbols(b"C:\\build\\KVAnalyticsProxy.pdb"))
        self.assertFound("names the symbol file with its folder: C:\\build\\KVAnalyticsProxy.pdb")

    def test_hash_in_place_of_the_time_stamp(self):
        self.write(self.header + 8, "<I", 0xD8DB04C1)
        self.write_debug_entries((16, b""))
        self.assertFound()

    def test_function_that_shows_a_box(self):
        self.replace(b"SetErrorMode\0", b"MessageBoxW\0\0")
        self.assertFound()
        self.replace(b"MessageBoxW\0\0", b"TaskDialog\0\0\0")
        self.assertFound("holds the text TaskDialog")


if __name__ == "__main__":
    unittest.main()
