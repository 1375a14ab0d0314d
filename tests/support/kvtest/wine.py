"""Programs under Wine, started by scripts/wine, and the names that they know files by."""

import os
import pathlib
import subprocess

SOURCE = pathlib.Path(__file__).resolve().parents[3]

# For the work of scripts/wine before it runs a program.
SETUP_SECONDS = 180
INTERNET_KEY = "HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings"


def to_windows(path):
    """The name by which programs know a file of this machine, on Windows its own."""
    return str(path) if os.name == "nt" else "Z:" + str(path).replace("/", "\\")


def from_windows(prefix, windows_path):
    """The file of this machine that programs in a prefix know by this name, which must be on drive C."""
    drive, rest = windows_path[:3], windows_path[3:]
    if drive.lower() != "c:\\":
        raise ValueError(f"{windows_path} is not on drive C")
    return prefix / "drive_c" / rest.replace("\\", "/")


def local_app_data(prefix):
    """The local application data of the prefix's user."""
    user, = (entry for entry in (prefix / "drive_c" / "users").iterdir() if entry.name != "Public")
    return user / "AppData" / "Local"


def registry_text(text):
    """A value as it is written in a .reg file."""
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def start(tree, action, *arguments, seconds=300):
    """Starts scripts/wine; a program that it runs is ended after so many seconds."""
    return subprocess.Popen([SOURCE / "scripts" / "wine", tree, action, *map(str, arguments)], env=_environment(seconds),
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            errors="replace")


def end(process, seconds=None):
    """Waits for what start() has started, at most so many seconds. Returns its exit code and its output."""
    try:
        output, _ = process.communicate(timeout=seconds)
    except BaseException:
        process.kill()
        process.wait()
        raise
    return process.returncode, output


def run(tree, action, *arguments, seconds=300):
    """Exit code and output of scripts/wine; 0 in place of an exit code that is lost (see has_stumbled)."""
    status, output = end(start(tree, action, *arguments, seconds=seconds), seconds + SETUP_SECONDS)
    return 0 if has_stumbled(status, output) else status, output


def set_registry(tree, key, name, kind, value):
    """Sets a value of the registry, by its type's name."""
    status, output = run(tree, "run", "reg", "add", key, "/v", name, "/t", kind, "/d", value, "/f")
    if status != 0:
        raise RuntimeError(f"{name} was not set: {output}")


def has_stumbled(status, output):
    """On a busy machine the process in which Wine has run a program occasionally fails at its own end, after the program has
    ended in good order. Nothing but the program's exit code is lost."""
    return status == 127 and "Inconsistency detected by ld.so" in output


def _environment(seconds):
    """Settings of this machine's user must not reach the programs under test."""
    environment = {name: value for name, value in os.environ.items()
                   if name.lower() not in ("http_proxy", "https_proxy", "all_proxy", "no_proxy", "tz")}
    environment["KV_WINE_TIMEOUT"] = str(int(seconds))
    return environment
