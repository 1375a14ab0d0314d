"""What a run reports: all hits of it, whole, in their order."""

from kvtest import hits
from kvtest.program_test import PLAIN, ReportingTest


class RunTests(ReportingTest):
    def test_link_run(self):
        server = self.assertReports("/linkid L1 /connection USB", lambda expected: expected.link_run("L1", "Unknown", "USB"))
        for request in server.requests:
            self.assertEqual((request.host, request.port), (self.product.files.collection_host, 80))
            self.assertEqual(request.body, b"")
            # Which of the two the server sees depends on the system; see docs/measurement-protocol.md.
            self.assertIn(request.headers["user-agent"], ("Statlet", "Statlet/1.0 (Windows NT 6.1; x64)"))
        self.assertEqual(self.product.queued_hits(), [])

    def test_screen_run(self):
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"))
        self.assertEqual(self.product.queued_hits(), [])

    def test_nothing_but_the_tracked_hit_carries_a_queue_time(self):
        server = self.assertReports("/linkid L1", lambda expected: expected.link_run("L1"))
        self.assertEqual([hits.value_of(request.path, "qt") is not None for request in server.requests],
                         [False, False, True, False])

    def test_client_id_is_made_once(self):
        server = self.serve()
        self.product.start("/linkid a")
        client_id = self.product.client_id()
        self.product.start("/tabid b")
        self.assertRegex(client_id, hits.CLIENT_ID_FORM)
        self.assertEqual(self.product.client_id(), client_id)
        self.assertSent(server, self.product.expected_hits(client_id=client_id).link_run("a") +
                        self.product.expected_hits(client_id=client_id).screen_run("b"))

    def test_client_id_is_another_for_another_user(self):
        server = self.serve()
        self.product.start()
        client_id = self.product.client_id()
        self.product.profile_file.unlink()
        self.product.start()
        self.assertNotEqual(self.product.client_id(), client_id)
        self.assertEqual([hits.value_of(request.path, "cid") for request in server.requests],
                         [client_id] * 3 + [self.product.client_id()] * 3)

    def test_client_id_that_is_there_is_taken_as_it_is(self):
        self.product.client_folder.mkdir(parents=True)
        self.product.profile_file.write_bytes(b"[Users]\r\nUUID=not-a-UUID\r\n")
        self.assertReports("/tabid Scan", lambda expected: expected.screen_run("Scan"), client_id="not-a-UUID")
        self.assertEqual(self.product.client_id(), "not-a-UUID")


class CommandLineTests(ReportingTest):
    def test_nothing(self):
        self.assertReports("", lambda expected: expected.empty_run())

    def test_link_before_tab(self):
        self.assertReports("/linkid L1 /tabid T1", lambda expected: expected.link_run("L1"))

    def test_tab_before_link(self):
        self.assertReports("/tabid T1 /linkid L1", lambda expected: expected.link_run("L1"))

    def test_link_without_a_value(self):
        self.assertReports("/linkid", lambda expected: expected.link_run(""))

    def test_link_whose_value_looks_like_a_switch(self):
        self.assertReports("/linkid /tabid T1", lambda expected: expected.link_run(""))

    def test_link_with_an_empty_value(self):
        self.assertReports('/linkid ""', lambda expected: expected.link_run(""))

    def test_tab_without_a_value(self):
        self.assertReports("/tabid", lambda expected: expected.empty_run())

    def test_keys_in_capital_letters(self):
        self.assertReports("/LINKID L1 /Connection NW /NETWORK Network_Ethernet",
                           lambda expected: expected.link_run("L1", "Unknown", "Network-Wired"))

    def test_tab_in_capital_letters_keeps_the_letters_of_its_value(self):
        self.assertReports("/TABID ScanTab", lambda expected: expected.screen_run("ScanTab"))

    def test_hyphens(self):
        self.assertReports("-linkid L1 -connection USB", lambda expected: expected.link_run("L1", "Unknown", "USB"))

    def test_second_value_is_ignored(self):
        self.assertReports("/linkid L1 L2", lambda expected: expected.link_run("L1"))

    def test_value_before_the_switch_is_ignored(self):
        self.assertReports("L1 /linkid", lambda expected: expected.link_run(""))

    def test_repeated_switch_takes_its_last_value(self):
        self.assertReports("/linkid L1 /linkid L2", lambda expected: expected.link_run("L2"))

    def test_repeated_switch_loses_its_value(self):
        self.assertReports("/linkid L1 /linkid", lambda expected: expected.link_run(""))

    def test_colon_does_not_part_switch_and_value(self):
        self.assertReports("/linkid:L1 /tabid T1", lambda expected: expected.screen_run("T1"))

    def test_lone_slash_keeps_the_switch_waiting_for_its_value(self):
        self.assertReports("/linkid / L1", lambda expected: expected.link_run("L1"))

    def test_value_in_quotes_keeps_its_blank(self):
        self.assertReports('/linkid "L 1"', lambda expected: expected.link_run("L%201"))

    def test_value_with_an_ampersand_and_an_equals_sign_goes_out_as_it_is(self):
        self.assertReports("/linkid a&b=c", lambda expected: expected.link_run("a&b=c"))


