"""An installed product, and the ways in which its program is started.

Where it is installed, and whose registry and profile the program sees, is the affair of the prefix: a Wine prefix, or
on Windows an account of the tests' own (kvtest.native_account).
"""

import hashlib
import os
import pathlib
import re
import tempfile
import threading
import typing

from kvtest import hits
from kvtest.build import built_program
from kvtest.wine import INTERNET_KEY, registry_text, to_windows

PROGRAM_NAME = "KVAnalyticsProxy.exe"
DOCTOR_NAME = "KVAnalyticsDoctor.exe"
HOST = "C:\\windows\\syswow64\\mshta.exe"
STAND_IN_WAITS_MS = 30000

PROXY_S_DONE = 0x03E8C0FB
PROXY_S_NOT_OPTED_IN = 0x03E8C0FF
PROXY_E_INIT_FAILED = 0x83E8C0FC
PROXY_E_START_FAILED = 0x83E8C0FD
PROXY_E_NOT_CALLED_BY_LUMO = 0x83E8C0FE
RESULT_NAMES = {value: name for name, value in list(globals().items()) if name.startswith("PROXY_")}

LOGGING_KEY = "HKEY_CURRENT_USER\\Software\\Norvik\\KV\\Logging"
ROOT_CERTIFICATES_KEY = "HKEY_CURRENT_USER\\Software\\Microsoft\\SystemCertificates\\Root\\Certificates"


class Run(typing.NamedTuple):
    exit_code: int
    elapsed_ms: int
    output: str = "" # normally empty: the program prints nothing

    @property
    def result(self):
        """The name of the exit code."""
        return RESULT_NAMES.get(self.exit_code, f"0x{self.exit_code:08X}")


class Files(typing.NamedTuple):
    """The programs that the build has created, and facts about them."""
    program: pathlib.Path
    host: pathlib.Path
    facts: pathlib.Path
    ending: pathlib.Path
    version: str
    collection_host: str
    doctor: pathlib.Path

    @classmethod
    def from_environment(cls):
        """From the variables that CMake sets for tests."""
        return cls(*(pathlib.Path(os.environ[f"KV_E2E_{name}"]) for name in ("PROGRAM", "HOST", "FACTS", "ENDING")),
                   os.environ["KV_E2E_VERSION"], os.environ["KV_E2E_COLLECTION_HOST"],
                   pathlib.Path(os.environ["KV_E2E_DOCTOR"]))

    @classmethod
    def from_build_tree(cls, tree):
        cache = dict(re.findall(r"(?m)^([A-Za-z_]+):[A-Z]+=(.*)$", (tree / "CMakeCache.txt").read_text()))
        targets = ("KVAnalyticsProxy", "kv_mshta", "kv_system_facts", "kv_ending")
        return cls(*(built_program(target, tree) for target in targets), cache["CMAKE_PROJECT_VERSION"],
                   cache["KV_COLLECTION_HOST"], built_program("KVAnalyticsDoctor", tree))


