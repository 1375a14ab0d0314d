"""bench growth [--repetitions N] [--write]

Measures what a hit and a log line cost by their number, and by the number of threads and processes at work, builds what it
needs first, and prints the medians as tables. --write puts the tables into docs/performance.md and a picture of them into
docs/growth.svg; the plotting library that this takes is installed then.

Everything measured goes to build/growth.json too. Ends with 1 when something cannot be measured or a hit or a line is lost,
with 0 otherwise.
"""
import argparse
import json
import statistics
import subprocess

import report
from bench import WORK, bench_program, run, start_collector
from kvtest.build import build
from kvtest.wine import SOURCE
from kvtest import wine

RESULT = SOURCE / "build" / "growth.json"
PLOT = SOURCE / "bench" / "plot.py"
PICTURE = SOURCE / "docs" / "growth.svg"
# Debian's, whose packages hold the plotting library.
PLOT_PYTHON = "/usr/bin/python3"

# By what the cost may grow, with the columns of its table: series, and what it is.
TABLES = {
    "items": (("track", "hit built and queued"), ("save", "saved"), ("load", "loaded"), ("send", "sent"),
              ("line", "log line")),
    "threads": (("track", "hit built and queued"), ("line", "log line")),
    "processes": (("track and save", "hit built, queued and saved"), ("line", "log line")),
}


def measure(repetitions):
    """Lines of the program, each with the median of its repetitions."""
    WORK.mkdir(parents=True, exist_ok=True)
    if wine.run(WORK, "start")[0] != 0:
        raise SystemExit("growth: no Wine prefix to measure in")
    try:
        start_collector()
        lines = run(bench_program("growth"), repetitions)
    finally:
        wine.run(WORK, "stop")
    for line in lines:
        line["median"] = statistics.median(line["us"])
    return lines


def tables(lines):
    """One Markdown table for each way to grow."""
    medians = {(line["by"], line["series"], line["count"]): line["median"] for line in lines}
    texts = []
    for by, columns in TABLES.items():
        counts = sorted({line["count"] for line in lines if line["by"] == by})
        rows = [[by, *(title for _, title in columns)]]
        rows += [[count, *(f"{medians[by, series, count]:.1f}" for series, _ in columns)] for count in counts]
        texts.append(report.markdown(rows))
    return "\n".join(texts)


def write(text):
    report.insert("growth", text)
    report.install(PLOT_PYTHON, "matplotlib", "python3-matplotlib")
    subprocess.run([PLOT_PYTHON, PLOT, RESULT, PICTURE], check=True)


def main():
    parser = argparse.ArgumentParser(prog="bench growth", description="Measures how the cost of hits and lines grows.")
    parser.add_argument("--repetitions", type=int, default=15, help="of each measurement, 15 without")
    parser.add_argument("--write", action="store_true", help="put tables and picture into docs")
    options = parser.parse_args()
    build("bench growth", "kv_bench")
    lines = measure(options.repetitions)
    RESULT.write_text(json.dumps({"machine": report.machine(), "lines": lines}, indent=1) + "\n")
    text = f"Microseconds for one, medians of {options.repetitions}. {report.machine()}\n\n{tables(lines)}"
    print(text)
    if options.write:
        write(text)


if __name__ == "__main__":
    main()
