"""The tests' account on Windows, without Windows: a substitute takes the place of the registry, and a temporary folder
that of the profile. What only Windows can show is not tested here."""

import pathlib
import sys
import tempfile
import unittest

from kvtest.native_account import NativeAccount
from kvtest.native_registry import NativeRegistry, parse
from kvtest.product import HOST, LOGGING_KEY, ROOT_CERTIFICATES_KEY
from kvtest.wine import INTERNET_KEY

INTERNET = INTERNET_KEY.removeprefix("HKEY_CURRENT_USER\\")
LOGGING = LOGGING_KEY.removeprefix("HKEY_CURRENT_USER\\")


class SubstituteRegistry:
    """What is used of winreg. keys: {key: {name: (data, type)}}; letters of names count, unlike in the real one."""
    HKEY_CURRENT_USER = "user"
    KEY_SET_VALUE = 2
    REG_SZ, REG_BINARY, REG_DWORD = 1, 3, 4

    def __init__(self, keys):
        self.keys = {}
        for key, values in keys.items():
            self.CreateKey("user", key)
            self.keys[key] = dict(values)

    class Opened(str):
        def Close(self):
            pass

        def __enter__(self):
            return self

        def __exit__(self, *_):
            pass

    def OpenKey(self, root, key, reserved=0, access=0):
        assert root == "user"
        if key not in self.keys:
            raise FileNotFoundError(key)
        return self.Opened(key)

    def CreateKey(self, root, key):
        assert root == "user"
        parts = key.split("\\")
        for count in range(1, len(parts) + 1):
            self.keys.setdefault("\\".join(parts[:count]), {})
        return self.Opened(key)

    def QueryValueEx(self, opened, name):
        if name not in self.keys[opened]:
            raise FileNotFoundError(name)
        return self.keys[opened][name]

    def SetValueEx(self, opened, name, reserved, kind, data):
        self.keys[opened][name] = (data, kind)

    def DeleteValue(self, opened, name):
        if name not in self.keys[opened]:
            raise FileNotFoundError(name)
        del self.keys[opened][name]

    def _below(self, key):
        return [other[len(key) + 1:] for other in self.keys
                if other.startswith(f"{key}\\") and "\\" not in other[len(key) + 1:]]

    def QueryInfoKey(self, opened):
        return len(self._below(opened)), len(self.keys[opened]), 0

    def EnumKey(self, opened, index):
        return self._below(opened)[index]

    def DeleteKey(self, root, key):
        assert root == "user" and not self._below(key)
        del self.keys[key]


class NativeTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.profile = self.folder / "profile"
        self.profile.mkdir()
        self.winreg = SubstituteRegistry({INTERNET: {"ProxyEnable": (0, 4), "ProxyServer": ("proxy.example:8080", 1)}})
        self.before = {key: dict(values) for key, values in self.winreg.keys.items()}
        self.registry = NativeRegistry(self.winreg, self.folder / "journal.json")

    def account(self, **changes):
        environment = {"USERNAME": "tests", "KV_TEST_ACCOUNT": "tests", "LOCALAPPDATA": str(self.profile),
                       "ProgramData": str(self.folder / "shared"), "SystemRoot": "C:\\Windows", **changes}
        account = NativeAccount(self.folder, self.registry, environment)
        self.addCleanup(account.close)
        return account

    def assertRestored(self):
        self.assertEqual(self.winreg.keys, self.before)
        self.assertFalse((self.folder / "journal.json").exists())


class ParseTests(unittest.TestCase):
    def test_each_kind(self):
        self.assertEqual(parse(["[HKEY_CURRENT_USER\\A\\B]", '"text"="C:\\\\x \\"y\\""', '"number"=dword:0000001f', "",
                                '"bytes"=hex:01,ff', '"none"=-']),
                         [("A\\B", None, None, None), ("A\\B", "text", "REG_SZ", 'C:\\x "y"'),
                          ("A\\B", "number", "REG_DWORD", 31), ("A\\B", "bytes", "REG_BINARY", b"\x01\xff"),
                          ("A\\B", "none", None, None)])

    def test_anything_else_is_refused(self):
        for line in ("[-HKEY_CURRENT_USER\\A]", "@=1", '"a"=hex(2):00'):
            with self.subTest(line), self.assertRaises((TypeError, AttributeError, ValueError)):
                parse(["[HKEY_CURRENT_USER\\A]", line])