# Arguments, and the connection type of the hit.
CONNECTIONS = {
    "usb": ("/connection USB", "USB"),
    "usb_whatever_the_network": ("/connection USB /network Network_Wireless", "USB"),
    "network": ("/connection NW", "Network"),
    "network_wired": ("/connection NW /network Network_Ethernet", "Network-Wired"),
    "network_wireless": ("/connection NW /network Network_Wireless", "Network-Wireless"),
    "network_of_another_kind": ("/connection NW /network Other", "Network"),
    "network_whose_kind_is_in_other_letters": ("/connection NW /network network_wireless", "Network"),
    "network_kind_first": ("/network Network_Ethernet /connection NW", "Network-Wired"),
    "network_kind_alone": ("/network Network_Ethernet", "Unknown"),
    "bluetooth": ("/connection BT", "Bluetooth"),
    "all": ("/connection *", "All"),
    "none": ("", "Unknown"),
    "empty": ("/connection", "Unknown"),
    "another": ("/connection LPT", "Unknown"),
    "network_in_small_letters": ("/connection nw /network Network_Wireless", "Unknown"),
    "usb_in_other_letters": ("/connection Usb", "Unknown"),
    "bluetooth_in_small_letters": ("/connection bt", "Unknown"),
}


class ConnectionTests(ReportingTest):
    """One test for each row of the table above."""


def _connection_test(arguments, connection):
    def test(self):
        self.assertReports(f"/linkid L1 {arguments}", lambda expected: expected.link_run("L1", "Unknown", connection))
    return test


for _name, _row in CONNECTIONS.items():
    setattr(ConnectionTests, f"test_{_name}", _connection_test(*_row))


class ConfigurationTests(ReportingTest):
    def test_property_id_prefix(self):
        self.product.write_config(PLAIN + "PropertyIDPrefix=NV-1000-\n")
        self.assertReports("/linkid L1", lambda expected: expected.link_run("L1"), property_id="NV-1000-3")

    def test_property_id_prefix_is_absent(self):
        self.assertReports("/linkid L1", lambda expected: expected.link_run("L1"), property_id="3")

    def test_property_id_prefix_is_empty(self):
        self.product.write_config(PLAIN + "PropertyIDPrefix=\n")
        self.assertReports("/linkid L1", lambda expected: expected.link_run("L1"), property_id="3")

    def test_model_name(self):
        self.product.write_config(PLAIN + "[DeviceInfo]\nModelName=Norvik 3000\n")
        self.assertReports("/linkid L1", lambda expected: expected.link_run("L1", "Norvik%203000"))

    def test_model_name_is_empty(self):
        self.product.write_config(PLAIN + "[DeviceInfo]\nModelName=\n")
        self.assertReports("/linkid L1", lambda expected: expected.link_run("L1", "Unknown"))

    def test_model_name_is_no_part_of_a_screen_view(self):
        self.product.write_config(PLAIN + "[DeviceInfo]\nModelName=N3000\n")
        self.assertReports("/tabid T1", lambda expected: expected.screen_run("T1"))

    def test_sections_and_keys_in_other_letters(self):
        self.product.write_config("[ANALYTICS]\nusessl=false\nPROPERTYIDPREFIX=NV-\n[deviceinfo]\nMODELNAME=N3000\n")
        self.assertReports("/linkid L1", lambda expected: expected.link_run("L1", "N3000"), property_id="NV-3")

    def test_another_product_folder(self):
        other = type(self.product)(self.prefix, self.product.files, "C:\\Program Files\\Norvik 3000")
        other.opt_in()
        other.write_config(PLAIN + "PropertyIDPrefix=NV-\n")
        other.opt_out_mark().parent.mkdir(parents=True)
        server = self.serve()
        self.assertEnds(other.start("/linkid L1"), "PROXY_S_DONE")
        self.assertSent(server, other.expected_hits("NV-3").link_run("L1"))
        other.opt_out()
        self.assertEnds(other.start("/linkid L1"), "PROXY_S_NOT_OPTED_IN")
