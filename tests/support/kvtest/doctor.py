"""The doctor beside the program of an end-to-end test: before each run it says what the run will do, and changes nothing."""

import json
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
    "test_installed_program.InstalledProgramTests": "the program is that of the archive, in a folder of its own",
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


class ExaminedProduct(Product):
    """A product with the doctor, which examines it before each run of its program. A run that does not end as the doctor
    has said, and a file that the doctor changes, is a failure."""

    def __init__(self, prefix, files, folder="C:\\Product"):
        super().__init__(prefix, files, folder)
        self.doctor = f"{folder}\\bin\\{DOCTOR_NAME}"
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
        diagnosis = self._examine_without_a_change()
        try:
            run = super().start_command_line(command_line, host, longest_ms)
        finally:
            with self._lock:
                self._running -= 1
        compare(diagnosis, run)
        return run

    def _examine_without_a_change(self):
        with self._lock:
            is_alone = self._running == 0 # otherwise a run changes files at the same time
            before = self.prefix.list_own_files()
            diagnosis = self.examine()
            after = self.prefix.list_own_files()
            self._running += 1
        if is_alone:
            changed = {name for name in before.keys() | after.keys() if before.get(name) != after.get(name)}
            if changed:
                raise AssertionError(f"the doctor has changed {sorted(changed)}")
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