class Product:
    """A product folder with the program, and nothing else: no config.ini, no participation program, no host in its place."""
    _facts = None
    _facts_lock = threading.Lock()

    def __init__(self, prefix, files, folder=None):
        self.prefix = prefix
        self.files = files
        self.folder = folder or prefix.product_folder
        self.program = f"{self.folder}\\bin\\{PROGRAM_NAME}"
        self.default_data_folder = f"{prefix.common_data}\\Norvik\\" + self.folder.rpartition("\\")[2]
        place(files.program, prefix.path(self.program))

    @property
    def client_folder(self):
        """The folder of the client's files, which the program creates."""
        return self.prefix.local_app_data / "Norvik" / "Statlet" / "LumoLink" / self.files.version

    @property
    def queue_file(self):
        return self.client_folder / "Statlet_RequestQueue.txt"

    @property
    def profile_file(self):
        return self.client_folder / "LumoLink.ini"

    def client_id(self):
        """The client ID in the profile file."""
        return re.fullmatch(r"\[Users\]\r\nUUID=([^\r]*)\r\n", self.profile_file.read_bytes().decode("ascii"))[1]

    def queued_hits(self):
        """The lines of the queue file; each must end with a line feed."""
        content = self.queue_file.read_bytes().decode("ascii")
        lines = content.split("\n")
        if lines.pop() != "":
            raise ValueError("the last line of the queue file has no end")
        return lines

    def write_config(self, content):
        """Text or bytes of config.ini."""
        file = self.prefix.path(f"{self.folder}\\config.ini")
        file.write_bytes(content if isinstance(content, bytes) else content.replace("\n", "\r\n").encode("ascii"))

    def participation_program(self):
        return self.prefix.path(f"{self.folder}\\bin\\NorvikCustPartic.exe")

    def opt_out_mark(self, data_folder=None):
        return self.prefix.path(f"{data_folder or self.default_data_folder}\\NorvikCustPartic\\OptedOut")

    def opt_in(self):
        make_file(self.participation_program())

    def opt_out(self, data_folder=None):
        make_file(self.opt_out_mark(data_folder))

    def start(self, arguments="", host=HOST):
        """Runs the program as the child of a stand-in at that path, with exactly these arguments."""
        self.place_host(host)
        return self.start_command_line(self.command_line(arguments), host)

    def command_line(self, arguments=""):
        return f'"{self.program}" {arguments}' if arguments else f'"{self.program}"'

    def place_host(self, host=HOST):
        place(self.files.host, self.prefix.host_path(host))

    def start_command_line(self, command_line, host=HOST, longest_ms=STAND_IN_WAITS_MS):
        """Runs any program as the child of a stand-in that is already at its path."""
        # Closed before the stand-in reads it: Windows would not let a second process open it.
        descriptor, file = tempfile.mkstemp(dir=self.prefix.scratch, suffix=".txt")
        with os.fdopen(descriptor, "wb") as opened:
            opened.write(command_line.encode("utf-16-le", "surrogatepass"))
        try:
            output = self.prefix.run_host(host, self.files.host, to_windows(file), str(longest_ms))
        finally:
            os.unlink(file)
        told = re.search(r"^0x([0-9A-F]{8}) ([0-9]+)$", output, re.MULTILINE) # at a crash Wine prints lines too
        if told is None:
            raise RuntimeError(f"{host} printed no exit code but: {output}")
        return Run(int(told[1], 16), int(told[2]), (output[:told.start()] + output[told.end():]).strip())

    def send_to(self, port):
        """Sets the user's proxy to this port of 127.0.0.1."""
        self.prefix.import_registry(f"[{INTERNET_KEY}]", '"ProxyEnable"=dword:00000001',
                                    f'"ProxyServer"="127.0.0.1:{port}"',
                                    undo=(f"[{INTERNET_KEY}]", '"ProxyEnable"=-', '"ProxyServer"=-'))

    def trust(self, certificate):
        """Makes the user trust a certificate authority (DER)."""
        certificate_property, reserved = 32, 1
        element = b"".join(number.to_bytes(4, "little") for number in
                           (certificate_property, reserved, len(certificate))) + certificate
        name = hashlib.sha1(certificate).hexdigest().upper()
        key = f"{ROOT_CERTIFICATES_KEY}\\{name}"
        self.prefix.import_registry(f"[{key}]", f'"Blob"=hex:{element.hex(",")}', undo=(f"[-{key}]",))

    def log_to(self, file, categories, options, detail_level=15):
        """Switches the trace log of the user on."""
        self.set_logging(f"[{LOGGING_KEY}]", f'"LogFileName"={registry_text(file)}',
                         f'"LogCategories"=dword:{categories:08x}', f'"LogOptions"=dword:{options:08x}',
                         f'"LogInfoDetailLevel"=dword:{detail_level:08x}')

    def set_logging(self, *lines):
        """Lines of a .reg file whose keys are LOGGING_KEY or below it."""
        self.prefix.import_registry(*lines, undo=(f"[-{LOGGING_KEY}]",))

    def expected_hits(self, property_id="3", client_id=None):
        """The hits that a run of this prefix's user must send, with the facts that the system reports."""
        width, height, bits, language, country = self._system_facts()
        return hits.ExpectedHits(property_id, self.files.version, client_id or self.client_id(), f"{width}x{height}",
                                 f"{bits}-bit", f"{language}-{country}")

    def _system_facts(self):
        """Read once, since every prefix is a copy of the same template."""
        with Product._facts_lock:
            if Product._facts is None:
                Product._facts = self.prefix.run(to_windows(self.files.facts)).split()
            return Product._facts


def make_file(path, content=b""):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def place(file, target):
    """Copies the file. An existing one may run or be shared with other prefixes, so it is replaced, not overwritten."""
    content = file.read_bytes()
    if target.exists() and target.read_bytes() == content:
        return
    target.unlink(missing_ok=True)
    make_file(target, content)
