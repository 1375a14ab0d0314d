"""soak [MINUTES [SEED]]

The endurance test: drives the engine and the client for so many minutes (2 without, 1 at least) against a network that
fails and heals and a log file that is locked from time to time, and compares what arrived, what is left and what was
logged with a model of what must be. First one process that lives long, whose handles, threads and memory must not grow,
then eight on one queue file. SEED decides what is done and what fails, not when: it is printed, and drawn without.

Builds what it runs first, and runs it in a Wine prefix of its own under build/soak, where the accounts of the processes,
their logs and the findings stay. Prints one table at the end; docs/soak.md explains its rows. Ends with 1 when anything is
not as it must be.
"""
import argparse
import random
import re
import shutil
import signal
import sys
import time

from failing_server import FailingServer
from kvtest import soak_model, wine
from kvtest.build import build, built_program
from kvtest.product import LOGGING_KEY
from kvtest.wine import INTERNET_KEY, SOURCE, to_windows

WORK = SOURCE / "build" / "soak"

PROCESSES = 8
KINDS = ("lost", "invented", "duplicate", "order", "queue time", "queue file", "log", "refused")

# The samples are taken between sessions, when no exchange is under way: a leak of a session or an exchange is a multiple of
# these.
MOST_HANDLES, MOST_THREADS = 2, 0
# A bare loop of the same WinINet calls leaks 915 bytes an exchange under Wine for a hit of 340 characters, less for a shorter
# one; a leaked hit is as much again.
MOST_BYTES_PER_EXCHANGE = 1024
# Half of the smallest block of the heap: a leaked block for each hit is more.
MOST_BYTES_PER_HIT = 16

# Entries, exits, and lines of level 0 or worse than that; each with its process.
LOG_CATEGORIES, LOG_OPTIONS = 0xEF0, 0x4000000


def fail(text):
    sys.exit(f"soak: {text}")


class Part:
    """One of the two parts: a folder through which its processes and this script communicate, and the outcome."""

    def __init__(self, name, seed, application):
        self.name = name
        self.folder = WORK / name
        self.log = self.folder / "trace.log"
        self.server = FailingServer(f"{seed}-{name}")
        self.findings = []
        self.accounts = []
        self.locks = self.queued_lines = 0
        self.cut = []
        self._application = application
        self._seed = seed
        self._lock = None
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        wine.set_registry(WORK, INTERNET_KEY, "ProxyEnable", "REG_DWORD", 1)
        wine.set_registry(WORK, INTERNET_KEY, "ProxyServer", "REG_SZ", f"127.0.0.1:{self.server.port}")
        wine.set_registry(WORK, LOGGING_KEY, "LogCategories", "REG_DWORD", LOG_CATEGORIES)
        wine.set_registry(WORK, LOGGING_KEY, "LogOptions", "REG_DWORD", LOG_OPTIONS)
        wine.set_registry(WORK, LOGGING_KEY, "LogFileName", "REG_SZ", to_windows(self.log))

    def start(self, mode, *arguments, seconds):
        return wine.start(WORK, "run", built_program("kv_soak_program"), mode, to_windows(self.folder), *arguments, seconds=seconds)

    def fail_and_heal(self):
        self.server.fail_and_heal()
        self._lock = self.start("lock", to_windows(self.log), self._seed, seconds=36000)

    def heal(self):
        self.server.heal()
        (self.folder / "unlock").touch()
        told = re.search("^locked ([0-9]+)$", self.end(self._lock), re.MULTILINE)
        self.locks = 0 if told is None else int(told[1])

    def wait_for(self, name, processes, seconds):
        """Waits until a process has created that file, one of them has ended, or the time is over."""
        end = time.monotonic() + seconds
        while not (self.folder / name).exists() and time.monotonic() < end:
            if any(process.poll() is not None for process in processes):
                return
            time.sleep(0.02)

    def end(self, process):
        """The output of a process, which must end with 0."""
        status, output = wine.end(process)
        if status != 0 and not wine.has_stumbled(status, output):
            self.findings.append(soak_model.Finding("refused", f"a process ended with {status}: {output}"))
        return output

    def judge(self):
        """Compares the outcome with the model."""
        self.server.close()
        self.accounts = [soak_model.Account(path.read_text()) for path in sorted(self.folder.glob("*.account"))]
        for account in self.accounts:
            self.findings += [soak_model.Finding("refused", f"{account.name}: {operation}") for operation in account.refused]
            for session in account.sessions:
                findings, cut = soak_model.check_session(session)
                self.findings += findings
                self.cut += cut
        queue_file, = WORK.glob(f"wine-prefix/drive_c/users/*/AppData/Local/Norvik/Statlet/{self._application}/1.0.0.0/"
                                "Statlet_RequestQueue.txt")
        left, findings = soak_model.read_queue_file(queue_file.read_bytes())
        self.findings += findings
        findings, discarded = soak_model.check_file(self.accounts, left)
        self.findings += findings
        if left:
            self.findings.append(soak_model.Finding("lost", f"{len(left)} hits were not sent at the end"))
        self.findings += soak_model.check_arrivals(self.server.arrivals, self.accounts, {*self.cut, *discarded, *left})
        if len(self.accounts) == 1:
            self.findings += soak_model.check_order_of_arrivals(self.server.arrivals, self.accounts[0])
        findings, self.queued_lines = soak_model.check_log(self.log.read_bytes().decode("utf-16-le"), self.accounts)
        self.findings += findings

    @property
    def tracks(self):
        return [track for account in self.accounts for track in account.tracks]

    @property
    def exchanges(self):
        return [exchange for account in self.accounts for exchange in account.exchanges]

    def count(self, kind):
        return sum(finding.kind == kind for finding in self.findings)


