"""What programs that were built with the installed package report: every hit, whole, in their order, from the encrypted wire."""

import pathlib
import shutil

from consumer import LIBRARY_PAGES, Consumer, LibraryPage
from encrypted_test import EncryptedTest
from kvtest import hits
from kvtest.wine import registry_text, to_windows

FOLDER = "C:\\Program Files\\Example"

PRINTERS_KEY = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Print\\Printers"
# Made by hand: in a prefix it is no link to CurrentControlSet.
DRIVERS_KEY = "HKEY_LOCAL_MACHINE\\System\\ControlSet001\\Control\\Print\\Environments\\Windows x64\\Drivers"


class Expected(hits.ExpectedHits):
    """The hits of one program, built from what it says of itself and what the system says of the computer."""

    def __init__(self, facts, client_id, property_id, application, version):
        width, height, bits, language, country = facts
        super().__init__(property_id, version, client_id, f"{width}x{height}", f"{bits}-bit", f"{language}-{country}")
        self._facts = self._facts.replace("&an=LumoLink&", f"&an={application}&")

    def start(self, screen):
        return [self._prefix() + f"sc=start&t=appview&cd={screen}",
                self._prefix() + f"t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd={screen}"]

    def hit(self, parameters):
        return self._prefix() + parameters + self.QUEUED

    def stop(self, screen):
        return [self._prefix() + f"sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd={screen}"]


class ReportTest(EncryptedTest):
    def run_program(self, program: pathlib.Path, *arguments):
        """The output of a program that was built outside, installed in the prefix."""
        windows_path = f"{FOLDER}\\{program.name}"
        file = self.prefix.path(windows_path)
        file.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(program, file)
        return self.prefix.run(windows_path, *arguments)

    def client_folder(self, application, version):
        return self.prefix.local_app_data / "Norvik" / "Statlet" / application / version

    def expected(self, property_id, application, version):
        profile = (self.client_folder(application, version) / f"{application}.ini").read_bytes().decode("ascii")
        client_id = hits.CLIENT_ID_FORM.search(profile)[0]
        return Expected(self.prefix.run(to_windows(self.product.files.facts)).split(), client_id, property_id, application, version)

    def assertNothingHappened(self):
        self.assertEqual(self.server.connections, 0)
        self.assertFalse((self.prefix.local_app_data / "Norvik").exists())


class TrackEverythingTests(ReportTest):
    def install_printers(self):
        """Two printers that plug and play knows and one, between them, that it does not."""
        self._install_printer("Attic", "Norvik 3000 PCL Class", {"DeviceInstanceId": "USBPRINT\\NorvikNorvik_3000\\1",
                                                                 "Manufacturer": "Norvik"})
        self._install_printer("Fax", "Norvik Fax", {})
        self._install_printer("Hall", "Norvik 7000 Class Driver", {"DeviceInstanceId": "SWD\\DAFWSDProvider\\2"})
        self.prefix.import_registry(
            f"[{DRIVERS_KEY}\\Version-3\\Norvik 3000 PCL Class]", '"Version"=dword:00000003', '"DriverVersion"="6.1.7600.1"',
            f"[{DRIVERS_KEY}\\Version-4\\Norvik 7000 Class Driver]", '"Version"=dword:00000004')

    def _install_printer(self, name, driver, plug_and_play):
        lines = [f"[{PRINTERS_KEY}\\{name}]", f'"Name"="{name}"', '"Port"="LPT1:"', '"Print Processor"="WinPrint"',
                 '"Datatype"="RAW"', f'"Printer Driver"="{driver}"']
        if plug_and_play:
            lines.append(f"[{PRINTERS_KEY}\\{name}\\PnPData]")
            lines += [f'"{key}"={registry_text(value)}' for key, value in plug_and_play.items()]
        self.prefix.import_registry(*lines)

    def test_consent(self):
        self.install_printers()
        self.run_program(Consumer("examples").program("track_everything"), "yes")
        expected = self.expected("NV-2000-1", "TrackEverything", "2.5.0.0")
        system = "Microsoft%20Windows%207%2064%20bit"
        self.assertArrived([
            *expected.start("Start"),
            expected.hit("t=appview&cd=Welcome"),
            # TrackClientHardware
            expected.hit(f"t=event&ec=Client&ea=Inspect&el=Hardware&cd=Welcome&cd8=x64&cd9=No&cd10={system}"),
            # TrackDiscoveredPrinters
            expected.hit("t=event&ec=Printers&ea=Count&el=Discovered&cd=Welcome&cd6=2"),
            expected.hit("t=event&ec=Printers&ea=Enumerate&el=Discovered&cd=Welcome&cd1=Norvik%203000&cd3=USB"),
            expected.hit("t=event&ec=Printers&ea=Enumerate&el=Discovered&cd=Welcome&cd1=Norvik%207000%20W"
                         "&cd3=Network-Wireless"),
            # TrackWirelessSetup
            expected.hit("t=event&ec=Feature&ea=Examine&el=WirelessSetup&cd=Welcome&cd1=Norvik%207000%20W&cd9=No"
                         f"&cd10={system}&cd13=WirelessDirect&cd14=Yes"),
            # TrackSelectedPrinter, both forms
            expected.hit("t=event&ec=Printers&ea=Enumerate&el=Selected&cd=Welcome&cd1=Norvik%205000&cd3=Network-Wireless"
                         "&cd12=Yes"),
            expected.hit("t=event&ec=Printers&ea=Enumerate&el=Selected&cd=Welcome&cd1=Norvik%203000&cd3=USB"
                         "&cd12=Cancelled"),
            # TrackWebServices
            expected.hit("t=event&ec=Feature&ea=Examine&el=WebServices&cd=Welcome&cd1=Norvik%207000%20W"
                         "&cd3=Network-Wireless&cd13=Yes&cd14=No"),
            # TrackDeviceSharing
            expected.hit(f"t=event&ec=Feature&ea=Examine&el=DeviceSharing&cd=Welcome&cd10={system}&cd13=Yes"),
            # TrackInstalledPrinters
            expected.hit("t=event&ec=Printers&ea=Count&el=Installed&cd=Welcome&cd6=2"),
            expected.hit("t=event&ec=Printers&ea=Enumerate&el=Installed&cd=Welcome&cd1=Norvik%203000&cd2=Norvik&cd3=USB"
                         "&cd4=V3&cd5=6.1.7600.1"),
            expected.hit("t=event&ec=Printers&ea=Enumerate&el=Installed&cd=Welcome&cd1=Norvik%207000&cd2=Unknown"
                         "&cd3=Network&cd4=V4&cd5=Unknown"),
            # TrackSwiftpost
            expected.hit("t=event&ec=Feature&ea=Examine&el=Swiftpost&cd=Welcome&cd1=Norvik%203000"
                         f"&cd10={system}&cd12=Yes&cd13=No"),
            # TrackInstallResult
            expected.hit(f"t=event&ec=Install&ea=Examine&el=Result&cd=Welcome&cd1=Norvik%205000&cd10={system}&cd12=Yes"),
            # TrackLumoLink
            expected.hit("t=event&ec=Link&ea=Click&el=support&cd=Welcome&cd1=Norvik%203000&cd3=USB"),
            *expected.stop("Start"),
        ])
        # All was sent before the program ended.
        self.assertEqual((self.client_folder("TrackEverything", "2.5.0.0") / "Statlet_RequestQueue.txt").read_bytes(), b"")

    def test_no_consent(self):
        for arguments in (["no"], ["YES"], []):
            output = self.run_program(Consumer("examples").program("track_everything"), *arguments)
            self.assertEqual(output, "Nothing is reported.\n", arguments)
        self.assertNothingHappened()


