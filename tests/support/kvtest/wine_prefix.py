"""Wine prefixes for black-box tests: each test has one of its own, without changes by earlier tests."""

import hashlib
import os
import pathlib
import re
import shutil
import stat
import tempfile
import threading

from kvtest import wine

# If the process of the tests was killed, the server of its prefix ends after this.
LINGER_SECONDS = 60
PROGRAM_SECONDS = 45
# Wine's files of this size or more are shared by all prefixes and never written.
SHARED_BYTES = 65536
SYSTEM_FOLDER = "drive_c/windows"
REGISTRY_FILE = re.compile(r".*\.reg|reg[0-9a-f]+\.tmp")


def _wine_succeeding(tree, *arguments):
    """The output of scripts/wine, and an error when it fails."""
    status, output = wine.run(tree, *arguments, seconds=PROGRAM_SECONDS)
    if status != 0:
        raise RuntimeError(f"wine {' '.join(map(str, arguments))} ended with {status}: {output}")
    return output


class WinePrefix:
    """A prefix with its server running; closing it ends its processes and removes it.

    work: folder of the prefixes and of their template, which the first one creates.
    """

    def __init__(self, work):
        work = pathlib.Path(work)
        template = work / "template"
        template.mkdir(parents=True, exist_ok=True)
        _wine_succeeding(template, "create")
        self._tree = pathlib.Path(tempfile.mkdtemp(prefix="prefix-", dir=work))
        self.folder = self._tree / "wine-prefix"
        self._undo = []
        self._settings = []
        self._is_spoilt = False
        try:
            _copy(template / "wine-prefix", self.folder)
            self.start()
        except BaseException:
            self.close()
            raise
        self._files = self._list_files()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    product_folder = "C:\\Product"
    common_data = "C:\\ProgramData"

    @property
    def scratch(self):
        """A folder that is removed with the prefix but is not part of it."""
        return self._tree

    @property
    def drive_c(self):
        return self.folder / "drive_c"

    @property
    def local_app_data(self):
        """The user's local application data."""
        return wine.local_app_data(self.folder)

    def path(self, windows_path):
        """The file that programs know by this name, which must be on drive C."""
        return wine.from_windows(self.folder, windows_path)

    def host_path(self, host):
        """The file that is to be the host of that name."""
        return self.path(host)

    def run_host(self, host, _stand_in, *arguments):
        """The output of a stand-in of the host that is in its place."""
        return self.run(host, *arguments)

    def start(self):
        """Starts the server, so that programs start fast; otherwise each starts the whole system first."""
        self._wine("start", str(LINGER_SECONDS))

    def stop(self):
        """Ends every process of the prefix, which writes the registry to its files."""
        self.spoil()
        self._wine("stop")

    def close(self):
        self.stop()
        shutil.rmtree(self._tree, ignore_errors=True)

    def run(self, *command):
        """The output of a program that must end with 0."""
        self._note(command)
        return self._wine("run", *command)

    def run_for_both(self, *command):
        """The eight bits of a program's exit code that a Unix shell sees, and its output."""
        self._note(command)
        for _ in range(5):
            status, output = wine.end(wine.start(self._tree, "run", *command, seconds=PROGRAM_SECONDS),
                                      PROGRAM_SECONDS + wine.SETUP_SECONDS)
            if not wine.has_stumbled(status, output):
                return status, output
        raise RuntimeError(f"wine {' '.join(command)} lost the exit code each time")

    def _note(self, command):
        """Programs of the system, which are started by their bare names, may change settings."""
        if "\\" not in str(command[0]):
            self._settings.append(tuple(map(str, command)))

    def differences(self):
        """In what the prefix differs from a new one: files, with their content, and imported settings. Equal for prefixes
        that nothing in a run can tell apart. None if that is unknown."""
        if self._is_spoilt:
            return None
        files = self.list_own_files()
        known = {name: facts for name, facts in self._files.items() if not _is_below(name, SYSTEM_FOLDER)}
        changed = sorted(name for name in files.keys() | known.keys() if files.get(name) != known.get(name))
        if any((self.folder / name).is_symlink() for name in changed):
            return None
        return tuple((name, self._content(name)) for name in changed), tuple(self._settings)

    def _content(self, name):
        path = self.folder / name
        if path.is_dir():
            return "folder"
        return path.read_bytes() if path.exists() else None

    def list_own_files(self):
        """What is known without reading, of all but the registry files and the system's folder, which has most files."""
        return self._list_files(pruned=self.folder / SYSTEM_FOLDER)

    def run_for_status(self, *command):
        """The eight bits of a program's exit code that a Unix shell sees."""
        return self.run_for_both(*command)[0]

    def import_registry(self, *lines, undo=None):
        """Imports lines of a .reg file, without its first one. undo: the lines that revert them."""
        if undo is None:
            self.spoil()
        elif undo not in self._undo:
            self._undo.append(undo)
        self._settings.append(lines)
        file = self._tree / "import.reg"
        file.write_text("Windows Registry Editor Version 5.00\n\n" + "\n".join(lines) + "\n", encoding="utf-16")
        self._wine("run", "regedit", "/S", wine.to_windows(file))

    def spoil(self):
        """To be called for a change that restore() cannot revert."""
        self._is_spoilt = True

    def restore(self):
        """Reverts the changes of files and registry. False if the prefix must not be used again."""
        if self._is_spoilt:
            return False
        if self._undo:
            self.import_registry(*(line for lines in self._undo for line in lines), undo=self._undo[0])
            self._undo.clear()
        self._settings.clear()
        self._remove_new_files()
        return self._list_files() == self._files

    def _remove_new_files(self):
        for name in self._list_files().keys() - self._files.keys():
            path = self.folder / name
            if path.is_dir() and not path.is_symlink():
                shutil.rmtree(path)
            else:
                path.unlink(missing_ok=True) # it may have been removed with its folder

    def _list_files(self, pruned=None):
        """What is known without reading, of all but the registry files: the server writes each at any time, to a temporary
        file first."""
        facts = {}
        for folder, folders, files in os.walk(self.folder):
            if pruned is not None and pathlib.Path(folder) == pruned:
                folders.clear()
                continue
            for name in folders + [file for file in files if not REGISTRY_FILE.fullmatch(file)]:
                path = os.path.join(folder, name)
                status = os.lstat(path)
                is_file = stat.S_ISREG(status.st_mode)
                facts[os.path.relpath(path, self.folder)] = (status.st_mode, is_file and status.st_size,
                                                             is_file and status.st_mtime_ns)
        return facts

    def _wine(self, *arguments):
        try:
            return _wine_succeeding(self._tree, *arguments)
        except BaseException:
            self.spoil()
            raise

    def snapshot(self):
        """The whole content of the prefix, as {name: facts}; its server must have been stopped.

        Facts of a file are its size, its time and a hash; of Wine's images, which all prefixes share, only size and time. A
        registry file is compared by its content without the times that Wine updates at each start.
        """
        facts = {}
        for folder, folders, files in os.walk(self.folder):
            for name in folders + files:
                path = pathlib.Path(folder, name)
                facts[str(path.relative_to(self.folder))] = self._facts(path)
        return facts

    @staticmethod
    def _facts(path):
        if path.is_symlink():
            return ("link", os.readlink(path))
        status = path.stat()
        if path.is_dir():
            return ("folder",)
        if path.suffix == ".reg":
            return ("registry", _without_times(path.read_bytes()))
        content = "" if status.st_nlink > 1 else hashlib.sha256(path.read_bytes()).hexdigest()
        return ("file", status.st_size, status.st_mtime_ns, content)


