"""The program where its archive is unpacked."""

import shutil

import place
from encrypted_test import EncryptedTest
from kvtest.product import Product

FOLDER = "C:\\Program Files\\Norvik\\Device Centre"


class InstalledProgramTests(EncryptedTest):
    def test_program_finds_the_sample_settings_and_the_switches_work(self):
        product = Product(self.prefix, self.product.files, FOLDER)
        shutil.copytree(place.archive("program"), self.prefix.path(FOLDER), dirs_exist_ok=True)
        product.opt_in()
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
