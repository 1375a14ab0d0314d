"""notices.py OUTPUT MAP...: writes the notices that must accompany what the compiler has linked into the programs.

Each MAP is the linker's map of a program. The text consists of the copyright files of the packages that the linked
libraries come from, and of the licences that these refer to.
"""

import argparse
import pathlib
import re

import runtimes

RULE = "=" * 80


def section(title, text):
    return f"{RULE}\n{title}\n{RULE}\n\n{text.strip()}\n\n"


def licences_named_in(texts):
    """The files of common licences to which the texts refer, without those that are names of others."""
    names = {name.rstrip(".") for text in texts
             for name in re.findall(rf"{runtimes.LICENCES}/([A-Za-z0-9.-]+)", text)}
    return sorted({(runtimes.LICENCES / name).resolve() for name in names})


def notices(packages):
    introduction = ("The programs contain parts of the following packages, which their compiler has linked in. Their\n"
                    "notices and licences follow. A notice covers its whole package, of which most is not in the programs.\n\n")
    for package in packages:
        introduction += f"    {package.name} {package.version}: {', '.join(package.files)}\n"
    texts = {package: package.copyright() for package in packages}
    return introduction + "\n" + \
        "".join(section(f"{package.name} {package.version}", text) for package, text in texts.items()) + \
        "".join(section(f"Licence {path.name}", path.read_text(encoding="utf-8"))
                for path in licences_named_in(texts.values()))


def main():
    parser = argparse.ArgumentParser(description="Writes the notices of third parties.")
    parser.add_argument("output", type=pathlib.Path)
    parser.add_argument("maps", nargs="+")
    arguments = parser.parse_args()
    # For the editors of Windows.
    content = notices(runtimes.packages(arguments.maps)).replace("\n", "\r\n").encode("utf-8-sig")
    # An unchanged file keeps its time.
    if not arguments.output.exists() or arguments.output.read_bytes() != content:
        arguments.output.write_bytes(content)


if __name__ == "__main__":
    main()
