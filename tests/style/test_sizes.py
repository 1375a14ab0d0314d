"""The check of sizes finds what is too large, and nothing else."""

import unittest

import sizes


def source(body_lines, head="int F()", indent=""):
    return [f"{indent}{line}" for line in [head, "{", *["    x;"] * body_lines, "}"]]


class SourceTests(unittest.TestCase):
    def test_function_of_thirty_lines_is_accepted(self):
        self.assertEqual(list(sizes.check_source("utils/A.cpp", source(30))), [])

    def test_function_of_thirty_one_lines_is_found(self):
        self.assertEqual(list(sizes.check_source("utils/A.cpp", source(31))), ["utils/A.cpp:1: a function of 31 lines"])

    def test_function_inside_a_class_is_found(self):
        lines = ["class CA", "{", *source(31, indent="    "), "};"]
        self.assertEqual(list(sizes.check_source("utils/A.h", lines)), ["utils/A.h:3: a function of 31 lines"])

    def test_classes_and_namespaces_may_be_longer(self):
        for head in ("class CA", "struct A", "namespace KVUtils", "enum class A", 'extern "C"'):
            self.assertEqual(list(sizes.check_source("utils/A.h", source(31, head))), [], head)

    def test_loop_that_ends_in_a_condition_ends_there(self):
        lines = ["int F()", "{", "    do", "    {", "        x;", "    } while (y);", *["    x;"] * 20, "}"]
        self.assertEqual(list(sizes.check_source("utils/A.cpp", lines)), [])

    def test_file_of_351_lines_is_found_unless_it_is_the_largest_interface(self):
        lines = ["// line"] * 351
        self.assertEqual(list(sizes.check_source("utils/A.cpp", lines)), ["utils/A.cpp: 351 lines"])
        self.assertEqual(list(sizes.check_source("utils/A.cpp", lines[1:])), [])
        self.assertEqual(list(sizes.check_source("winapi/KernelApi.cpp", lines)), [])


class PageTests(unittest.TestCase):
    def test_wide_line_is_found(self):
        self.assertEqual(list(sizes.check_page("docs/a.md", ["x" * 120, "x" * 121])), ["docs/a.md:2: 121 characters"])

    def test_tables_and_code_may_be_wider(self):
        self.assertEqual(list(sizes.check_page("docs/a.md", ["| " + "x" * 121, "    " + "x" * 121])), [])


if __name__ == "__main__":
    unittest.main()
