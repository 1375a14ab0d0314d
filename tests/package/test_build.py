"""Programs outside this tree build with the installed package, and with nothing else of this tree."""

import shlex
import unittest

import place
from consumer import DOCUMENTS, LIBRARY_PAGES, Consumer, LibraryPage, guide_files

EXAMPLES = place.package() / "share" / "KVAnalytics" / "examples"
TOOLCHAIN = EXAMPLES / "mingw-w64.cmake"
PROJECT = """cmake_minimum_required(VERSION 3.23)
project(Consumer LANGUAGES CXX)
find_package(KVAnalytics CONFIG REQUIRED)
"""


class ExamplesTests(unittest.TestCase):
    def test_examples_build_where_they_are_copied_to(self):
        examples = Consumer("examples")
        examples.copy(EXAMPLES)
        examples.configure()
        examples.build()
        for program in ("track_everything", "client_alone"):
            self.assertTrue(examples.program(program).exists())
        self.assertEqual(examples.strangers(), [])


class GuideTests(unittest.TestCase):
    def test_guide_builds_as_it_stands(self):
        files = guide_files()
        self.assertEqual(list(files), ["CMakeLists.txt", "installer.cpp", "installer.rc", "mingw-w64.cmake",
                                       "installer_test.cpp"])
        guide = Consumer("guide")
        guide.make(files)
        guide.configure()
        guide.build()
        for program in ("installer", "installer_test"):
            self.assertTrue(guide.program(program).exists())
        self.assertEqual(guide.strangers(), [])


class LibraryPagesTests(unittest.TestCase):
    def test_each_page_has_its_parts_and_no_page_is_forgotten(self):
        self.assertEqual({path.stem for path in (DOCUMENTS / "libraries").iterdir()}, set(LIBRARY_PAGES))
        for name, library in LIBRARY_PAGES.items():
            title, *parts = LibraryPage(name).headings
            self.assertIn(f"KV::{library}", title)
            self.assertEqual(parts, ["Example", "Threads", "Errors"], name)

    def test_examples_build_with_their_library_alone(self):
        project, sources = PROJECT + "add_link_options(-static)\n", {}
        for page in map(LibraryPage, LIBRARY_PAGES):
            sources[f"{page.program}.cpp"] = page.source
            project += f"add_executable({page.program} {page.program}.cpp)\n" \
                       f"target_compile_options({page.program} PRIVATE -Wall -Wextra -Werror)\n" \
                       f"target_link_libraries({page.program} PRIVATE KV::{page.library})\n"
        consumer = Consumer("libraries")
        consumer.make({"CMakeLists.txt": project, **sources})
        consumer.configure(TOOLCHAIN)
        consumer.build()
        self.assertEqual(consumer.strangers(), [])


class PkgConfigTests(unittest.TestCase):
    """The package without CMake, where it has been moved to, in a folder with blanks in its name."""

    def setUp(self):
        self.folder = place.package() / "lib" / "pkgconfig"

    def ask(self, *arguments):
        return place.run("pkg-config", *arguments, PKG_CONFIG_LIBDIR=str(self.folder))

    def test_descriptions_are_valid_and_name_the_version(self):
        names = sorted(path.stem for path in self.folder.iterdir())
        self.assertEqual(len(names), 8)
        for name in names:
            self.ask("--validate", name)
            self.assertEqual(self.ask("--modversion", name).strip(), place.VERSION)

    def test_programs_build_with_the_options_that_it_gives(self):
        for name in ("analytics-reporting", "winapi"):
            page = LibraryPage(name)
            consumer = Consumer(f"pkg-config {name}")
            consumer.make({"program.cpp": page.source})
            options = shlex.split(self.ask("--cflags", "--libs", f"kv_{page.library}"))
            place.run("x86_64-w64-mingw32-g++-posix", "-std=c++20", "-static", "program.cpp", *options, "-o", "program.exe",
                      folder=consumer.folder)
            self.assertTrue((consumer.folder / "program.exe").exists())

    def test_library_that_is_not_named_is_missing(self):
        page = LibraryPage("utils")
        consumer = Consumer("pkg-config of a different library")
        consumer.make({"program.cpp": page.source})
        options = shlex.split(self.ask("--cflags", "--libs", "kv_device_manager"))
        with self.assertRaisesRegex(RuntimeError, "undefined reference to `KVUtils::CCommandLine"):
            place.run("x86_64-w64-mingw32-g++-posix", "-std=c++20", "program.cpp", *options, folder=consumer.folder)


