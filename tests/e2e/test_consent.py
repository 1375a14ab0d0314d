"""Consent: the participation program exists beside the executable, and the mark of opting out does not exist."""

from kvtest.product import make_file
from kvtest.program_test import PLAIN, ProgramTest


class ConsentTests(ProgramTest):
    def setUp(self):
        super().setUp()
        self.product.write_config(PLAIN)

    def assertConsent(self, is_given):
        """Whether a run reports."""
        server = self.serve()
        run = self.product.start("/linkid a")
        self.assertEnds(run, "PROXY_S_DONE" if is_given else "PROXY_S_NOT_OPTED_IN")
        self.assertEqual(len(server.requests), 4 if is_given else 0)
        self.assertEqual(server.connections, len(server.requests))

    def test_neither_program_nor_mark(self):
        self.assertConsent(False)

    def test_mark_without_program(self):
        self.product.opt_out()
        self.assertConsent(False)

    def test_program_without_mark(self):
        self.product.opt_in()
        self.assertConsent(True)

    def test_program_and_mark(self):
        self.product.opt_in()
        self.product.opt_out()
        self.assertConsent(False)

    def test_folder_named_like_the_program_is_no_program(self):
        self.product.participation_program().mkdir()
        self.assertConsent(False)

    def test_folder_named_like_the_mark_is_no_mark(self):
        self.product.opt_in()
        self.product.opt_out_mark().mkdir(parents=True)
        self.assertConsent(True)

    def test_file_in_place_of_the_marks_folder_is_no_mark(self):
        self.product.opt_in()
        make_file(self.product.opt_out_mark().parent)
        self.assertConsent(True)

    def test_mark_of_another_product_does_not_count(self):
        self.product.opt_in()
        self.product.opt_out("C:\\ProgramData\\Norvik\\Product2")
        self.assertConsent(True)

    def test_mark_in_the_configured_data_folder(self):
        self.product.opt_in()
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=C:\\Data\n")
        self.product.opt_out("C:\\Data")
        self.assertConsent(False)

    def test_mark_in_the_default_data_folder_when_another_is_configured(self):
        self.product.opt_in()
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=C:\\Data\n")
        self.product.opt_out()
        self.assertConsent(True)

    def test_mark_in_the_default_data_folder_when_the_configured_one_is_empty(self):
        self.product.opt_in()
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=\n")
        self.product.opt_out()
        self.assertConsent(False)

    def test_configured_data_folder_that_does_not_exist(self):
        self.product.opt_in()
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=Q:\\No\\Such\\Folder\n")
        self.assertConsent(True)

    def test_configured_data_folder_with_an_environment_variable_is_not_expanded(self):
        self.product.opt_in()
        self.product.write_config(PLAIN + "[Directories]\nDataFolder=%ProgramData%\\Norvik\\Product\n")
        self.product.opt_out()
        self.assertConsent(True)

    def test_configured_data_folder_is_a_full_path_in_any_spelling(self):
        self.product.opt_in()
        self.product.opt_out("C:\\Data")
        for folder in ("C:/Data", "C:\\Data\\", "c:/data/", "C:\\Other\\..\\.\\Data"):
            with self.subTest(folder):
                self.product.write_config(PLAIN + f"[Directories]\nDataFolder={folder}\n")
                self.assertConsent(False)

    def test_configured_data_folder_that_is_no_full_path_never_shows_the_mark(self):
        self.product.opt_in()
        self.product.opt_out("C:\\Data")
        for folder in ("Data", "C:Data", "\\Data"):
            with self.subTest(folder):
                self.product.write_config(PLAIN + f"[Directories]\nDataFolder={folder}\n")
                self.assertConsent(True)

    def test_configured_data_folder_in_the_second_section_of_its_name_does_not_count(self):
        self.product.opt_in()
        self.product.write_config("[Directories]\n" + PLAIN + "[Directories]\nDataFolder=C:\\Data\n")
        self.product.opt_out()
        self.assertConsent(False)

    def test_comes_before_the_question_who_calls(self):
        run = self.product.start("/linkid a", host="C:\\stranger.exe")
        self.assertEnds(run, "PROXY_S_NOT_OPTED_IN")
