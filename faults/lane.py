"""A Wine prefix with an installed product, in which the program with faults runs again and again."""

import collections
import shutil
import socket
import subprocess

from fault_server import FaultServer
from kvtest import fault_model, wine
from kvtest.product import HOST, LOGGING_KEY
from kvtest.wine import INTERNET_KEY, to_windows

PROGRAM = r"C:\Product\bin\KVAnalyticsProxy.exe"
DATA_FOLDER, DEFAULT_DATA_FOLDER = r"C:\Data", r"C:\ProgramData\Norvik\Product"
VERSION = "1.0.0.0"
JOURNAL_BYTES = 1 << 19

Place = collections.namedtuple("Place", "is_listening time_scale older_hits has_data_folder opted_out_folder")
# Time passes so many times faster that the exchanges on line still fit into the run's twelve seconds; off line the run waits
# for most of them. A user who opted out has the mark in the data folder that config.ini names, or in the default one.
PLACES = {
    "online": Place(True, 10, 5, True, None),
    "offline": Place(False, 50, 25, True, None),
    "optedout": Place(True, 10, 5, True, DATA_FOLDER),
    "optedout-default": Place(True, 10, 5, False, DEFAULT_DATA_FOLDER),
}
LIMIT_MS = 20000  # real time: the longest possible wait of a run takes some seconds of it


class LaneError(Exception):
    """The lane itself does not work."""


class Lane:
    """One run at a time. To be closed."""

    def __init__(self, folder, host, program):
        self._folder = folder
        self._prefix = folder / "wine-prefix"
        self._journal = folder / "journal"
        self._output = folder / "output"
        self._has_log = None
        self._folder.mkdir(parents=True, exist_ok=True)
        self.server = FaultServer()
        self._wine("start", "600")
        self._place(host, HOST)
        self._place(program, PROGRAM)
        self._write(wine.from_windows(self._prefix, r"C:\Product\bin\NorvikCustPartic.exe"), b"")
        self._client_folder = wine.local_app_data(self._prefix) / "Norvik" / "Statlet" / "LumoLink" / VERSION
        wine.set_registry(self._folder, INTERNET_KEY, "ProxyEnable", "REG_DWORD", 1)
        wine.set_registry(self._folder, INTERNET_KEY, "ProxyServer", "REG_SZ", f"127.0.0.1:{self.server.port}")
        self._start_host()

    def close(self):
        self._connection.close()
        try:
            self._host.wait(30)
        except subprocess.TimeoutExpired:
            self._host.kill()
        self._wine("stop")

    def run(self, place, plan="", squats=(), log=False, kill=None):
        """The outcome of one run; kill is (turn, microseconds)."""
        place = PLACES[place]
        self._set_log(log)
        self._reset(place)
        self.server.listen(place.is_listening)
        variables = {"KV_FAULT_PLAN": plan, "KV_FAULT_JOURNAL": to_windows(self._journal),
                     "KV_FAULT_TIME": place.time_scale}
        if kill is not None:
            variables["KV_FAULT_KILL_TURN"] = kill[0]
        fields = [f"{name}={value}" for name, value in variables.items() if value != ""]
        fields += [f"kill={kill[1]}"] if kill is not None else []
        fields += [f"squat={squat}" for squat in squats]
        fields += [f"limit={LIMIT_MS}", f"output={to_windows(self._output)}",
                   f'command="{PROGRAM}" /linkid {fault_model.LINK} /connection USB']
        end = self._ask("\t".join(fields))
        arrivals, connections = self.server.take()
        journal = fault_model.Journal(self._journal.read_bytes().decode("ascii"))
        if journal.unlisted:
            raise LaneError(f"not in the list of faults/SystemCalls.cpp: {', '.join(sorted(journal.unlisted))}")
        queue_file = self._client_folder / "Statlet_RequestQueue.txt"
        return fault_model.Outcome(place.older_hits, end, self._output.read_bytes(), journal, arrivals, connections,
                                   queue_file.read_bytes() if queue_file.exists() else None)

    def journal_text(self):
        return self._journal.read_bytes().rstrip(b"\0").decode("ascii")

    def _ask(self, job):
        self._connection.sendall(job.encode("ascii") + b"\n")
        answer = b""
        while not answer.endswith(b"\n"):
            received = self._connection.recv(4096)
            if not received:
                raise LaneError("the host has ended")
            answer += received
        text = answer.decode("ascii").strip()
        if text.startswith("error"):
            raise LaneError(text)
        return fault_model.HANG if text == "hang" else int(text, 16)

    def _start_host(self):
        with socket.socket() as listener:
            listener.bind(("127.0.0.1", 0))
            listener.listen(1)
            listener.settimeout(120)
            self._host = wine.start(self._folder, "run", HOST, listener.getsockname()[1], seconds=36000)
            self._connection, _ = listener.accept()
        self._connection.settimeout(LIMIT_MS / 1000 + 60)

    def _reset(self, place):
        settings = "[Analytics]\r\nPropertyIDPrefix=FAULTS-\r\nUseSSL=false\r\n"
        if place.has_data_folder:
            settings += f"[Directories]\r\nDataFolder={DATA_FOLDER}\r\n"
        self._write(wine.from_windows(self._prefix, r"C:\Product\config.ini"), settings.encode("ascii"))
        for folder in (DATA_FOLDER, DEFAULT_DATA_FOLDER):
            mark = wine.from_windows(self._prefix, folder + r"\NorvikCustPartic\OptedOut")
            if folder == place.opted_out_folder:
                self._write(mark, b"")
            else:
                mark.unlink(missing_ok=True)
        shutil.rmtree(self._client_folder.parents[1], ignore_errors=True)  # of every version
        self._write(self._client_folder / "LumoLink.ini", f"[Users]\r\nUUID={fault_model.CLIENT_ID}\r\n".encode("ascii"))
        self._write(self._client_folder / "Statlet_RequestQueue.txt", fault_model.older_file(place.older_hits))
        with open(self._journal, "wb") as file:
            file.truncate(JOURNAL_BYTES)

    def _set_log(self, on):
        if on == self._has_log:
            return
        self._has_log = on
        if on:
            wine.set_registry(self._folder, LOGGING_KEY, "LogCategories", "REG_DWORD", 0xFFF0)
            wine.set_registry(self._folder, LOGGING_KEY, "LogFileName", "REG_SZ", to_windows(self._folder / "trace.log"))
        else:
            wine.set_registry(self._folder, LOGGING_KEY, "LogCategories", "REG_DWORD", 0)  # so that the key exists
            self._wine("run", "reg", "delete", LOGGING_KEY, "/f")

    def _place(self, file, windows_path):
        path = wine.from_windows(self._prefix, windows_path)
        path.parent.mkdir(parents=True, exist_ok=True)
        path.unlink(missing_ok=True)
        shutil.copy(file, path)

    @staticmethod
    def _write(path, content):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)

    def _wine(self, action, *arguments):
        status, output = wine.run(self._folder, action, *arguments)
        if status != 0:
            raise LaneError(f"wine {action} ended with {status}: {output}")