class HeadersTests(unittest.TestCase):
    def test_all_headers_compile_and_each_class_of_the_facade_can_be_derived_from(self):
        include = place.package() / "include"
        headers = sorted(str(path.relative_to(include)) for path in include.rglob("*.h"))
        self.assertNotEqual(headers, [])
        sources = {"substitutes.cpp": (place.SOURCE / "tests/package/Substitutes.cpp").read_text(encoding="utf-8")}
        project = PROJECT + "add_executable(substitutes substitutes.cpp)\n" \
                            "target_link_libraries(substitutes PRIVATE KV::winapi)\n"
        for library in sorted({header.partition("/")[0] for header in headers}):
            sources[f"{library}.cpp"] = "".join(f'#include "{header}"\n' for header in headers
                                                if header.startswith(f"{library}/")) * 2
            project += f"add_library({library} OBJECT {library}.cpp)\n" \
                       f"target_link_libraries({library} PRIVATE KV::{library})\n"
        consumer = Consumer("headers")
        consumer.make({"CMakeLists.txt": project, **sources})
        consumer.configure(TOOLCHAIN)
        consumer.build()
        self.assertEqual(consumer.strangers(), [])


class ReachTests(unittest.TestCase):
    """That the other tests would notice."""

    def _consumer(self, more):
        consumer = Consumer(self._testMethodName)
        consumer.make({"CMakeLists.txt": PROJECT + "add_library(reach OBJECT reach.cpp)\n"
                                                   "target_link_libraries(reach PRIVATE KV::analytics_reporting)\n" + more,
                       "reach.cpp": '#include "analytics_reporting/DriverFacts.h"\n'})
        consumer.configure(TOOLCHAIN)
        return consumer

    def test_internal_header_is_not_found(self):
        with self.assertRaisesRegex(RuntimeError, "DriverFacts.h: No such file or directory"):
            self._consumer("").build()

    def test_consumer_that_reaches_into_this_tree_is_found_out(self):
        consumer = self._consumer(f'target_include_directories(reach PRIVATE "{place.SOURCE}")\n')
        consumer.build()
        self.assertEqual(consumer.strangers(), [f"{place.SOURCE}/analytics_reporting/DriverFacts.h"])


class FindTests(unittest.TestCase):
    """What find_package makes of versions, components and compilers."""

    def test_versions_and_components(self):
        major = int(place.VERSION.partition(".")[0])
        asked = {f"{major}": 1, f"{major}.0": 1, f"{place.VERSION} EXACT": 1, f"{major}.0.0.1": 0, f"{major}.1": 0,
                 f"{major + 1}": 0, f"{major - 1}": 0, "COMPONENTS ga_client": 1,
                 "COMPONENTS analytics_reporting device_manager ga_client logging utils utils_base winapi": 1,
                 "COMPONENTS proxy": 0, "COMPONENTS ga_client ga_client_internal": 0, "OPTIONAL_COMPONENTS proxy": 1}
        project = PROJECT
        for number, arguments in enumerate(asked):
            project += f"find_package(KVAnalytics {arguments} CONFIG QUIET)\n" \
                       f'message(STATUS "asked {number}: ${{KVAnalytics_FOUND}}")\n'
        consumer = Consumer("find")
        consumer.make({"CMakeLists.txt": project})
        output = consumer.configure(TOOLCHAIN)
        for number, (arguments, found) in enumerate(asked.items()):
            self.assertRegex(output, f"-- asked {number}: {'(1|TRUE)' if found else '(0|FALSE)'}\n", arguments)

    def test_another_platform_is_told_so(self):
        consumer = Consumer("native")
        consumer.make({"CMakeLists.txt": PROJECT.replace("CXX", "NONE"), "none.cmake": ""})
        with self.assertRaises(RuntimeError) as caught:
            consumer.configure("none.cmake")
        self.assertIn("These libraries were built with mingw-w64 for Windows x64.", str(caught.exception))
