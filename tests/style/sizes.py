"""sizes.py SOURCE: no product file has more than 350 lines and no function of it more than 30; pages are 120 wide.

The facade's largest interface, whose operations are all alike, may be longer. In pages tables, and what is indented as
code, have the width of what they show.
"""

import itertools
import re
import sys
from pathlib import Path

PRODUCT = ("analytics_reporting", "device_manager", "doctor", "ga_client", "logging", "proxy", "utils", "winapi")
LONGEST_FILE = 350
LONGEST_FUNCTION = 30
WIDEST_PAGE = 120
LONG_FILES = {"winapi/KernelApi.h", "winapi/KernelApi.cpp"}
# What the line before an opening brace begins with when the brace opens no function.
NO_FUNCTION = re.compile(r"\s*(class|struct|union|enum|namespace|extern|template <[^>]*> (class|struct))\b")


def functions_of(lines):
    """(first line, number of lines in the braces) of whatever is in braces that have lines of their own."""
    for number, line in enumerate(lines):
        if line.strip() == "{" and not NO_FUNCTION.match(lines[number - 1]):
            closing = line.replace("{", "}")
            size = sum(1 for _ in itertools.takewhile(lambda inner: not inner.startswith(closing), lines[number + 1:]))
            yield number, size


def check_source(name, lines):
    if len(lines) > LONGEST_FILE and name not in LONG_FILES:
        yield f"{name}: {len(lines)} lines"
    for number, size in functions_of(lines):
        if size > LONGEST_FUNCTION:
            yield f"{name}:{number}: a function of {size} lines"


def check_page(name, lines):
    for number, line in enumerate(lines, 1):
        if len(line) > WIDEST_PAGE and not line.lstrip().startswith("|") and not line.startswith("    "):
            yield f"{name}:{number}: {len(line)} characters"


def check(root):
    for folder in PRODUCT:
        for path in sorted([*(root / folder).rglob("*.h"), *(root / folder).rglob("*.cpp")]):
            yield from check_source(str(path.relative_to(root)), path.read_text(encoding="utf-8").splitlines())
    for path in sorted([*root.glob("*.md"), *(root / "docs").rglob("*.md")]):
        yield from check_page(str(path.relative_to(root)), path.read_text(encoding="utf-8").splitlines())


def main():
    findings = list(check(Path(sys.argv[1])))
    print("\n".join(findings) if findings else "all within their bounds")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
