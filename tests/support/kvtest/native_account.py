"""The account that runs the tests on Windows, in place of a Wine prefix.

The program sees the registry and the profile of the user who runs it, and nothing can redirect it. So its tests run only
in an account that belongs to them: one that KV_TEST_ACCOUNT names, that has no log settings and no files of the product.
All that a test has changed is restored at its end. What would change more than that account skips the test, with the
reason.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import threading
import unittest

from kvtest.native_registry import NativeRegistry, parse
from kvtest.product import HOST, LOGGING_KEY
from kvtest.wine import INTERNET_KEY

PROGRAM_SECONDS = 45
# Below HKEY_CURRENT_USER. Nothing else is changed.
OWN_KEYS = tuple(key.removeprefix("HKEY_CURRENT_USER\\") for key in (LOGGING_KEY, INTERNET_KEY))
# Runs with a hidden window until it is terminated.
IDLE = '"about:<hta:application showintaskbar=no windowstate=minimize>"'


class NativeAccount:
    """The tests' account for one test; closing it restores it. The operations are those of WinePrefix."""

    def __init__(self, work, registry, environment=os.environ):
        self._environment = environment
        self._registry = registry
        self.local_app_data = pathlib.Path(environment["LOCALAPPDATA"])
        self.common_data = environment["ProgramData"]
        self._product_data = self.local_app_data / "Norvik"
        self._refuse_foreign_account()
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="KVTest-", dir=work))
        # Its name is that of the data folder, which all users share.
        self.product_folder = str(self.scratch / self.scratch.name)
        self._shared_data = pathlib.Path(self.common_data) / "Norvik" / self.scratch.name

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _refuse_foreign_account(self):
        user = self._environment["USERNAME"]
        if self._environment.get("KV_TEST_ACCOUNT") != user:
            raise unittest.SkipTest("changes settings and files of the user: KV_TEST_ACCOUNT does not say that "
                                    f"{user} is an account for tests")
        self._registry.restore()  # what a killed run has left
        if self._registry.has_key(LOGGING_KEY.removeprefix("HKEY_CURRENT_USER\\")) or self._product_data.exists():
            raise RuntimeError(f"{user} has log settings or files of the product; an account for tests has none")

    def path(self, windows_path):
        """The file of that name, which must be in a folder of the test."""
        path = pathlib.Path(os.path.normpath(windows_path))
        if not any(folder in (path, *path.parents) for folder in (self.scratch, self._shared_data)):
            raise unittest.SkipTest(f"{windows_path} is a place of this computer, not of the test")
        return path

    def host_path(self, host):
        """The file that is to be the host of that name. The system's own host is started from its place; any other name
        only has to differ from it."""
        return self.scratch / "hosts" / pathlib.PureWindowsPath(host).name

    def run_host(self, host, stand_in, *arguments):
        """The output of a stand-in of the host. The program accepts only a process of the system's host as its parent, so
        the stand-in starts one and makes it the parent."""
        if host != HOST:
            self._refuse_system_folder(host)
            return self.run(self.host_path(host), *arguments)
        parent = self.scratch / "parent.txt"
        system = pathlib.PureWindowsPath(self._environment["SystemRoot"]) / "SysWOW64" / "mshta.exe"
        parent.write_bytes(f'"{system}" {IDLE}'.encode("utf-16-le"))
        return self.run(stand_in, *arguments, parent)

    @staticmethod
    def _refuse_system_folder(host):
        if "windows" in (part.lower() for part in pathlib.PureWindowsPath(host).parts):
            raise unittest.SkipTest(f"{host} is in a folder of the system, where tests put nothing")

    def run(self, *command):
        """The output of a program that must end with 0."""
        status, output = self._run(command)
        if status != 0:
            raise RuntimeError(f"{' '.join(map(str, command))} ended with {status}: {output}")
        return output

    def run_for_status(self, *command):
        """The low eight bits of a program's exit code."""
        return self.run_for_both(*command)[0]

    def run_for_both(self, *command):
        """The low eight bits of a program's exit code, and its output."""
        status, output = self._run(command)
        return status & 0xFF, output

    def _run(self, command):
        if command[0] in ("reg", "regedit"):
            raise unittest.SkipTest("imports settings without a note of what they replace")
        environment = {name: value for name, value in self._environment.items()
                       if name.lower() not in ("http_proxy", "https_proxy", "all_proxy", "no_proxy", "tz")}
        done = subprocess.run([str(part) for part in command], env=environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=PROGRAM_SECONDS, check=False,
                              encoding="utf-8", errors="replace")
        return done.returncode, done.stdout

    def import_registry(self, *lines, undo=None):
        """Imports lines of a .reg file, without its first one, if they concern the tests' own keys. They are noted and
        restored, so undo is not needed."""
        for line in lines:
            key = line.strip("[]").removeprefix("HKEY_CURRENT_USER\\")
            if line.startswith("[") and not any(f"{key}\\".startswith(f"{own}\\") for own in OWN_KEYS):
                raise unittest.SkipTest(f"changes {key}, which belongs to the system or to its emulator")
        self._registry.change(parse(lines))

    def list_own_files(self):
        """What is known without reading, of the files of the test and of the product."""
        paths = [path for folder in (self.scratch, self._product_data, self._shared_data) for path in folder.rglob("*")]
        return {str(path): (path.stat().st_mode, path.is_file() and path.stat().st_size,
                            path.is_file() and path.stat().st_mtime_ns) for path in paths}

    def differences(self):
        """Unknown: nothing is noted of what an account is like without changes."""

    def snapshot(self):
        """A whole computer cannot be compared before and after."""
        raise unittest.SkipTest("compares all files and settings of the system")

    def start(self):
        """There is no server to start."""

    def stop(self):
        """Nothing runs between two programs."""

    def spoil(self):
        """Whatever has been changed, restore() reverts it."""

    def close(self):
        self._registry.restore()
        for folder in (self._product_data, self._shared_data, self.scratch):
            shutil.rmtree(folder, ignore_errors=True)


class AccountPool:
    """The account, for one test at a time: there is only one."""

    def __init__(self, work):
        import winreg  # of Windows only
        self._work = pathlib.Path(work)
        self._work.mkdir(parents=True, exist_ok=True)
        self._registry = NativeRegistry(winreg, self._work / "registry-before-tests.json")
        self._turn = threading.Lock()

    def take(self):
        self._turn.acquire()
        try:
            return NativeAccount(self._work, self._registry)
        except BaseException:
            self._turn.release()
            raise

    def give_back(self, account):
        try:
            account.close()
        finally:
            self._turn.release()

    def close(self):
        """Nothing is kept."""
