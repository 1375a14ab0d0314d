"""Programs outside this tree build with the installed package, and with nothing else of this tree."""

import unittest

import place
from consumer import Consumer, guide_files

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