class RegistryTests(NativeTest):
    def test_changed_new_and_deleted_values_are_restored(self):
        self.registry.change(parse([f"[{INTERNET_KEY}]", '"ProxyEnable"=dword:00000001', '"ProxyServer"=-',
                                    '"New"="a"']))
        self.assertEqual(self.winreg.keys[INTERNET], {"ProxyEnable": (1, 4), "New": ("a", 1)})
        self.registry.restore()
        self.assertRestored()

    def test_bytes_are_restored(self):
        self.winreg.keys[INTERNET]["Blob"] = (b"\x00\x80", 3)
        self.before[INTERNET]["Blob"] = (b"\x00\x80", 3)
        self.registry.change(parse([f"[{INTERNET_KEY}]", '"Blob"=hex:01']))
        self.registry.restore()
        self.assertRestored()

    def test_new_keys_are_removed_with_what_programs_put_below_them(self):
        self.registry.change(parse([f"[{LOGGING_KEY}]", '"LogCategories"=dword:00000010']))
        self.winreg.CreateKey("user", LOGGING + "\\program.exe\\Module")
        self.registry.restore()
        self.assertRestored()

    def test_what_a_killed_process_left_is_restored_by_the_next(self):
        self.registry.change(parse([f"[{INTERNET_KEY}]", '"ProxyEnable"=dword:00000001']))
        self.registry.change(parse([f"[{INTERNET_KEY}]", '"ProxyEnable"=dword:00000002']))
        NativeRegistry(self.winreg, self.folder / "journal.json").restore()
        self.assertRestored()

    def test_note_is_on_disk_before_the_change(self):
        def fail(*_):
            raise OSError("killed here")
        self.winreg.SetValueEx, original = fail, self.winreg.SetValueEx
        with self.assertRaises(OSError):
            self.registry.change(parse([f"[{INTERNET_KEY}]", '"ProxyEnable"=dword:00000001']))
        self.winreg.SetValueEx = original
        self.assertTrue((self.folder / "journal.json").exists())
        self.registry.restore()
        self.assertRestored()


