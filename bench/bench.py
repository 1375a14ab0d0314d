"""bench [--pairs N] [--write] [--sender] [ROW...]

Measures what the program costs, builds it first, and prints one table: each row is a ratio against a floor that is measured
in the same run, in turn with what it bounds, pair by pair. Shown are the median of the ratios and the range that holds the
middle 80 percent of them. Absolute times mean little (an emulator, a shared machine), ratios of one run do.

Programs are started and timed from the Windows side, in a prefix of their own, so that the emulator's start is not counted.
Everything measured goes to build/bench.json too, and with --write the table into docs/performance.md. With --sender the
table also has a comparable open-source sender, which is built here from Debian's packages of it; these are installed then.
ROW: a to h, all without. Ends with 1 when something cannot be measured, with 0 otherwise, whether or not the goals are met.
"""
import argparse
import json
import os
import shutil
import socketserver
import statistics
import sys
import threading

import report
import sender
from kvtest import wine
from kvtest.build import build, built_program
from kvtest.product import HOST, PROGRAM_NAME, PROXY_E_NOT_CALLED_BY_LUMO, PROXY_S_DONE, PROXY_S_NOT_OPTED_IN
from kvtest.wine import INTERNET_KEY, SOURCE, to_windows

WORK = SOURCE / "build" / "bench"
RESULT = SOURCE / "build" / "bench.json"

# Row: what is measured, against what, and the goal ("at most" a ratio, "at least" for the rate).
ROWS = {
    "a": ("a run that ends at the consent check", "an empty program", "<=", 1.2),
    "a.dlls": ("the same", "an empty program, same DLLs", None, None),
    "a.shell": ("the same without a configured data folder", "an empty program", None, None),
    "b": ("a run that ends at the caller check", "an empty program", "<=", 1.35),
    "b.calls": ("the same", "an empty program with the check's calls", None, None),
    "c": ("a trace scope, logging off", "the calls of its enable tests", "<=", 1.3),
    "d": ("a trace line to a file", "open, seek, write, close", None, None),
    "d.locks": ("the same", "the same inside the settings mutex", "<=", 1.15),
    "e.screen": ("building a screen view", "plain appends of its parts", "<=", 2),
    "e.session": ("building a session screen view", "plain appends of its parts", "<=", 2),
    "e.event": ("building an event", "plain appends of its parts", "<=", 2),
    "e.exception": ("building an exception", "plain appends of its parts", "<=", 2),
    "f": ("rate of draining 500 hits", "a bare loop of WinINet calls", ">=", 0.95),
    "g": ("saving and loading 1 MiB of queue", "writing and reading it", "<=", 2),
    "g.calls": ("the same", "all calls that this needs", None, None),
    "g.hits": ("saving and loading 500 usual hits", "all calls that this needs", "<=", 2),
    "h": ("peak working set of a full run", "an empty program, same DLLs", "<=", 1.25),
    "s.start": ("a comparable sender that sends nothing", "an empty program", None, None),
    "s.events": ("a comparable sender's run of 500 events", "the client's run of 500 hits", None, None),
}
HITS = 500  # the queue's limit
MOST_ALLOCATIONS = 2  # the hit itself, and one more
PROGRAM_SECONDS = 900
LOOKED_AT_MS = 50  # long enough to read a working set


def fail(text):
    sys.exit(f"bench: {text}")


def run(program, *arguments):
    """The JSON lines that a program prints."""
    status, output = wine.run(WORK, "run", program, *arguments, seconds=PROGRAM_SECONDS)
    if status != 0:
        fail(f"{program} {arguments} ended with {status}: {output}")
    return [json.loads(line) for line in output.splitlines() if line.startswith("{")]


def bench_program(name):
    return built_program(f"kv_bench_{name}")


def program_bytes():
    return built_program("KVAnalyticsProxy").stat().st_size


class Collector(socketserver.BaseRequestHandler):
    """Accepts every POST, as a proxy before the collection host. Closes each connection, since
    WinINet under Wine keeps those to a proxy and never uses them again."""

    def handle(self):
        with self.request.makefile("rb") as request:
            size = 0  # hits have no body
            line = request.readline()
            while line not in (b"\r\n", b""):
                name, _, value = line.partition(b":")
                if name.lower() == b"content-length":
                    size = int(value)
                line = request.readline()
            if not line or len(request.read(size)) != size:
                return
        self.server.accepted += 1
        self.request.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")


