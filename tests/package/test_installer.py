"""The MSI of the program: installed, upgraded and removed, each silently, and its tables read."""

import pathlib
import shutil
import sys
import tempfile
import unittest

import place
from encrypted_test import EncryptedTest
from kvtest.doctor import ExaminedProduct
from kvtest.product import make_file
from kvtest.wine import to_windows

FOLDER = "C:\\Program Files\\Norvik\\Device Centre"
REGISTRY_KEY = "HKLM\\Software\\Norvik\\KV\\Analytics"
OWN_FILES = ["bin/NorvikCustPartic.exe", "config.ini"]
# The eight bits that a Unix shell sees of ERROR_INSTALL_FAILURE, 1603.
REFUSED = 1603 & 0xFF


def files_of(folder):
    return {path.relative_to(folder).as_posix(): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def make_installer(work, version, extra):
    """An MSI of a different version or build, with these files in addition."""
    content = work / f"content {version}"
    shutil.copytree(place.archive("program"), content)
    for name, text in extra.items():
        make_file(content / name, text)
    installer = work / f"{version}.msi"
    place.run(sys.executable, "-B", place.SOURCE / "packaging" / "installer.py", content, installer,
              "--name", "Norvik usage analytics proxy", "--company", "Norvik", "--version", version,
              "--folder-name", "Device Centre", "--registry-key", "Software\\Norvik\\KV\\Analytics")
    return installer


class InstallerTests(EncryptedTest):
    maxDiff = 2000

    def setUp(self):
        super().setUp()
        self.prefix.spoil() # nothing reverts the changes of an installation
        self.installer = place.archives() / place.INSTALLER
        self.program_files = files_of(place.archive("program"))

    def msiexec(self, action, installer, *properties):
        return self.prefix.run_for_status("msiexec", action, to_windows(installer), "/qn", *properties)

    def assertInstalled(self, folder, expected):
        self.assertEqual(files_of(self.prefix.path(folder)), expected)

    def assertRemoved(self):
        """The registry no longer knows the product."""
        self.assertEqual(self.msiexec("/x", self.installer), 0)
        self.assertNotEqual(self.prefix.run_for_status("reg", "query", REGISTRY_KEY), 0)
        uninstall = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall"
        self.assertNotIn("{", self.prefix.run("reg", "query", uninstall))

    def test_upgrade_keeps_the_settings_and_reports_and_removal_leaves_what_others_have_brought(self):
        older = make_installer(self.prefix.scratch, "0.9.0.0", {"docs/only-in-the-older-version.md": b"older",
                                                                "readme.txt": b"older"})
        self.assertEqual(self.msiexec("/i", older), 0)
        self.assertEqual(self.prefix.path(f"{FOLDER}\\readme.txt").read_bytes(), b"older")

        product = ExaminedProduct(self.prefix, self.product.files, FOLDER)
        product.opt_in()
        product.write_config("[Analytics]\nPropertyIDPrefix=NV-1000-\n")
        own_files = {name: files_of(self.prefix.path(FOLDER))[name] for name in OWN_FILES}
        self.assertEqual(self.msiexec("/i", self.installer), 0)
        self.assertInstalled(FOLDER, {**self.program_files, **own_files})
        self.assertEnds(product.start("/linkid L1 /connection USB"), "PROXY_S_DONE")
        self.assertArrived(product.expected_hits("NV-1000-3").link_run("L1", "Unknown", "USB"))

        self.assertEqual(self.msiexec("/i", older), REFUSED)
        self.assertInstalled(FOLDER, {**self.program_files, **own_files})

        self.assertRemoved()
        self.assertInstalled(FOLDER, own_files)

    def test_chosen_folder_stays_for_a_different_build_and_is_removed_with_the_product(self):
        chosen = "C:\\Program Files\\Norvik\\Chosen"
        # The fourth number makes no difference to the system: either build replaces the other.
        other = make_installer(self.prefix.scratch, f"{place.VERSION}9", {"docs/only-in-the-other-build.md": b"other"})
        self.assertEqual(self.msiexec("/i", other, f"INSTALLFOLDER={chosen}"), 0)
        self.assertTrue(self.prefix.path(f"{chosen}\\docs\\only-in-the-other-build.md").exists())
        self.assertEqual(self.msiexec("/i", self.installer), 0)
        self.assertInstalled(chosen, self.program_files)
        self.assertRemoved()
        self.assertFalse(self.prefix.path(chosen).parent.exists())


class InstallerTablesTests(unittest.TestCase):
    """What the emulator of these tests does not look at."""
    maxDiff = 2000

    def setUp(self):
        self.installer = place.archives() / place.INSTALLER
        self.work = pathlib.Path(tempfile.mkdtemp(dir=place.folder()))

    def table(self, name, installer=None):
        """The rows behind the three that describe the table."""
        output = place.run("msiinfo", "export", installer or self.installer, name)
        return [line.split("\t") for line in output.replace("\r\n", "\n").splitlines()[3:]]

    def test_files_are_those_of_the_archive(self):
        place.run("msiextract", "-C", self.work, self.installer)
        self.assertEqual(files_of(self.work / "Norvik" / "Device Centre"), files_of(place.archive("program")))

    def test_installation_is_per_machine_x64_and_replaces_files_whatever_their_versions(self):
        properties = dict(self.table("Property"))
        self.assertEqual({name: properties[name] for name in ("ALLUSERS", "ProductVersion", "Manufacturer", "REINSTALLMODE")},
                         {"ALLUSERS": "1", "ProductVersion": place.VERSION, "Manufacturer": "Norvik", "REINSTALLMODE": "amus"})
        self.assertRegex(place.run("msiinfo", "suminfo", self.installer), r"(?m)^Template: x64;1033$")
        components = self.table("Component")
        self.assertGreater(len(components), 10)
        for _, _, _, attributes, *_ in components:
            self.assertTrue(int(attributes) & 256) # msidbComponentAttributes64bit

    def test_older_version_is_removed_within_the_transaction_and_a_newer_one_stops_the_installation(self):
        sequence = {name: int(number) for name, _, number in self.table("InstallExecuteSequence")}
        self.assertLess(sequence["InstallInitialize"], sequence["RemoveExistingProducts"])
        self.assertLess(sequence["RemoveExistingProducts"], sequence["ProcessComponents"])
        self.assertLess(sequence["FindRelatedProducts"], sequence["LaunchConditions"])
        self.assertIn(["NOT NEWERVERSION", "A newer version is installed."], self.table("LaunchCondition"))
        major, minor, build, _ = map(int, place.VERSION.split("."))
        following = f"{major}.{minor}.{build + 1}"
        rows = {row[-1]: row[1:3] for row in self.table("Upgrade")}
        self.assertEqual(rows, {"OLDERVERSION": ["0.0.0", following], "NEWERVERSION": [following, ""]})

    def test_components_keep_their_identities_and_the_product_does_not(self):
        other = make_installer(self.work, "2.0.0.0", {"docs/more.md": b"more"})
        identities = {row[0]: row[1] for row in self.table("Component")}
        self.assertGreater(len(identities), 10)
        self.assertEqual(identities, {name: identity for name, identity, *_ in self.table("Component", other)
                                      if name in identities})
        codes = [dict(self.table("Property", installer))["ProductCode"] for installer in (self.installer, other)]
        self.assertNotEqual(*codes)