class AccountTests(NativeTest):
    def test_account_that_nobody_gave_to_the_tests_is_left_alone(self):
        for changes in ({"KV_TEST_ACCOUNT": ""}, {"KV_TEST_ACCOUNT": "somebody"}):
            with self.assertRaisesRegex(unittest.SkipTest, "does not say that tests is an account for tests"):
                self.account(**changes)
        self.assertRestored()

    def test_account_with_log_settings_is_no_account_for_tests(self):
        self.winreg.CreateKey("user", LOGGING)
        with self.assertRaisesRegex(RuntimeError, "tests has log settings or files of the product"):
            self.account()

    def test_account_with_files_of_the_product_is_no_account_for_tests(self):
        (self.profile / "Norvik").mkdir()
        with self.assertRaisesRegex(RuntimeError, "tests has log settings or files of the product"):
            self.account()

    def test_all_is_restored_at_the_end(self):
        account = self.account()
        account.import_registry(f"[{INTERNET_KEY}]", '"ProxyEnable"=dword:00000001')
        account.import_registry(f"[{LOGGING_KEY}\\program.exe]", '"LogCategories"=dword:00000010')
        (account.local_app_data / "Norvik" / "Statlet").mkdir(parents=True)
        shared = account.path(f"{account.common_data}/Norvik/{account.scratch.name}/NorvikCustPartic/OptedOut")
        shared.parent.mkdir(parents=True)
        account.close()
        self.assertRestored()
        self.assertEqual(list(self.profile.iterdir()), [])
        self.assertEqual(list((self.folder / "shared" / "Norvik").iterdir()), [])
        self.assertFalse(account.scratch.exists())

    def test_other_settings_skip_the_test(self):
        for key in (ROOT_CERTIFICATES_KEY, "HKEY_CURRENT_USER\\Software\\Wine", LOGGING_KEY + "2",
                    "HKEY_LOCAL_MACHINE\\Software\\Norvik\\KV\\Logging"):
            with self.assertRaisesRegex(unittest.SkipTest, "which belongs to the system or to its emulator"):
                self.account().import_registry(f"[{key}]", '"a"="b"')
        self.assertRestored()

    def test_places_of_the_computer_skip_the_test(self):
        account = self.account()
        self.assertEqual(account.path(f"{account.product_folder}/bin"), pathlib.Path(account.product_folder) / "bin")
        for place in ("C:\\Data", "C:\\ProgramData\\Norvik\\Product2", str(account.scratch.parent / "elsewhere"),
                      f"{account.scratch}/../elsewhere", "/"):
            with self.assertRaisesRegex(unittest.SkipTest, "is a place of this computer, not of the test"):
                account.path(place)

    def test_import_by_a_command_skips_the_test(self):
        with self.assertRaisesRegex(unittest.SkipTest, "without a note"):
            self.account().run("regedit", "/S", "file.reg")

    def test_comparison_of_the_whole_computer_skips_the_test(self):
        with self.assertRaisesRegex(unittest.SkipTest, "compares all files"):
            self.account().snapshot()


    def test_exit_code_has_eight_bits_and_the_output_may_have_any_characters(self):
        program = "import sys; sys.stdout.buffer.write('Norvik \u00e9\u4e2d'.encode()); sys.exit(11)"
        self.assertEqual(self.account().run_for_both(sys.executable, "-c", program), (11, "Norvik \u00e9\u4e2d"))

    def test_listing_shows_each_change_of_files_of_the_test_and_of_the_product(self):
        account = self.account()
        shared = pathlib.Path(account.common_data) / "Norvik" / account.scratch.name
        for folder in (account.scratch, account.local_app_data / "Norvik", shared):
            before = account.list_own_files()
            folder.mkdir(parents=True, exist_ok=True)
            (folder / "file").write_bytes(b"a")
            new = account.list_own_files()
            self.assertEqual(new.keys() - before.keys(), {str(folder / "file")})
            (folder / "file").write_bytes(b"ab")
            self.assertNotEqual(account.list_own_files()[str(folder / "file")], new[str(folder / "file")])


class HostTests(NativeTest):
    """Commands are recorded, not run."""

    def setUp(self):
        super().setUp()
        self.tests_account = self.account()
        self.commands = []
        self.tests_account.run = lambda *command: self.commands.append(command)

    def test_systems_own_host_becomes_the_parent(self):
        self.tests_account.run_host(HOST, "stand-in.exe", "command.txt", "30000")
        parent = self.tests_account.scratch / "parent.txt"
        self.assertEqual(self.commands, [("stand-in.exe", "command.txt", "30000", parent)])
        self.assertTrue(parent.read_bytes().decode("utf-16-le").startswith('"C:\\Windows\\SysWOW64\\mshta.exe" "about:'))

    def test_stranger_runs_in_a_folder_of_the_test(self):
        self.tests_account.run_host("C:\\Stranger\\mshta.exe", "stand-in.exe", "command.txt")
        self.assertEqual(self.commands, [(self.tests_account.scratch / "hosts" / "mshta.exe", "command.txt")])

    def test_stranger_in_a_folder_of_the_system_skips_the_test(self):
        with self.assertRaisesRegex(unittest.SkipTest, "folder of the system"):
            self.tests_account.run_host("C:\\windows\\syswow64\\mshtb.exe", "stand-in.exe")


if __name__ == "__main__":
    unittest.main()
