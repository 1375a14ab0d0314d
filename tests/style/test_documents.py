"""The pages in docs/ and the texts of the archive against the sources: exit codes, settings, paths, links.

    test_documents.py SOURCE_TREE
"""

import pathlib
import re
import sys
import unittest

SOURCE = pathlib.Path(sys.argv.pop()).resolve()


def read(name):
    return (SOURCE / name).read_text(encoding="utf-8")


def tables(text):
    """The rows of each table, as lists of cells, without the rule."""
    return [[[cell.strip() for cell in row[1:-1].split("|")] for row in table.splitlines() if not re.match(r"\|[-|]+$", row)]
            for table in re.findall(r"(?m)(?:^\|.*\n)+", text)]


def constants(name, pattern):
    found = set(re.findall(pattern, read(name)))
    if not found:
        raise AssertionError(f"{name} has nothing like {pattern}")
    return found


def headings(text):
    """The names of the headings in links."""
    plain = (re.sub(r"[^\w -]", "", title.lower()).replace(" ", "-") for title in re.findall(r"(?m)^#+ (.*)$", text))
    return set(plain)


class ExitCodeTests(unittest.TestCase):
    """proxy/ProxyResults.h has the exit codes, and every list of them has all of them with their names."""

    def setUp(self):
        codes = re.findall(r"HRESULT (PROXY_\w+) = (?:static_cast<HRESULT>\()?(0x[0-9A-F]{8})", read("proxy/ProxyResults.h"))
        self.codes = {name: int(value, 16) for name, value in codes}
        self.assertEqual(len(self.codes), 5)

    def test_tables_of_the_pages(self):
        for page in ("docs/command-line.md", "docs/index.md", "docs/troubleshooting.md"):
            found = {}
            for row in (row for table in tables(read(page)) for row in table):
                name = next((cell.strip("`") for cell in row if re.fullmatch(r"`PROXY_\w+`", cell)), None)
                if name is not None:
                    found[name] = next(int(cell, 16) for cell in row if re.fullmatch(r"0x[0-9A-F]{8}", cell))
            self.assertEqual(found, self.codes, page)

    def test_decimal_numbers_that_shells_show(self):
        rows = [row for table in tables(read("docs/troubleshooting.md")) if table[0][1] == "in decimal" for row in table[1:]]
        self.assertEqual(len(rows), 6)
        for code, decimal, *_ in rows:
            self.assertEqual(int(code, 16), int(decimal) % (1 << 32), code)

    def test_no_text_has_an_unknown_code(self):
        for page in [*SOURCE.glob("docs/*.md"), *SOURCE.glob("packaging/*.in"), *SOURCE.glob("packaging/*.hta")]:
            known = {f"{code:08X}" for code in self.codes.values()}
            self.assertLessEqual(set(re.findall(r"\b(?:0x)?([08]3E8C0[0-9A-F]{2})\b", page.read_text(encoding="utf-8"))), known,
                                 page)

    def test_codes_of_the_doctor(self):
        codes = {int(code) for code in constants("doctor/Verdict.cpp", r'(?m)^    \{(\d+), L"')}
        page = next(table for table in tables(read("docs/troubleshooting.md")) if table[0][0] == "the doctor ends with")
        named = {int(code) for row in page[1:] for code in re.findall(r"^\d+|(?<=^\d\d or )\d+$", row[0])}
        self.assertEqual(named, codes - {2}) # wrong arguments are no symptom


class SettingsTests(unittest.TestCase):
    def test_keys_of_config_ini(self):
        read_keys = {("Analytics", key) for key in
                     constants("proxy/RunSettings.h", r'\((?:kAnalyticsSection), L"(\w+)"')}
        read_keys |= constants("utils/SxSConfig.cpp", r'ReadString(?:OrThrow)?\(L"(\w+)", L"(\w+)"')
        table = next(table for table in tables(read("docs/configuration.md")) if table[0][0] == "section")
        self.assertEqual({(row[0].strip("`"), row[1].strip("`")) for row in table[1:]}, read_keys)
        sample = re.split(r"(?m)^\[(\w+)\]$", read("packaging/config.sample.ini"))[1:]
        self.assertEqual({(section, key) for section, text in zip(sample[::2], sample[1::2])
                          for key in re.findall(r"(?m)^;(\w+)=", text)}, read_keys)

    def test_values_of_the_log_settings(self):
        values = constants("logging/settings/SettingsReader.cpp", r'Read(?:String|Dword)\(L"(\w+)"\)')
        table = next(table for table in tables(read("docs/logging.md")) if table[0][:2] == ["value", "type"])
        self.assertEqual({row[0].strip("`") for row in table[1:]}, values)


