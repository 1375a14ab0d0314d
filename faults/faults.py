"""faults [--quick] [--every N] [--lanes N] [--no-build] [--work FOLDER] [ROW...]
faults --fault "KIND THREAD ORDINAL COUNT" [--place PLACE]

Makes every allocation and every system call of a whole run of the program fail, one run for each: once, three times in a
row, and from then on; on line, off line, and of a user who has opted out. Kills the program 200 times while it has its turn
at the queue file, and takes the names of its objects before it starts. Prints a table of what came of it, which
docs/reliability.md explains, and ends with 1 when a rule is broken.

ROW         new, runtime, call (what fails), each as ROW.once, ROW.three or ROW.forever, and these as ROW.HOW.PLACE (online,
            offline, optedout, optedout-default); kills; names. All without.
--every N   only every Nth fault
--quick     a few faults of each row
--fault     one run; prints its journal and what was found. KIND is n (operator new), m (what the
            compiler's runtime calls for itself) or c (a system call), COUNT 0 means from then on
--lanes N   runs at a time (2), each in a Wine prefix of its own

Builds what it runs first, unless told otherwise. The prefixes, the findings and the table stay in build/faults, or FOLDER.
"""
import argparse
import collections
import json
import queue
import random
import sys
import threading
from pathlib import Path

from kvtest import fault_model
from kvtest.build import build, built_program
from kvtest.wine import SOURCE
from lane import PLACES, Lane, LaneError

WORK = SOURCE / "build" / "faults"

KINDS = {"new": "n", "runtime": "m", "call": "c"}
TIMES = {"once": 1, "three": 3, "forever": 0}
KILLS, KILL_SEED = 200, 20141122
QUICK_FAULTS, QUICK_KILLS = 2, 6  # of a row
BASELINES = 3  # runs without a fault, whose events are counted
ROW_FORM = "{:26} {:>5} {:>5} {:>6} {:>6} {:>6} {:>6} {:>5} {:>5} {:>5} {:>5} {:>5} {:>5} {:>7} {:>5}"
HEADINGS = ("", "runs", "done", "other", "quiet", "crash", "printd", "hang", "lost", "(hits)", "twice", "torn", "inv.",
            "report", "again")

# The ten ways in which a name can be taken before the program starts: two for mutexes, six for mappings and, for the
# mutex of the queue file, held by a different program, the same two.
OBJECT = "KVAnalyticsProxy[PID]"
SQUATS = [
    *((f"queue mutex {how}", f"{how} Statlet_LumoLink1.0.0.0") for how in ("held", "event")),
    *((f"{block} mutex {how}", f"{how} {OBJECT}{name}Lock") for how in ("held", "event")
      for block, name in (("settings", "RegValues"), ("monitor", "ExtMonitor"))),
    *((f"{block} mapping {how}", f"{how} {OBJECT}{name}MappedFile")
      for how in ("event", "image", "reserved", "read-only", "small", "garbage")
      for block, name in (("settings", "RegValues"), ("monitor", "ExtMonitor"))),
]

Fault = collections.namedtuple("Fault", "kind thread ordinal count")
Case = collections.namedtuple("Case", "text place options")


def fail(text):
    sys.exit(f"faults: {text}")


class Row:
    """The outcomes of the runs of a row."""

    def __init__(self, name, allowed):
        self.name = name
        self.allowed = allowed  # kinds of findings that break no rule
        self.runs = self.excused = self.hits = self.own_hits = self.missed = 0
        self.ends = collections.Counter()
        self.kinds = collections.Counter()  # runs with a finding of that kind
        self.findings = []
        self._lock = threading.Lock()

    def add(self, case, outcome, expects_fault):
        is_killed = "kill" in case.options
        findings, excused = fault_model.judge(outcome, case.place.startswith("optedout"), is_killed)
        older, own = fault_model.lost_hits(outcome)
        with self._lock:
            self.runs += 1
            self.excused += excused
            self.hits += older
            self.own_hits += own
            self.missed += expects_fault and not outcome.journal.failed
            self.ends[outcome.end] += 1
            for kind in {finding.kind for finding in findings}:
                self.kinds[kind] += 1
            names = ", ".join(dict.fromkeys(name for *_, name in outcome.journal.failed))
            for finding in findings:
                self.findings.append((self.is_broken_by(finding.kind), f"{self.name}: {finding.kind}: {finding.text}"
                                      f" [{case.text}]{': ' + names[:100] if names else ''}"))

    def is_broken_by(self, kind):
        return kind not in self.allowed

    @property
    def is_broken(self):
        return any(count and self.is_broken_by(kind) for kind, count in self.kinds.items())

    def cells(self):
        done, quiet = self.ends[fault_model.DONE], self.ends[fault_model.QUIET]
        other = sum(self.ends[end] for end in (*fault_model.RESULTS, fault_model.KILLED) if end != fault_model.DONE)
        return (self.name, self.runs, done, other, quiet, *(self.kinds[kind] for kind in (
            fault_model.CRASH, fault_model.PRINTS, fault_model.HANGS, fault_model.LOST)), self.hits,
            *(self.kinds[kind] for kind in (fault_model.DOUBLED, fault_model.TORN, fault_model.INVENTED,
                                            fault_model.REPORTED)), self.excused)


