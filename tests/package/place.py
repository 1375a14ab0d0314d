"""The folder outside this tree where the package is installed and used like by the author of a different program.

    place.py make     creates the folder, installs the package there, and moves the package
    place.py pack     creates the archives and the MSI, and unpacks the archives there
    place.py remove   removes it with everything in it

The environment names the results of the build: see CMakeLists.txt.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import zipfile

from kvtest.wine import SOURCE

BUILD = pathlib.Path(os.environ["KV_PACKAGE_BUILD"])
VERSION = os.environ["KV_PACKAGE_VERSION"]
HOST = os.environ["KV_PACKAGE_HOST"]
PROGRAM = pathlib.Path(os.environ["KV_PACKAGE_PROGRAM"])
# "mingw-w64" or "msvc".
COMPILER = os.environ["KV_PACKAGE_COMPILER"]
CONFIGURATION = os.environ["KV_PACKAGE_CONFIGURATION"]
# Of the compiler and its files.
SYSTEM = pathlib.Path("/usr")
BUILD_SECONDS = 540
# Where the package is installed first. The name has characters that a regular expression would take for its own.
FIRST = "first (x64)+1"

_NOTE = BUILD / "package-place.txt"


def run(*command, folder=None, **environment):
    """The output of a command that must succeed. Except on Windows, whose tools need more, it receives nothing of the
    caller's environment but PATH."""
    done = run_for_status(*command, folder=folder, **environment)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))} ended with {done.returncode}:\n{done.stdout[:8000]}")
    return done.stdout


def run_for_status(*command, folder=None, **environment):
    if os.name == "nt":
        environment = {**os.environ, **environment}
    else:
        environment = {"PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8", "HOME": str(folder or "/nonexistent"),
                       **environment}
    return subprocess.run(command, cwd=folder, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=BUILD_SECONDS, check=False, text=True, errors="replace")


def folder():
    """The folder of this run."""
    return pathlib.Path(_NOTE.read_text(encoding="utf-8"))


def package():
    """The installed package."""
    return folder() / "moved there later" / "package"


def install(component, prefix):
    run("cmake", "--install", BUILD, "--config", CONFIGURATION, "--component", component, "--prefix", prefix)


def make():
    remove()
    place = pathlib.Path(tempfile.mkdtemp(prefix="kv-package-")).resolve()
    _NOTE.write_text(str(place), encoding="utf-8")
    if SOURCE in place.parents:
        raise RuntimeError(f"{place} is not outside of {SOURCE}; choose another TMPDIR")
    install("development", place / FIRST)
    package().parent.mkdir()
    (place / FIRST).rename(package())


ARCHIVES = {"program": f"KVAnalyticsProxy-{VERSION}-x64.zip",
            "symbols": f"KVAnalyticsProxy-{VERSION}-x64-symbols.zip",
            "development": f"KVAnalytics-{VERSION}-x64-{COMPILER}.zip"}
INSTALLER = f"KVAnalyticsProxy-{VERSION}-x64.msi"


def archives():
    """The folder with everything that cpack makes."""
    return folder() / "archives"


def archive(component):
    """The unpacked archive of that component."""
    return folder() / component


def pack():
    run("cpack", "--config", BUILD / "CPackConfig.cmake", "-C", CONFIGURATION, "-B", archives(), folder=folder())
    for component, name in ARCHIVES.items():
        with zipfile.ZipFile(archives() / name) as packed:
            packed.extractall(archive(component))


def remove():
    if _NOTE.exists():
        shutil.rmtree(folder(), ignore_errors=True)
        _NOTE.unlink()


if __name__ == "__main__":
    {"make": make, "pack": pack, "remove": remove}[sys.argv[1]]()