def run_long(seed, minutes):
    part = Part("long", seed, "SoakLong")
    part.fail_and_heal()
    seconds = int(minutes * 36)
    process = part.start("long", seed, seconds, int(minutes * 8000), seconds=minutes * 900 + 1500)
    part.wait_for("heal", [process], minutes * 900)
    part.heal()
    (part.folder / "healed").touch()
    part.end(process)
    part.judge()
    return part


def run_shared(seed, minutes):
    part = Part("shared", seed, "SoakShare")
    part.fail_and_heal()
    names = [f"p{number}" for number in range(PROCESSES)]
    limit = minutes * 900 + 1500
    processes = [part.start("share", name, seed * PROCESSES + number, int(2 + 2 * minutes), int(150 * minutes), seconds=limit)
                 for number, name in enumerate(names)]
    for name in names:
        part.wait_for(f"written-{name}", processes, limit)
    part.heal()
    # One after the other, so that the log file is free for the last lines of each.
    for name, process in zip(names, processes):
        (part.folder / f"drain-{name}").touch()
        part.end(process)
    part.end(part.start("drain", "drain", seconds=1500))
    part.judge()
    return part


def growth_rows(account):
    """Name, value, bound and verdict."""
    rows = []
    for stretch, unit, most in (("quiet", "hits", MOST_BYTES_PER_HIT), ("network", "exchanges", MOST_BYTES_PER_EXCHANGE)):
        samples = [sample for sample in account.samples if sample.stretch == stretch]
        try:
            handles, threads, memory = (soak_model.growth(samples, gauge, unit) for gauge in ("handles", "threads", "bytes"))
        except ValueError as error:
            rows.append((f"{stretch}: growth", str(error), "", False))
            continue
        for name, value, bound in (("handles", handles, MOST_HANDLES), ("threads", threads, MOST_THREADS)):
            rows.append((f"{stretch}: {name}", f"{value.early:.0f} to {value.late:.0f}", f"at most +{bound}",
                         value.late - value.early <= bound))
        rows.append((f"{stretch}: committed memory", f"{memory.each:.1f} bytes for each of the {unit}", f"at most {most}",
                     memory.each <= most))
    return rows


def met_rows(parts):
    """Events without which the run has shown nothing."""
    rows = []
    for name, count in (("hits dropped, the queue was full", lambda part: sum(track.state == "d" for track in part.tracks)),
                        ("hits cut off, no room at a load", lambda part: len(part.cut)),
                        ("hits that arrived again, their answer was lost", lambda part: soak_model.repeated(part.server.arrivals)),
                        ("hits taken over through the queue file",
                         lambda part: sum(len(load) for account in part.accounts for session in account.sessions
                                          for load in session.loads)),
                        ("times the log file was locked", lambda part: part.locks),
                        ("times log lines had to be queued", lambda part: part.queued_lines)):
        counts = [count(part) for part in parts]
        rows.append((name, counts, "some", sum(counts) > 0))
    for failure in parts[0].server.failures:
        counts = [part.server.failures[failure] for part in parts]
        rows.append((f"network failures: {failure}", counts, "some", sum(counts) > 0))
    return rows


def print_table(seed, minutes, parts):
    """True when everything is as it must be."""
    rows = [("hits tracked", [len(part.tracks) for part in parts], "", True),
            ("exchanges", [len(part.exchanges) for part in parts], "", True),
            ("hits accepted by the server", [sum(arrival.outcome == "accepted" for arrival in part.server.arrivals)
                                             for part in parts], "", True)]
    rows += met_rows(parts)
    for kind in KINDS:
        counts = [part.count(kind) for part in parts]
        rows.append((f"findings: {kind}", counts, "none", sum(counts) == 0))
    rows += growth_rows(parts[0].accounts[0])
    print(f"\n{minutes} minutes, seed {seed}\n{'':48} {'one process':>14} {'eight at once':>14}")
    for name, value, bound, is_met in rows:
        shown = f"{value[0]:>14} {value[1]:>14}" if isinstance(value, list) else f"{value:>29}"
        print(f"{name:48} {shown}  {bound:16} {'NOT MET' if not is_met else 'ok' if bound else ''}".rstrip())
    return all(row[3] for row in rows)


def main():
    parser = argparse.ArgumentParser(prog="soak", description="The endurance test of the engine and the client.")
    parser.add_argument("minutes", nargs="?", type=float, default=2)
    parser.add_argument("seed", nargs="?", type=int, default=random.randrange(1, 100000))
    options = parser.parse_args()
    if options.minutes < 1 or options.seed < 0:
        parser.error("one minute at least, and no negative seed")
    print(f"seed {options.seed}", flush=True)
    signal.signal(signal.SIGTERM, lambda *_: fail("ended from outside"))  # an exception: the prefix is stopped
    build("soak", "kv_soak")
    WORK.mkdir(parents=True, exist_ok=True)
    if wine.run(WORK, "start")[0] != 0:
        fail("no Wine prefix to run in")
    try:
        for folder in WORK.glob("wine-prefix/drive_c/users/*/AppData/Local/Norvik"):
            shutil.rmtree(folder)
        parts = [run(options.seed, options.minutes) for run in (run_long, run_shared)]
    finally:
        wine.run(WORK, "stop")
    with open(WORK / "findings", "w") as file:
        for part in parts:
            for finding in part.findings:
                print(f"{part.name}: {finding.kind}: {finding.text}", file=file)
    if any(part.findings for part in parts):
        shown = (WORK / "findings").read_text().splitlines()
        print("\n".join(line[:400] for line in shown[:20]) + f"\n{len(shown)} findings, all of them in {WORK / 'findings'}")
    return 0 if print_table(options.seed, options.minutes, parts) else 1


if __name__ == "__main__":
    sys.exit(main())