class Lanes:
    """Several lanes that run the cases of one list."""

    def __init__(self, count, work):
        host, program = built_program("kv_fault_host"), built_program("kv_fault_program")
        # All prefixes are created at the same time.
        self._lanes = [None] * count
        errors = []

        def make(number):
            try:
                self._lanes[number] = Lane(work / f"lane{number}", host, program)
            except Exception as error:
                errors.append(error)
        self._run_all([threading.Thread(target=make, args=(number,)) for number in range(count)])
        if errors:
            self.close()
            raise errors[0]

    @staticmethod
    def _run_all(threads):
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()

    def close(self):
        for lane in filter(None, self._lanes):
            lane.close()

    def run(self, cases, take):
        """take(case, outcome) for each, on any thread."""
        rest = queue.SimpleQueue()
        for case in cases:
            rest.put(case)
        errors = []

        def work(lane):
            try:
                while not errors:
                    case = rest.get_nowait()
                    take(case, lane.run(case.place, **case.options))
            except queue.Empty:
                pass
            except Exception as error:
                errors.append(error)
        self._run_all([threading.Thread(target=work, args=(lane,)) for lane in self._lanes])
        if errors:
            raise errors[0]

    def run_one(self, place, **options):
        lane = self._lanes[0]
        return lane.run(place, **options), lane.journal_text()


def baselines(lanes, place):
    """Outcomes of runs without a fault, which must break no rule."""
    outcomes = []
    lanes.run([Case("no fault", place, {})] * BASELINES, lambda _, outcome: outcomes.append(outcome))
    opted_out = place.startswith("optedout")
    for outcome in outcomes:
        findings, _ = fault_model.judge(outcome, opted_out)
        expected = fault_model.NOT_OPTED_IN if opted_out else fault_model.DONE
        if findings or outcome.end != expected or not opted_out and fault_model.lost_hits(outcome) != (0, 0):
            fail(f"{place}: a run without a fault is not as it should be: {outcome.end}, {findings}")
    return outcomes


def faults_of(outcomes, kind, count):
    """A fault for each event that a run has."""
    most = collections.Counter()
    for outcome in outcomes:
        most |= outcome.journal.counts
    return [Fault(kind, thread, ordinal, count) for (event, thread), events in sorted(most.items()) if event == kind
            for ordinal in range(events)]


