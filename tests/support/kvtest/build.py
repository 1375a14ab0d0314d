"""The build of what a script runs."""

import json
import pathlib
import subprocess
import sys

from kvtest.wine import SOURCE

RELEASE = SOURCE / "build" / "release"


def built_program(target, tree=RELEASE, configuration="Release"):
    """The program of that target where the build has put it, by the list that CMake has written. Ends the script if the
    tree does not have it."""
    listing = tree / f"programs-{configuration}.json"
    if not listing.is_file():
        sys.exit(f"no list of programs in the build tree: {listing} is missing; configure the tree first")
    programs = json.loads(listing.read_text(encoding="utf-8"))
    if target not in programs:
        sys.exit(f"{listing} names no program {target}")
    return pathlib.Path(programs[target])


def build(script, target):
    """Builds a target of the preset release. If that fails, ends the script with the output of the step that failed."""
    setup = f'cd "{SOURCE}" && . scripts/setup.sh && kv_setup'
    for command in (["sh", "-euc", setup], ["cmake", "--preset", "release"],
                    ["cmake", "--build", "--preset", "release", "--target", target]):
        step = subprocess.run(command, cwd=SOURCE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if step.returncode != 0:
            sys.exit(f"{script}: {step.stdout}\nthe build failed")