class CollectorServer(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True
    request_queue_size = 64
    accepted = 0


def start_collector():
    server = CollectorServer(("127.0.0.1", 0), Collector)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    wine.set_registry(WORK, INTERNET_KEY, "ProxyEnable", "REG_DWORD", 1)
    wine.set_registry(WORK, INTERNET_KEY, "ProxyServer", "REG_SZ", f"127.0.0.1:{server.server_address[1]}")
    return server


def install(name, data_folder, opted_in):
    """A product folder with the program in it; the program's path as Windows sees it."""
    product = WORK / name
    shutil.rmtree(product, ignore_errors=True)
    (product / "bin").mkdir(parents=True)
    shutil.copy(built_program("KVAnalyticsProxy"), product / "bin")
    lines = ["[Analytics]", "PropertyIDPrefix=NV-1000-", "UseSSL=false"]
    if data_folder:
        lines += ["[Directories]", "DataFolder=C:\\no such folder"]
    (product / "config.ini").write_text("\r\n".join(lines) + "\r\n")
    if opted_in:
        (product / "bin" / "NorvikCustPartic.exe").touch()
    return f'"{to_windows(product / "bin" / PROGRAM_NAME)}" /linkid bench /connection USB'


def with_dlls(loaded, milliseconds):
    """An empty program that loads the same DLLs, and stays for so long."""
    return f'"{to_windows(bench_program("modules"))}" {milliseconds} {" ".join(sorted(loaded["modules"]))}'


def measure_starts(rows, pairs):
    """Rows a and b. A start takes milliseconds: three times the pairs."""
    launcher = bench_program("launcher")
    empty, caller = (f'"{to_windows(bench_program(name))}"' for name in ("empty", "caller"))
    declined, consenting = install("declined", True, False), install("consenting", True, True)
    loaded, = run(launcher, "modules", "a", hex(PROXY_S_NOT_OPTED_IN), declined)
    for row, program, code, floor in (
            ("a", declined, PROXY_S_NOT_OPTED_IN, empty),
            ("a.dlls", declined, PROXY_S_NOT_OPTED_IN, with_dlls(loaded, 0)),
            ("a.shell", install("unconfigured", False, False), PROXY_S_NOT_OPTED_IN, empty),
            ("b", consenting, PROXY_E_NOT_CALLED_BY_LUMO, empty),
            ("b.calls", consenting, PROXY_E_NOT_CALLED_BY_LUMO, caller)):
        if row[0] in rows:
            yield from run(launcher, "times", row, hex(code), program, floor, 3 * pairs)
            yield from run(launcher, "modules", row, hex(code), program)
    if {"a", "b"} & set(rows):
        yield from run(launcher, "modules", "empty", "0", empty)


def measure_memory(pairs):
    """Row h: the program must be a child of the host that it expects."""
    host = wine.from_windows(WORK / "wine-prefix", HOST)
    host.parent.mkdir(exist_ok=True)
    shutil.copy(bench_program("launcher"), host)
    program = install("reporting", True, True)
    loaded, = run(HOST, "modules", "h", hex(PROXY_S_DONE), program)
    return [loaded, *run(HOST, "memory", "h", hex(PROXY_S_DONE), program, with_dlls(loaded, LOOKED_AT_MS), pairs)]


def measure_sender(server, pairs):
    """Rows s: a run that sends nothing, and one that sends as many events as the queue has hits."""
    program = sender.build(WORK)
    launcher, empty = bench_program("launcher"), to_windows(bench_program("empty"))
    command = f'"{to_windows(program)}" {{}} {server.server_address[1]}'
    drain = f'"{to_windows(bench_program("drain"))}" once'
    lines = run(launcher, "times", "s.start", 0, command.format(0), f'"{empty}"', 3 * pairs)
    before = server.accepted
    lines += run(launcher, "times", "s.events", 0, command.format(HITS), drain, pairs)
    if server.accepted - before != 2 * HITS * (pairs + 1):  # one run of each is not measured
        fail(f"{server.accepted - before} hits and events have arrived")
    return lines


def measure(rows, pairs):
    """The measurements of all programs, by row."""
    results = {}
    lines = list(measure_starts(rows, pairs))
    for row, name in (("cd", "trace"), ("e", "hits"), ("f", "drain"), ("g", "queue")):
        if set(row) & set(rows):
            lines += run(bench_program(name), pairs)
    if "h" in rows:
        lines += measure_memory(pairs)
    for line in lines:
        results.setdefault(line.pop("row"), {}).update(line)
    return results


def summarize(row, result):
    """Adds median and spread of the ratios."""
    compare = ROWS[row][2]
    ratios = sorted(floor / measured if compare == ">=" else measured / floor for measured, floor in result["pairs"])
    edge = len(ratios) // 10
    result["ratio"] = statistics.median(ratios)
    result["spread"] = [ratios[edge], ratios[-1 - edge]]
    result["measured"] = statistics.median(pair[0] for pair in result["pairs"])
    result["floor"] = statistics.median(pair[1] for pair in result["pairs"])
    result["goal"] = ROWS[row][3]
    met = None
    if compare is not None:
        met = result["ratio"] <= ROWS[row][3] if compare == "<=" else result["ratio"] >= ROWS[row][3]
        met = met and result.get("allocations", 0) <= MOST_ALLOCATIONS
    result["met"] = met


def verdict(row, result):
    """The goal and whether it is met, or nothing."""
    _, _, compare, goal = ROWS[row]
    text = "" if compare is None else f"{compare} {goal}  {'met' if result['met'] else 'MISSED'}"
    if "allocations" in result:
        text += f", {result['allocations']} allocations (<= {MOST_ALLOCATIONS})"
    return text


def page(results):
    """The table as it stands in docs/performance.md."""
    head = ["row", "measured", "against", "ratio", "80 % of the ratios", "goal"]
    rows = [[row, *ROWS[row][:2], f"{result['ratio']:.2f}", "{:.2f} to {:.2f}".format(*result["spread"]),
             verdict(row, result)] for row, result in results.items() if "pairs" in result]
    text = f"{report.machine()} The program has {program_bytes()} bytes.\n\n{report.markdown([head, *rows])}"
    return text + (f"\n{sender.describe(WORK)}\n" if "s.start" in results else "")


def print_table(results):
    print(f"{'row':12} {'measured':42} {'against':30} {'ratio':>6} {'80% of ratios':>16}  goal")
    for row, result in results.items():
        if "pairs" not in result:
            continue
        what, floor, _, _ = ROWS[row]
        spread = "{:.2f} to {:.2f}".format(*result["spread"])
        print(f"{row:12} {what:42} {floor:30} {result['ratio']:6.2f} {spread:>16}  {verdict(row, result)}")
    print(f"size of the program: {program_bytes()} bytes")
    if "s.start" in results:
        print(sender.describe(WORK))
    for row, result in results.items():
        if "modules" in result:
            print(f"loaded, {row}: {' '.join(result['modules'])}")


def main():
    parser = argparse.ArgumentParser(prog="bench", description="Measures what the program costs.")
    parser.add_argument("--pairs", type=int, default=15, help="pairs of runs a row, 15 without")
    parser.add_argument("--sender", action="store_true", help="measure a comparable open-source sender too")
    parser.add_argument("--write", action="store_true", help="put the table into docs/performance.md")
    parser.add_argument("rows", nargs="*", choices=[*"abcdefgh", []], help="rows to measure, all without")
    options = parser.parse_args()
    rows = options.rows or list("abcdefgh")
    build("bench", "kv_bench")
    # On one processor: sometimes a call to Wine's server takes several times as long because it wakes another one.
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
    WORK.mkdir(parents=True, exist_ok=True)
    if wine.run(WORK, "start")[0] != 0:
        fail("no Wine prefix to measure in")
    try:
        server = start_collector()
        results = measure(rows, options.pairs)
        if options.sender:
            for line in measure_sender(server, options.pairs):
                results[line.pop("row")] = line
    finally:
        wine.run(WORK, "stop")
    for row, result in results.items():
        if "pairs" in result:
            summarize(row, result)
    RESULT.write_text(json.dumps({"program_bytes": program_bytes(), "rows": results}, indent=1) + "\n")
    print_table(results)
    if options.write:
        report.insert("floors", page(results))


if __name__ == "__main__":
    main()
