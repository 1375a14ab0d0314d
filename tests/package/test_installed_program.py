"""The program where its archive is unpacked."""

import shutil

import place
from encrypted_test import EncryptedTest
from kvtest import hits
from kvtest.doctor import ExaminedProduct
from kvtest.product import make_file

FOLDER = "C:\\Program Files\\Norvik\\Device Centre"


class InstalledProgramTests(EncryptedTest):
    def setUp(self):
        super().setUp()
        self.installed = ExaminedProduct(self.prefix, self.product.files, FOLDER)
        self.installed.opt_in()

    def unpack(self):
        """Unpacks the archive over what is there."""
        shutil.copytree(place.archive("program"), self.prefix.path(FOLDER), dirs_exist_ok=True)

    def test_program_finds_the_sample_settings_and_the_switches_work(self):
        product = self.installed
        self.unpack()
        folder = self.prefix.path(FOLDER)
        shutil.copyfile(folder / "config.sample.ini", folder / "config.ini")
        self.prefix.run("regedit", "/S", f"{FOLDER}\\docs\\logging-on.reg")
        run = product.start("/linkid L1 /connection USB")
        self.assertEnds(run, "PROXY_S_DONE")
        # The sample sets neither a property nor a model.
        self.assertArrived(product.expected_hits("3").link_run("L1", "Unknown", "USB"))
        log, = self.prefix.drive_c.rglob("kvtrace.log")
        self.assertRegex(log.read_text(encoding="utf-16-le"), r" \(->\) +CAnalyticsProxy::Run\n")

        self.prefix.run("regedit", "/S", f"{FOLDER}\\docs\\logging-off.reg")
        length = log.stat().st_size
        product.start("/linkid L2")
        self.assertEqual(log.stat().st_size, length)

    def test_archive_over_an_older_one_keeps_the_settings_and_replaces_the_program(self):
        program = self.prefix.path(self.installed.program)
        program.unlink()
        program.write_bytes(b"of an older version")
        older = self.prefix.path(f"{FOLDER}\\docs\\only-in-the-older-version.md")
        older.parent.mkdir(parents=True)
        older.write_bytes(b"older")
        settings = b"[Analytics]\r\nPropertyIDPrefix=NV-1000-\r\n[DeviceInfo]\r\nModelName=Norvik 3000\r\n"
        self.installed.write_config(settings)
        self.unpack()
        self.assertEnds(self.installed.start("/linkid L1 /connection USB"), "PROXY_S_DONE")
        self.assertArrived(self.installed.expected_hits("NV-1000-3").link_run("L1", "Norvik%203000", "USB"))
        self.assertEqual(self.prefix.path(f"{FOLDER}\\config.ini").read_bytes(), settings)

    def test_update_keeps_the_identifier_and_sends_the_messages_whose_files_are_copied(self):
        self.unpack()
        identifier = "01234567-89ab-4cde-8f01-23456789abcd"
        folder = self.installed.client_folder
        older = folder.parent / "0.9.0.0"
        make_file(older / self.installed.profile_file.name, f"[Users]\r\nUUID={identifier}\r\n".encode("ascii"))
        make_file(older / self.installed.queue_file.name, b"/collect?v=1&t=appview&cd=Before\n")
        files = {path.name: path.read_bytes() for path in older.iterdir()}

        self.assertEnds(self.installed.start("/linkid L1"), "PROXY_S_DONE")
        self.assertNotEqual(self.installed.client_id(), identifier)
        self.assertNotIn("Before", [hits.value_of(request.path, "cd") for request in self.server.requests])
        self.assertEqual({path.name: path.read_bytes() for path in older.iterdir()}, files)

        shutil.rmtree(folder)
        shutil.copytree(older, folder)
        count = len(self.server.requests)
        self.assertEnds(self.installed.start("/linkid L2"), "PROXY_S_DONE")
        arrived = [request.path for request in self.server.requests[count:]]
        self.assertEqual([hits.value_of(path, "cd") for path in arrived if hits.value_of(path, "cid") is None], ["Before"])
        self.assertEqual({hits.value_of(path, "cid") for path in arrived} - {None}, {identifier})
        self.assertEqual(self.installed.queued_hits(), [])
