"""write_program_logs.py BUILD_TREE FOLDER: logs that the program itself writes, one for each of several options.

The program runs for a user who opted out, once under each name of a file, because the log has settings for each. The logs,
which are named after their options, go to FOLDER. Eight more runs at once write one log there, eight.log.
"""

import concurrent.futures
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


PROCESSES = 8
SHARED = "eight"
SHARED_OPTIONS = EVERY_PREFIX | INDENT | DURATION


def name_of(options):
    return f"p{options:08x}"


def settings_of(name, options):
    return [f"[{LOGGING_KEY}\\{name}.exe]",
            f'"LogFileName"="C:\\\\Logs\\\\{name}.log"',
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
        settings = [(name_of(options), options) for options in COMBINATIONS] + [(SHARED, SHARED_OPTIONS)]
        prefix.import_registry(*(line for name, options in settings for line in settings_of(name, options)))
        program = prefix.path(product.program)
        for name, _ in settings:
            (program.parent / f"{name}.exe").hardlink_to(program)
        paths = [f"{product.folder}\\bin\\{name}.exe" for name in [*map(name_of, COMBINATIONS), *[SHARED] * PROCESSES]]
        with concurrent.futures.ThreadPoolExecutor(PROCESSES) as executor:
            list(executor.map(prefix.run_for_status, paths))
    missing = [name for name in [*map(name_of, COMBINATIONS), SHARED] if not (folder / f"{name}.log").exists()]
    if missing:
        sys.exit(f"no log of {', '.join(missing)}")


if __name__ == "__main__":
    main()