def thin_out(items, options):
    if options.quick:
        return items[::max(1, len(items) // QUICK_FAULTS)]
    return items[::options.every]


def fault_cases(lanes, options, known, kind, how, place):
    if place not in known:
        known[place] = baselines(lanes, place)
    faults = thin_out(faults_of(known[place], KINDS[kind], TIMES[how]), options)
    return [Case(f'--place {place} --fault "{fault.kind} {fault.thread} {fault.ordinal} {fault.count}"', place,
                 {"plan": " ".join(map(str, fault))}) for fault in faults]


def kill_cases(lanes, options, known):
    """As many ends at random moments of the load as of the save, and a little after each."""
    outcomes = known.setdefault("offline", None) or baselines(lanes, "offline")
    known["offline"] = outcomes
    chance = random.Random(KILL_SEED)
    cases = []
    for number in range(QUICK_KILLS if options.quick else len(range(0, KILLS, options.every))):
        turn = number % 2 + 1
        longest = max(outcome.journal.turns[turn - 1] for outcome in outcomes)
        moment = chance.randrange(int(longest * 1.1) + 1)
        cases.append(Case(f"killed {moment} us after turn {turn} began", "offline", {"kill": (turn, moment)}))
    return cases


def name_cases(options):
    cases = [Case(f"{name}, log {'on' if log else 'off'}, {place}", place, {"squats": (squat,), "log": log})
             for log in (False, True) for place in ("online", "offline") for name, squat in SQUATS]
    return thin_out(cases, options)


def all_rows():
    return [f"{kind}.{how}.{place}" for how in TIMES for kind in KINDS for place in PLACES] + ["kills", "names"]


def chosen_rows(wanted):
    rows = [row for row in all_rows() if not wanted or any(row == name or row.startswith(name + ".") or row.endswith("." + name)
                                                           for name in wanted)]
    for name in wanted:
        if not any(row == name or row.startswith(name + ".") or row.endswith("." + name) for row in all_rows()):
            fail(f"there is no row {name}")
    return rows


def allowed_in(name):
    """Kinds of findings that break no rule in a row. The compiler's runtime may crash without memory, but that must not
    cost a hit; and when every attempt fails, or the process is killed, hits in memory are lost."""
    allowed = set()
    if name.startswith("runtime."):
        allowed |= {fault_model.CRASH, fault_model.PRINTS}
    if name == "kills" or ".forever." in name:
        allowed.add(fault_model.LOST)
    return allowed


def run_row(lanes, options, known, name):
    if name == "kills":
        cases = kill_cases(lanes, options, known)
    elif name == "names":
        cases = name_cases(options)
    else:
        cases = fault_cases(lanes, options, known, *name.split(".", 2))
    row = Row(name, allowed_in(name))
    lanes.run(cases, lambda case, outcome: row.add(case, outcome, "plan" in case.options))
    return row


def run_one(lanes, options):
    outcome, journal = lanes.run_one(options.place, plan=options.fault)
    print(journal)
    findings, excused = fault_model.judge(outcome, options.place.startswith("optedout"))
    end = outcome.end if outcome.end == fault_model.HANG else f"0x{outcome.end:08X}"
    older, own = fault_model.lost_hits(outcome)
    print(f"ended with {end}; {len(outcome.arrivals)} hits arrived; {older} older and {own} own hits are nowhere; "
          f"{excused} again because their answer was lost")
    for finding in findings:
        print(f"{finding.kind}: {finding.text}")
    return 1 if findings else 0


def run_table(lanes, options):
    known = {}
    rows = []
    print(ROW_FORM.format(*HEADINGS), flush=True)
    with open(options.work / "findings", "w") as findings:
        for name in chosen_rows(options.rows):
            row = run_row(lanes, options, known, name)
            rows.append(row)
            print(ROW_FORM.format(*row.cells()) + ("  BROKEN" if row.is_broken else ""), flush=True)
            for is_broken, text in row.findings:
                print("BROKEN" if is_broken else "allowed", text, file=findings, flush=True)
    (options.work / "table.json").write_text(json.dumps(
        {row.name: dict(zip(HEADINGS[1:], row.cells()[1:]), own_hits_lost=row.own_hits, not_reached=row.missed)
         for row in rows}, indent=1))
    broken = [text for row in rows for is_broken, text in row.findings if is_broken]
    if broken:
        print("\n".join(text[:300] for text in broken[:20]) + f"\n{len(broken)} findings, all of them in "
              f"{options.work / 'findings'}")
    return 1 if broken else 0


def main():
    parser = argparse.ArgumentParser(prog="faults", description="The program under injected faults.")
    parser.add_argument("rows", nargs="*", metavar="ROW")
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--every", type=int, default=1)
    parser.add_argument("--lanes", type=int, default=2)
    parser.add_argument("--no-build", action="store_true")
    parser.add_argument("--work", type=Path, default=WORK)
    parser.add_argument("--fault")
    parser.add_argument("--place", choices=PLACES, default="online")
    options = parser.parse_args()
    if options.every < 1 or options.lanes < 1:
        parser.error("one at least")
    if not options.no_build:
        build("faults", "kv_faults")
    options.work.mkdir(parents=True, exist_ok=True)
    try:
        lanes = Lanes(1 if options.fault else options.lanes, options.work)
        try:
            return run_one(lanes, options) if options.fault else run_table(lanes, options)
        finally:
            lanes.close()
    except LaneError as error:
        fail(error)


if __name__ == "__main__":
    sys.exit(main())
