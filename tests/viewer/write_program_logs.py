"""write_program_logs.py BUILD_TREE FOLDER: logs that the program itself writes, one for each of several options.

The program runs for a user who opted out, once under each name of a file, because the log has settings for each. The logs,
which are named after their options, go to FOLDER.
"""

import pathlib
import shutil
import sys

from kvtest.product import LOGGING_KEY, Files, Product
from kvtest.wine_prefix import WinePrefix

INDENT, DURATION, COMPACT = 0x200000, 0x400000, 0x800000
PREFIXES = [1 << bit for bit in range(24, 30)]
EVERY_PREFIX = sum(PREFIXES)
EVERYTHING = 0x66000FF0
COMBINATIONS = [
    0, INDENT, DURATION, COMPACT, INDENT | DURATION, EVERY_PREFIX, EVERY_PREFIX | COMPACT, EVERY_PREFIX | INDENT | DURATION,
    EVERY_PREFIX | INDENT | DURATION | COMPACT,
    *PREFIXES, *(prefix | COMPACT for prefix in PREFIXES), *(EVERY_PREFIX ^ prefix | INDENT for prefix in PREFIXES),
]


def name_of(options):
    return f"p{options:08x}"


def settings_of(options):
    return [f"[{LOGGING_KEY}\\{name_of(options)}.exe]",
            f'"LogFileName"="C:\\\\Logs\\\\{name_of(options)}.log"',
            f'"LogCategories"=dword:{EVERYTHING:08x}', '"LogInfoDetailLevel"=dword:0000000f',
            f'"LogOptions"=dword:{options:08x}']


def main():
    tree, folder = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    work = tree / "tests" / "e2e" / "work"
    with WinePrefix(work) as prefix:
        (prefix.drive_c / "Logs").symlink_to(folder)
        product = Product(prefix, Files.from_build_tree(tree))
        product.opt_out()
        prefix.import_registry(*(line for options in COMBINATIONS for line in settings_of(options)))
        program = prefix.path(product.program)
        commands = []
        for options in COMBINATIONS:
            (program.parent / f"{name_of(options)}.exe").hardlink_to(program)
            commands.append(f"{product.folder}\\bin\\{name_of(options)}.exe")
        batch = prefix.drive_c / "all.bat"
        batch.write_text("".join(f"{command}\r\n" for command in ["@echo off", *commands, "exit 0"]), encoding="ascii")
        prefix.run("cmd", "/c", "C:\\all.bat")
    missing = [name for name in map(name_of, COMBINATIONS) if not (folder / f"{name}.log").exists()]
    if missing:
        sys.exit(f"no log of {', '.join(missing)}")


if __name__ == "__main__":
    main()
