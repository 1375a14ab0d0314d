"""start-by-hand.hta without its window: its script, run by the system's script engine in a process at the host's path."""

import re

from kvtest.product import HOST, make_file
from kvtest.wine import to_windows

RESULT = "C:\\result.txt"


def place_script_engine(prefix):
    """Puts the script engine where the host of the device centre is expected. Only in a Wine prefix."""
    # The emulator prefers its own program of that name to a file, unless told otherwise, and knows its own files by a mark.
    prefix.import_registry("[HKEY_CURRENT_USER\\Software\\Wine\\DllOverrides]", '"mshta.exe"="native"')
    engine = prefix.path("C:\\windows\\system32\\wscript.exe").read_bytes()
    make_file(prefix.path(HOST), engine.replace(b"Wine builtin DLL", b"Copied for tests"))


def run_script(prefix, host, value, *lines):
    """Runs lines of JScript, which change nothing but files, and returns the text of that expression behind them."""
    result = prefix.path(RESULT)
    result.unlink(missing_ok=True)
    file = prefix.scratch / "script.js"
    file.write_text("\r\n".join((*lines, f'var file = new ActiveXObject("Scripting.FileSystemObject").CreateTextFile('
                                 f"{RESULT!r});", f"file.Write({value});", "file.Close();")), encoding="ascii")
    prefix.run(host, to_windows(file))
    return result.read_text(encoding="ascii")


def press_start(prefix, page, switches):
    """What the page with that Windows path shows when "Start" is pressed, with these switches of the program."""
    script, = re.findall(r'(?s)<script type="text/javascript">(.*?)</script>', prefix.path(page).read_text(encoding="ascii"))
    address = "file:///" + page.replace("\\", "/").replace(" ", "%20")
    window = (f'var elements = {{ switches: {{ value: "{switches}" }}, result: {{}} }};'
              f'var document = {{ URL: "{address}", getElementById: function (id) {{ return elements[id]; }} }};')
    return run_script(prefix, HOST, "elements.result.innerText", window, script, "StartByHand();").splitlines()


def exit_code_of(shown):
    """From the lines that the page shows."""
    return int(re.fullmatch(r"exit code 0x([0-9A-F]{8})", shown[1])[1], 16)
