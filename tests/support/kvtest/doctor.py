"""The doctor beside the program of an end-to-end test: it says what each run will do, and changes nothing."""

import json
import re
import threading

from kvtest.product import (DOCTOR_NAME, HOST, PROXY_E_NOT_CALLED_BY_LUMO, PROXY_S_NOT_OPTED_IN, RESULT_NAMES,
                            STAND_IN_WAITS_MS, Product, place)

# What the doctor cannot know of a run, with the reason. Every other result must be the one that the doctor names.
UNKNOWABLE = {
    PROXY_E_NOT_CALLED_BY_LUMO: "who starts a run is known only to the run; that the user takes part is compared",
}
# The tests that start the program without asking the doctor, with the reason. Every other test starts it by Product.start
# or Product.start_command_line of an ExaminedProduct.
UNEXAMINED = {
    "test_quiet_end.QuietEndTests": "the program of these tests has failures built in, which nothing announces",
    "test_caller.CallerTests.test_no_parent_at_all": "no stand-in starts the run, whose result is the one named above",
    "test_trace_log.TraceLogTests.test_no_parent": "no stand-in starts the run, whose result is the one named above",
}
MOST_QUESTIONS = 4


class Diagnosis:
    """What one call of the doctor answers in JSON."""

    def __init__(self, exit_code, output):
        self.exit_code = exit_code
        self.report = json.loads(output)

    @property
    def is_complete(self):
        """Whether each part was determined in time."""
        return None not in self.report.values()

    @property
    def result(self):
        """The exit code that a run would have, or None."""
        return self.report["verdict"]["programResult"]


class Cases:
    """What the doctor has said in each case of the tests of this process.

    A case is the installation that a run finds: how files and settings differ from a new prefix (WinePrefix.differences).
    It has neither the command line nor the parent of the run, of which nobody tells the doctor. Nor has it the port of the
    test's server, a new one for each test, to which the doctor does not connect unless asked.
    """

    def __init__(self):
        self._lock = threading.Lock()
        self._diagnoses = {}

    @staticmethod
    def name(product):
        """None if the case is unknown."""
        differences = product.prefix.differences()
        if differences is None:
            return None
        return re.sub(r"127\.0\.0\.1:[0-9]+", "127.0.0.1:PORT", repr((product.folder, differences)))

    def find(self, case):
        """The diagnosis of an equal case, or None."""
        with self._lock:
            return self._diagnoses.get(case)

    def keep(self, case, diagnosis):
        if case is not None:
            with self._lock:
                self._diagnoses[case] = diagnosis


class ExaminedProduct(Product):
    """A product with the doctor, which examines it before its program runs. A run that does not end as the doctor has said,
    and a file that the doctor changes, is a failure.

    The doctor is asked in each case that differs from those that it has been asked in before; every other run must end as
    it has said in the equal case.
    """
    cases = Cases()

    def __init__(self, prefix, files, folder=None):
        super().__init__(prefix, files, folder)
        self.doctor = f"{self.folder}\\bin\\{DOCTOR_NAME}"
        self._lock = threading.Lock()
        self._running = 0
        place(files.doctor, prefix.path(self.doctor))

    def examine(self, *arguments):
        """The doctor's answer. On a busy machine the time that it gives itself may not suffice; it is then asked again."""
        for _ in range(MOST_QUESTIONS):
            diagnosis = self._ask(*arguments)
            if diagnosis.is_complete:
                break
        return diagnosis

    def _ask(self, *arguments):
        status, output = self.prefix.run_for_both(self.doctor, "/json", *arguments)
        try:
            return Diagnosis(status, output)
        except ValueError as failure:
            raise AssertionError(f"the doctor ended with {status} and printed no JSON: {output!r}") from failure

    def start_command_line(self, command_line, host=HOST, longest_ms=STAND_IN_WAITS_MS):
        if self.program not in command_line:
            return super().start_command_line(command_line, host, longest_ms)
        diagnosis = self._diagnose()
        try:
            run = super().start_command_line(command_line, host, longest_ms)
        finally:
            with self._lock:
                self._running -= 1
        compare(diagnosis, run)
        return run

    def _diagnose(self):
        with self._lock:
            is_alone = self._running == 0 # otherwise a run changes files at the same time
            diagnosis = self._examine_without_a_change() if is_alone else self.examine()
            self._running += 1
        return diagnosis

    def _examine_without_a_change(self):
        case = self.cases.name(self)
        diagnosis = self.cases.find(case)
        if diagnosis is None:
            before = self.prefix.list_own_files()
            diagnosis = self.examine()
            after = self.prefix.list_own_files()
            changed = {name for name in before.keys() | after.keys() if before.get(name) != after.get(name)}
            if changed:
                raise AssertionError(f"the doctor has changed {sorted(changed)}")
            self.cases.keep(case, diagnosis)
        return diagnosis


def compare(diagnosis, run):
    """Fails if the run did not end as the doctor has said."""
    if run.exit_code in UNKNOWABLE:
        agrees = diagnosis.result not in (None, PROXY_S_NOT_OPTED_IN)
    else:
        agrees = diagnosis.result == run.exit_code
    if not agrees:
        said = RESULT_NAMES.get(diagnosis.result, diagnosis.result)
        raise AssertionError(f"the doctor said {said}, the run ended with {run.result}: {diagnosis.report}")