def _is_below(name, folder):
    return name.startswith(f"{folder}/")


def _copy(source, target):
    """Copies a prefix whose server does not run. Links into its home point into that of the copy."""

    def copy_file(file, copy):
        if os.stat(file).st_size >= SHARED_BYTES and "/drive_c/" in file:
            os.link(file, copy)
        else:
            shutil.copy2(file, copy)

    shutil.copytree(source, target, symlinks=True, copy_function=copy_file)
    for folder, folders, _ in os.walk(target):
        for link in (pathlib.Path(folder, name) for name in folders):
            if link.is_symlink() and os.readlink(link) == str(source / "home"):
                link.unlink()
                link.symlink_to(target / "home")


def _without_times(registry):
    """Without the times of keys and of the display driver, which each desktop sets up again."""
    registry = re.sub(rb'(?m)^(#time=|"DriverDateData"=hex:)[0-9a-f,]+\n', b"", registry)
    return re.sub(rb"(?m)^(\[.*\]) [0-9]+$", rb"\1", registry)


class PrefixPool:
    """Prefixes that several threads use again and again; one is created when none is idle."""

    def __init__(self, work):
        self._work = work
        self._lock = threading.Lock()
        self._idle = []

    def take(self):
        with self._lock:
            if self._idle:
                return self._idle.pop()
        return WinePrefix(self._work)

    def give_back(self, prefix):
        if prefix.restore():
            with self._lock:
                self._idle.append(prefix)
        else:
            prefix.close()

    def close(self):
        while self._idle:
            self._idle.pop().close()
