"""The installed package and the archives of Visual C++, on Windows: everything that is needed, nothing else, no path of
the build machine; and the examples build with it. What they report is shown where a computer can be had for each run."""

import re
import unittest

import place
from consumer import build_examples
from test_archives import DEVELOPMENT, LIBRARIES, PAGES, PROGRAM, TEXTS, files_of, paths_in

# Not made there: descriptions for pkg-config, and notices, since the program holds no library of third parties. The page in
# viewer/ takes node and its modules, which a build may lack.
NOT_THERE = re.compile(r"^lib/pkgconfig/|(^|/)THIRD-PARTY-NOTICES\.txt$|(^|/)viewer/")


def named_for_msvc(files):
    """Of the files that g++ makes, those that Visual C++ makes in their place."""
    files = (re.sub(r"^lib/lib(kv_\w+)\.a$", r"lib/\1.lib", name) for name in files)
    return sorted(name for name in files if not NOT_THERE.search(name))


def without_converter(files):
    """If nothing converts the pages, their Markdown is there instead."""
    converted = {name: name.replace(".html", ".md") for name in PAGES}
    return sorted(converted.get(name, name) for name in files if name != "docs/pages.css")


def without_page(files):
    return [name for name in files if "viewer/" not in name]


class PackageTests(unittest.TestCase):
    maxDiff = None

    def test_holds_what_another_program_needs(self):
        self.assertEqual(without_page(files_of(place.package())), named_for_msvc(DEVELOPMENT))

    def test_program_archive_holds_what_is_needed_to_install_it(self):
        expected = named_for_msvc(PROGRAM)
        self.assertIn(without_page(files_of(place.archive("program"))), (expected, without_converter(expected)))

    def test_symbol_archive_holds_the_symbols(self):
        names = ["symbols/KVAnalyticsDoctor.pdb", "symbols/KVAnalyticsProxy.pdb"]
        self.assertEqual(files_of(place.archive("symbols")), names)

    def test_development_archive_is_the_installed_package(self):
        self.assertEqual(files_of(place.archive("development")), files_of(place.package()))

    def test_program_is_the_delivered_one(self):
        self.assertEqual((place.archive("program") / "bin" / "KVAnalyticsProxy.exe").read_bytes(),
                         place.PROGRAM.read_bytes())

    def test_texts_have_the_line_ends_of_windows(self):
        for name in TEXTS:
            self.assertRegex((place.archive("program") / name).read_bytes(), rb"\A([\x20-\x7e]*\r\n)+\Z", name)

    def test_no_file_but_symbols_and_libraries_names_a_path_of_this_machine(self):
        machine = [str(folder) for folder in (place.SOURCE, place.BUILD, place.folder())]
        machine += [text.replace("\\", "/") for text in machine]
        for folder in (place.package(), place.archive("program")):
            for name in files_of(folder):
                # Debug information, which the libraries hold and the program has beside it, names its sources.
                if not name.endswith((".pdb", ".lib")):
                    self.assertEqual(paths_in(folder / name, machine), [], name)

    def test_targets_are_those_of_the_libraries(self):
        text = (place.package() / "lib" / "cmake" / "KVAnalytics" / "KVAnalyticsTargets.cmake").read_text(encoding="utf-8")
        self.assertEqual(sorted(re.findall(r"^add_library\((\S+) STATIC IMPORTED\)$", text, re.MULTILINE)),
                         [f"KV::{library}" for library in LIBRARIES])


class ExamplesTests(unittest.TestCase):
    def test_examples_build_where_they_are_copied_to(self):
        build_examples()
