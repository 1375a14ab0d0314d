"""The build of what a script runs."""

import subprocess
import sys

from kvtest.wine import SOURCE

RELEASE = SOURCE / "build" / "release"


def build(script, target):
    """Builds a target of the preset release. If that fails, ends the script with the output of the step that failed."""
    setup = f'cd "{SOURCE}" && . scripts/setup.sh && kv_setup'
    for command in (["sh", "-euc", setup], ["cmake", "--preset", "release"],
                    ["cmake", "--build", "--preset", "release", "--target", target]):
        step = subprocess.run(command, cwd=SOURCE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        if step.returncode != 0:
            sys.exit(f"{script}: {step.stdout}\nthe build failed")
