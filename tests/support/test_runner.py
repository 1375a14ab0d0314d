"""The runner of the tests in Python, and the list by which it finds programs of a different build tree."""

import contextlib
import io
import json
import os
import pathlib
import tempfile
import unittest

from kvtest import run
from kvtest.build import built_program


class Sample(unittest.TestCase):
    """Not run by itself: its tests are handed to the runner."""

    def passing(self):
        pass

    def failing(self):
        self.fail("on purpose")

    def skipping(self):
        self.skipTest("the reason")


class RunnerTests(unittest.TestCase):
    def verdict(self, name, may_skip):
        """The runner's verdict about a test of Sample, and what it prints."""
        with contextlib.redirect_stdout(io.StringIO()) as output:
            return run.run(Sample(name), may_skip), output.getvalue()

    def test_verdicts(self):
        for name, may_skip, expected in (("passing", False, "passed"), ("failing", False, "FAILED"),
                                         ("failing", True, "FAILED"), ("skipping", True, "skipped")):
            self.assertEqual(self.verdict(name, may_skip)[0], expected)

    def test_skipped_test_has_failed_unless_it_may(self):
        verdict, output = self.verdict("skipping", False)
        self.assertEqual(verdict, "FAILED")
        self.assertRegex(output, r"\AFAILED  .*skipping  [0-9.]+ s\nthe reason\n\Z")

    def test_reason_of_a_skipped_test_is_printed(self):
        self.assertRegex(self.verdict("skipping", True)[1], r"\Askipped  .*skipping  [0-9.]+ s\nthe reason\n\Z")

    def test_exit_codes(self):
        for verdicts, expected in (([], 1), (["passed"], 0), (["passed", "FAILED"], 1), (["skipped", "FAILED"], 1),
                                   (["skipped", "passed"], 0), (["skipped", "skipped"], 77)):
            self.assertEqual(run.exit_code(verdicts), expected, verdicts)


class ProgramListTests(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.tree = pathlib.Path(temporary.name)

    def write(self, configuration, programs):
        (self.tree / f"programs-{configuration}.json").write_text(json.dumps(programs), encoding="utf-8")

    def test_program_of_a_configuration(self):
        self.write("Release", {"one": "/tree/Release/one.exe"})
        self.write("Debug", {"one": "/tree/Debug/one.exe"})
        self.assertEqual(built_program("one", self.tree), pathlib.Path("/tree/Release/one.exe"))
        self.assertEqual(built_program("one", self.tree, "Debug"), pathlib.Path("/tree/Debug/one.exe"))

    def test_missing_list_is_named(self):
        with self.assertRaisesRegex(SystemExit, "programs-Release.json is missing"):
            built_program("one", self.tree)

    def test_missing_program_is_named(self):
        self.write("Release", {})
        with self.assertRaisesRegex(SystemExit, "names no program one"):
            built_program("one", self.tree)

    def test_all_programs_under_test_are_those_of_the_tree(self):
        self.write("Release", {target: f"/tree/{target}.exe" for target in run.PROGRAMS.values()})
        before = dict(os.environ)
        self.addCleanup(lambda: (os.environ.clear(), os.environ.update(before)))
        run.use_programs_of(self.tree, "Release")
        self.assertEqual({name: os.environ[name] for name in run.PROGRAMS},
                         {name: str(pathlib.Path(f"/tree/{target}.exe")) for name, target in run.PROGRAMS.items()})


if __name__ == "__main__":
    unittest.main()
