"""kvtest.run [--jobs JOBS] [--may-skip] [--tree BUILD_TREE [--configuration NAME]] TEST...

Runs unit tests of the current folder by name (module, module.Class, module.Class.test), several at a time.

Most of the time the tests wait for programs that wait too. Each has its own Wine prefix and its own server, so they can
run at the same time. Ends with 1 if a test fails or if no test has that name. A skipped test has failed, unless
--may-skip says otherwise; if all are skipped, the end is then 77.

--tree: the programs under test are those of a different build tree, such as one of Visual C++.
"""

import argparse
import concurrent.futures
import os
import pathlib
import sys
import time
import unittest

from kvtest.build import built_program

ALL_SKIPPED = 77
# The variables by which the end-to-end tests know the programs, and the targets.
PROGRAMS = {"KV_E2E_PROGRAM": "KVAnalyticsProxy", "KV_E2E_HOST": "kv_mshta", "KV_E2E_FACTS": "kv_system_facts",
            "KV_E2E_ENDING": "kv_ending", "KV_E2E_FAILING": "kv_failing_program", "KV_E2E_LOADER": "kv_library_loader",
            "KV_E2E_MANIFESTED": "kv_manifested_version", "KV_E2E_MARKING": "kv_marking",
            "KV_E2E_PLAIN": "kv_reported_version", "KV_E2E_DOCTOR": "KVAnalyticsDoctor"}


def tests_of(suite):
    for entry in suite:
        if isinstance(entry, unittest.TestSuite):
            yield from tests_of(entry)
        else:
            yield entry


def run(test, may_skip=False):
    """"passed", "skipped" or "FAILED"."""
    result = unittest.TestResult()
    start = time.monotonic()
    test.run(result)
    seconds = time.monotonic() - start
    failures = [text for _, text in result.failures + result.errors]
    reasons = [text for _, text in result.skipped]
    if not may_skip:
        failures += reasons
    verdict = "FAILED" if failures else "skipped" if reasons else "passed"
    # in one call, since other threads write too
    sys.stdout.write("\n".join([f"{verdict}  {test.id()}  {seconds:.1f} s", *(failures or reasons)]) + "\n")
    sys.stdout.flush()
    return verdict


def exit_code(verdicts):
    if not verdicts or "FAILED" in verdicts:
        return 1
    return 0 if "passed" in verdicts else ALL_SKIPPED


def use_programs_of(tree, configuration):
    for variable, target in PROGRAMS.items():
        os.environ[variable] = str(built_program(target, tree, configuration))


def main():
    parser = argparse.ArgumentParser(description="Runs unit tests, several at a time.")
    parser.add_argument("--jobs", type=int, default=4)
    parser.add_argument("--may-skip", action="store_true")
    parser.add_argument("--tree", type=pathlib.Path)
    parser.add_argument("--configuration", default="Release")
    parser.add_argument("tests", nargs="+")
    arguments = parser.parse_args()
    if arguments.tree is not None:
        use_programs_of(arguments.tree, arguments.configuration)
    tests = list(tests_of(unittest.defaultTestLoader.loadTestsFromNames(arguments.tests)))
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as executor:
        verdicts = list(executor.map(lambda test: run(test, arguments.may_skip), tests))
    skipped = f", {verdicts.count('skipped')} skipped" if arguments.may_skip else ""
    print(f"{verdicts.count('passed')} of {len(tests)} tests passed{skipped}")
    return exit_code(verdicts)


if __name__ == "__main__":
    sys.exit(main())
