"""plot RESULT PICTURE: draws build/growth.json, the result of bench growth, as an SVG file."""
import json
import sys

import matplotlib

matplotlib.use("SVG")
from matplotlib import pyplot  # noqa: E402: after the choice of the output

PANELS = {
    "items": "items one after the other",
    "threads": "threads at work",
    "processes": "processes at work",
}
# The first character is matplotlib's name of the marker, the last is a colour of its cycle.
STYLES = {"track": "o-C0", "track and save": "P-C1", "save": "s-C2", "load": "^-C3", "send": "D-C4", "line": "x--C5"}


def main():
    result, picture = sys.argv[1:]
    with open(result, encoding="utf-8") as file:
        lines = json.load(file)["lines"]
    matplotlib.rcParams["svg.hashsalt"] = "growth"  # the same picture from the same numbers
    matplotlib.rcParams["svg.fonttype"] = "none"  # text stays text
    figure, panels = pyplot.subplots(1, len(PANELS), figsize=(12, 4.5), sharey=True, layout="constrained")
    for panel, (by, label) in zip(panels, PANELS.items()):
        for series in sorted({line["series"] for line in lines if line["by"] == by}):
            points = sorted((line["count"], line["median"]) for line in lines
                            if (line["by"], line["series"]) == (by, series))
            panel.plot(*zip(*points), STYLES[series], label=series)
        ticks = sorted({line["count"] for line in lines if line["by"] == by})
        panel.set_xscale("log", base=10 if by == "items" else 2)
        panel.set_yscale("log")
        panel.set_xticks(ticks, ticks)
        panel.set_xlabel(label)
        panel.grid(True, which="major", alpha=0.4)
        panel.legend()
    panels[0].set_ylabel("microseconds for one item, all together")
    figure.savefig(picture, metadata={"Date": None, "Creator": None})


if __name__ == "__main__":
    main()
