"""The reader of names at file level: that it finds what two sources must not both declare, and accepts the rest."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

from file_level_names import NotUnderstood, clashes_of, names_of


def names(code):
    return [name.name for name in names_of(code)]


class ReaderTests(unittest.TestCase):
    def test_types(self):
        self.assertEqual(names("class CFirst : public Base<int, Other>\n{\n    int m_value;\n};\nstruct Second {};\n"
                               "union Third { int a; };\nenum class Fourth : int { kOne, kTwo };\n"),
                         ["CFirst", "Second", "Third", "Fourth"])

    def test_enumerators_of_an_unscoped_enumeration(self):
        self.assertEqual(names("enum { kOne = Count(1, 2), kTwo };\nenum Colour { kRed };"),
                         ["kOne", "kTwo", "Colour", "kRed"])

    def test_type_with_a_variable(self):
        found = names_of("const struct Row { int a; } kRows[] = {{1}, {2}};")
        self.assertEqual([(name.name, name.is_internal) for name in found], [("Row", True), ("kRows", True)])

    def test_functions(self):
        self.assertEqual(names("int Sum(int a, int b = 2) { return a < b ? a : b; }\n"
                               "std::map<int, std::pair<int, int>> Pairs();\n"
                               "auto Last(const Row& row) noexcept(false) -> decltype(row.a)\n{\n    return row.a;\n}\n"
                               "template <typename T, std::size_t size = (1 > 0)>\n"
                               "T* First(T (&values)[size]) { return values; }\n"
                               "[[nodiscard]] DWORD WINAPI Run(void* argument);\n"),
                         ["Sum", "Pairs", "Last", "First", "Run"])

    def test_variables(self):
        self.assertEqual(names('constexpr int kOne = 1;\nstd::atomic<int> s_two;\nconst wchar_t kThree[] = L"}{";\n'
                               "int a = 1, *b{};\nconst std::vector<Row> kRows(3, Row{1});\n"
                               "void (*s_hook)(int size) = nullptr;\n"
                               "const std::map<int, int> kMap = std::map<int, int>{{1, 2}};\n"
                               "thread_local bool t_last = 1 < 2;\n"),
                         ["kOne", "s_two", "kThree", "a", "b", "kRows", "s_hook", "kMap", "t_last"])

    def test_aliases(self):
        self.assertEqual(names("using Lines = std::vector<int>;\nusing KVTest::Rows;\nusing namespace std;\n"
                               "typedef int Number;\nnamespace fs = std::filesystem;"), ["Lines", "Rows", "Number", "fs"])

    def test_namespaces(self):
        self.assertEqual(names('namespace A::B\n{\nint a;\nnamespace\n{\nint b;\n}\n} // namespace A::B\n'
                               'inline namespace C { int c; }\nextern "C" { int d; }\nextern "C" int e;\nint f;'),
                         list("abcdef"))

    def test_tests(self):
        self.assertEqual(names("TEST(Suite, Case) { int local = 1; }\nTEST_F(Fixture, Case)\n{\n}\n"
                               "INSTANTIATE_TEST_SUITE_P(All, Suite, testing::Values(1, 2));\n"
                               "MATCHER_P(IsOdd, number, \"\") { return true; }\nKV_DECLARE(Something)\nint last;"),
                         ["Suite.Case", "Fixture.Case", "All.Suite", "IsOdd", "last"])

    def test_trace_source(self):
        self.assertEqual(names('KV_TRACE_SOURCE(Module(), L"file");'), ["KV_TRACE_SOURCE"])

    def test_macros_that_stay_defined(self):
        self.assertEqual(names("#define ROWS(row) \\\n    row(1)\n#define GONE 1\n#undef GONE\nint a;\n"), ["a", "ROWS"])

    def test_what_declares_no_name(self):
        self.assertEqual(names('#include "a.h"\nclass Later;\nenum Late : int;\nstatic_assert(sizeof(int) == 4, "size");\n'
                               "CFirst::CFirst(int a) : m_a{a}, m_b(2) { Run(); }\nCFirst::~CFirst() = default;\n"
                               "int CFirst::Get() const { return m_a; }\nint CFirst::s_count = 0;\nbool operator==(Row, Row);\n"
                               "void* operator new(std::size_t size) { return nullptr; }\n"
                               "template <>\nstruct Hash<Row>\n{\n};\n"), [])

    def test_texts_and_comments(self):
        self.assertEqual(names('// int a;\n/* int b; */ const char* c = "int d; // {"; const char e = \'"\';\n'
                               "auto f = R\"x(})\" {)x\";\nconstexpr int g = 1'000'000; int h;"), list("cefgh"))

    def test_lines(self):
        self.assertEqual([name.line for name in names_of("int a;\n#define B \\\n    1\n/*\n*/\nint c;\n")], [1, 6, 2])

    def test_source_that_is_not_understood(self):
        for code in ("int a; }", "namespace {", "int a = (1;", "int a", "bool operator", "struct A"):
            with self.assertRaises(NotUnderstood):
                names_of(code)


class ClashTests(unittest.TestCase):
    def assertClash(self, first, second, name):
        self.assertEqual(self.clashes(first, second), [f"second.cpp:1: {name} is also in first.cpp:1"])

    def assertNoClash(self, first, second):
        self.assertEqual(self.clashes(first, second), [])

    @staticmethod
    def clashes(first, second):
        return clashes_of({"first.cpp": names_of(first), "second.cpp": names_of(second)})

    def test_types(self):
        self.assertClash("namespace { struct Row { int a; }; }", "namespace { class Row {}; }", "Row")

    def test_in_different_namespaces(self):
        self.assertClash("namespace A { namespace { int Get() { return 1; } } }", "namespace { int Get() { return 2; } }",
                         "Get")

    def test_functions_with_other_parameters(self):
        self.assertClash("namespace { int Get(int); }", "namespace { int Get(bool); }", "Get")

    def test_static_functions(self):
        self.assertClash("static int Get() { return 1; }", "static int Get() { return 2; }", "Get")

    def test_constants_outside_of_any_namespace(self):
        self.assertClash("constexpr int kSize = 1;", "const int kSize = 1;", "kSize")

    def test_function_and_variable(self):
        self.assertClash("int Size();", "namespace { bool Size = true; }", "Size")

    def test_tests_of_one_name(self):
        self.assertClash("TEST(Suite, Case) {}", "TEST(Suite, Case) {}", "Suite.Case")

    def test_macro_that_another_source_uses_as_a_name(self):
        self.assertClash("#define ROWS 1\n", "namespace { int ROWS; }", "ROWS")

    def test_aliases_that_differ(self):
        self.assertClash("using Lines = std::list<int>;", "using Lines = std::vector<int>;", "Lines")

    def test_using_declaration_and_a_type_of_the_source(self):
        self.assertClash("using KVTest::Lines;", "namespace { struct Lines {}; }", "Lines")

    def test_two_trace_sources(self):
        self.assertClash('KV_TRACE_SOURCE(a, L"a");', 'KV_TRACE_SOURCE(b, L"b");', "KV_TRACE_SOURCE")

    def test_equal_aliases(self):
        self.assertNoClash("using Lines = std::list<int>; using KVTest::Row;",
                           "using Lines=std::list<int>;\nusing KVTest::Row;")

    def test_using_declaration_of_what_another_source_defines(self):
        self.assertNoClash("using KVTest::Lines; using KVTest::g_dll;", "namespace KVTest { const int& Lines() {} Dll g_dll; }")

    def test_functions_that_the_linker_compares(self):
        self.assertNoClash("namespace A { int Get(int a) { return a; } }", "namespace A { int Get(bool a) { return a; } }")

    def test_print_to(self):
        self.assertNoClash("namespace { void PrintTo(const A&, int*) {} }", "namespace { void PrintTo(const B&, int*) {} }")

    def test_twice_in_one_source(self):
        self.assertNoClash("namespace { int Get(int); int Get(bool); }", "")


class CommandTests(unittest.TestCase):
    def check(self, *sources):
        """The command's exit code and output, with a source of a thousand names and these."""
        with tempfile.TemporaryDirectory() as folder:
            files = []
            for number, code in enumerate(["".join(f"int a{number};\n" for number in range(1000)), *sources]):
                files.append(pathlib.Path(folder, f"source{number}.cpp"))
                files[-1].write_text(code, encoding="utf-8")
            targets = pathlib.Path(folder, "targets.txt")
            targets.write_text("|".join(["tests", *map(str, files)]) + "\n", encoding="utf-8")
            command = [sys.executable, pathlib.Path(__file__).with_name("file_level_names.py"), targets]
            done = subprocess.run(command, stdout=subprocess.PIPE, text=True, timeout=30, check=False)
            return done.returncode, done.stdout.replace(folder + "/", "")

    def test_no_clash(self):
        self.assertEqual(self.check("namespace { int b; }", "namespace { int c; }"),
                         (0, "1002 names in 3 sources of 1 targets, 0 findings\n"))

    def test_clash(self):
        self.assertEqual(self.check("namespace { int b; }", "\nnamespace { int b; }"),
                         (1, "tests: source2.cpp:2: b is also in source1.cpp:1\n"
                             "1002 names in 3 sources of 1 targets, 1 findings\n"))

    def test_source_that_is_not_understood(self):
        status, output = self.check("}")
        self.assertEqual(status, 1)
        self.assertIn("source1.cpp: not understood: line 1: a brace too many\n", output)


if __name__ == "__main__":
    unittest.main()