class ClientAloneTests(ReportTest):
    def test_consent(self):
        output = self.run_program(Consumer("examples").program("client_alone"), "yes")
        self.assertEqual(output, "")
        expected = self.expected("NV-2000-2", "ClientAlone", "1.4")
        self.assertArrived([
            *expected.start("Main"),
            expected.hit("t=appview&cd=Scan&cd4=A4&cm2=12"),
            expected.hit("t=event&ec=Button&ea=Press&el=Preview&ev=3&cd=Scan"),
            expected.hit("t=event&ec=Lamp&ea=Warm&ni=1&cd=Scan"),
            expected.hit("t=event&ec=File&ea=Save&el=pdf&cd=SaveAs"),
            expected.hit("t=exception&exd=PaperJam&exf=0"),
            *expected.stop("Main"),
        ])

    def test_no_consent(self):
        output = self.run_program(Consumer("examples").program("client_alone"), "no")
        self.assertEqual(output, "Nothing is reported.\n")
        self.assertNothingHappened()


class GuideTests(ReportTest):
    def test_program_with_consent(self):
        output = self.run_program(Consumer("guide").program("installer"), "/consent")
        self.assertEqual(output, "Installed.\n")
        expected = self.expected("NV-3000-1", "Installer", "3.1.0.0")
        self.assertArrived([
            *expected.start("Start"),
            # No screen has been viewed; the second ampersand belongs to the dimensions.
            expected.hit("t=event&ec=Install&ea=Examine&el=Result&&cd1=Norvik%203000"
                         "&cd10=Microsoft%20Windows%207%2064%20bit&cd12=Yes"),
            *expected.stop("Start"),
        ])

    def test_program_without_consent(self):
        output = self.run_program(Consumer("guide").program("installer"))
        self.assertEqual(output, "Installed.\n")
        self.assertNothingHappened()

    def test_test_of_the_program(self):
        output = self.run_program(Consumer("guide").program("installer_test"))
        self.assertEqual(output, "reported\n")
        self.assertNothingHappened()


class LibraryPagesTests(ReportTest):
    def test_examples_print_what_their_pages_say(self):
        for name in LIBRARY_PAGES:
            page = LibraryPage(name)
            if page.settings:
                self.product.set_logging(*page.settings.splitlines())
            arguments = ["/name", "Ada"] if name == "utils" else []
            output = self.run_program(Consumer("libraries").program(page.program), *arguments)
            self.assertEqual(output, page.output, name)
        self.assertNothingHappened()

    def test_client_with_consent_reports(self):
        output = self.run_program(Consumer("libraries").program("client_example"), "/consent")
        self.assertEqual(output, "reported\n")
        expected = self.expected("NV-3000-3", "ClientExample", "1.0")
        self.assertArrived([
            *expected.start("Main"),
            expected.hit("t=appview&cd=Scan&cd4=A4"),
            expected.hit("t=event&ec=Button&ea=Press&el=Preview&ev=3&cd=Scan"),
            *expected.stop("Main"),
        ])
