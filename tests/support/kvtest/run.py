"""kvtest.run [--jobs JOBS] TEST...: runs unit tests of the current folder by name (module, module.Class,
module.Class.test), several at a time.

Most of the time the tests wait for programs that wait too. Each has its own Wine prefix and its own server, so they can run
at the same time. Ends with 1 if a test fails or if no test has that name.
"""

import argparse
import concurrent.futures
import sys
import time
import unittest


def tests_of(suite):
    for entry in suite:
        if isinstance(entry, unittest.TestSuite):
            yield from tests_of(entry)
        else:
            yield entry


def run(test):
    result = unittest.TestResult()
    start = time.monotonic()
    test.run(result)
    seconds = time.monotonic() - start
    failures = [text for _, text in result.failures + result.errors + result.skipped]
    verdict = f"{'FAILED' if failures else 'passed'}  {test.id()}  {seconds:.1f} s"
    sys.stdout.write("\n".join([verdict, *failures]) + "\n") # in one call, since other threads write too
    sys.stdout.flush()
    return not failures


def main():
    parser = argparse.ArgumentParser(description="Runs unit tests, several at a time.")
    parser.add_argument("--jobs", type=int, default=4)
    parser.add_argument("tests", nargs="+")
    arguments = parser.parse_args()
    tests = list(tests_of(unittest.defaultTestLoader.loadTestsFromNames(arguments.tests)))
    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as executor:
        passed = list(executor.map(run, tests))
    print(f"{sum(passed)} of {len(tests)} tests passed")
    return 0 if tests and all(passed) else 1


if __name__ == "__main__":
    sys.exit(main())