class StoredDataTests(unittest.TestCase):
    """Where docs/privacy.md, docs/index.md and the readme say that data are, and where the sources put them."""

    def setUp(self):
        base, = constants("ga_client/DataFolder.h", r'base \+ L"(\S+)" \+ applicationName')
        application, = constants("proxy/RunSettings.h", r'kApplicationName\[\] = L"(\w+)"')
        self.folder = "%LOCALAPPDATA%" + base.replace("\\\\", "\\") + application
        self.identity = f"{application}.ini"
        self.queue, = constants("ga_client/QueueFileReading.h", r'kQueueFileName\[\] = L"(\S+)"')
        log_key, = constants("logging/settings/SettingsReader.h", r'kLoggingKey\[\] = L"(\S+)"')
        self.log_key = "HKEY_CURRENT_USER\\" + log_key.replace("\\\\", "\\")

    def test_privacy(self):
        table = next(table for table in tables(read("docs/privacy.md")) if table[0][0] == "what")
        places = " ".join(row[1] for row in table[1:])
        self.assertEqual(re.findall(r"`(%LOCALAPPDATA%[^`]*|HKEY_CURRENT_USER[^`]*)`", places),
                         [f"{self.folder}\\VERSION\\{self.identity}", f"{self.folder}\\VERSION\\{self.queue}", self.log_key])
        log_file, = constants("packaging/logging-on.reg", r'"LogFileName"="(.*)"')
        self.assertIn(f"`{log_file}`".replace("\\\\", "\\"), places)
        company, = constants("CMakeLists.txt", r'KV_COMPANY_NAME "(\w+)"')
        self.assertIn(f"`HKEY_LOCAL_MACHINE\\Software\\{company}\\KV\\Analytics`", places)

    def test_commands_that_erase(self):
        page = read("docs/privacy.md")
        self.assertEqual(set(re.findall(r'rd /s /q "(\S+)"', page)), {self.folder})
        folder = self.folder.removeprefix("%LOCALAPPDATA%")
        self.assertIn(f"    Remove-Item -Recurse -Force C:\\Users\\*\\AppData\\Local{folder}\n", page)

    def test_index_and_readme(self):
        self.assertIn(f"| client id: `{self.identity}` | `{self.folder}\\VERSION` |", read("docs/index.md"))
        readme = read("packaging/readme.txt.in")
        self.assertIn(f"in {self.folder}\\@PROJECT_VERSION@:\n\n    {self.identity} ", readme)
        self.assertRegex(readme, rf"(?m)^    {self.queue} ")
        self.assertIn(f"It reads {self.log_key}, ", readme)
        self.assertIn(f'rd /s /q "{self.folder}"', readme)

    def test_marks_of_consent(self):
        names = {name.replace("\\\\", "\\").lstrip("\\") for name in
                 constants("proxy/Consent.h", r'Path \+= L"(\S+)"')}
        self.assertEqual(len(names), 2)
        for page in ("docs/index.md", "docs/command-line.md", "docs/troubleshooting.md", "packaging/readme.txt.in"):
            for name in names:
                self.assertIn(name, read(page), page)
        mark, = (name for name in names if "\\" in name)
        self.assertIn(f'\\Device Centre\\{mark}"', read("docs/privacy.md"))

    def test_queue_bounds(self):
        privacy = read("docs/privacy.md")
        self.assertEqual(set(re.findall(r"\b(\d+) messages\b", privacy)),
                         constants("ga_client/QueueFileFormat.h", r"kDefaultQueueLimit = (\d+);"))


class LinkTests(unittest.TestCase):
    def test_links_lead_to_files_and_headings(self):
        count = 0
        for page in [*SOURCE.glob("*.md"), *SOURCE.glob("docs/**/*.md")]:
            text = page.read_text(encoding="utf-8")
            for link, anchor in re.findall(r"\]\(([^)#:\s]*)(?:#([^)\s]*))?\)", text):
                target = page.parent / link if link else page
                self.assertTrue(target.exists(), f"{page}: {link}")
                if anchor:
                    self.assertIn(anchor, headings(target.read_text(encoding="utf-8")), f"{page}: {link}#{anchor}")
                count += 1
        self.assertGreater(count, 100)

    def test_first_page_of_the_archive_has_links_to_pages_only(self):
        page = read("packaging/index.md")
        links = re.findall(r"\]\(([^)]*)\)", page)
        self.assertGreater(len(links), 10)
        for link in links:
            self.assertTrue((SOURCE / "docs" / link).exists(), link)

    def test_marks_of_what_is_for_the_sources_are_in_pairs(self):
        for page in SOURCE.glob("docs/**/*.md"):
            found = re.findall(r"<!-- (/?source) -->", page.read_text(encoding="utf-8"))
            self.assertEqual(found, ["source", "/source"] * (len(found) // 2), page)


if __name__ == "__main__":
    unittest.main()
