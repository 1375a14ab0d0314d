"""The libraries of third parties that are linked into the programs, and the Debian packages that they come from."""

import pathlib
import re
import subprocess
import typing

DOCUMENTS = pathlib.Path("/usr/share/doc")
LICENCES = pathlib.Path("/usr/share/common-licenses")
# An object, alone or from a library, as the linker's map names it; programs of other compilers come with none.
LINKED = re.compile(r"^(?:LOAD )?(/[^()\n]+?\.(?:a|o))(?=\(|$)", re.MULTILINE)


class Package(typing.NamedTuple):
    """A Debian package and those of its files that are linked in."""
    name: str
    version: str
    architecture: str
    source: str
    source_version: str
    files: tuple

    def copyright(self):
        return (DOCUMENTS / self.name / "copyright").read_text(encoding="utf-8")


def linked_files(link_map):
    """The files that have contributed to a program, except those of its own build."""
    # The part before the memory map lists the members of libraries that are used; the rest lists all libraries.
    text = pathlib.Path(link_map).read_text(encoding="utf-8", errors="replace")
    members, _, memory = text.partition("\nMemory Configuration\n")
    starts = re.findall(r"^LOAD (/\S+\.o)$", memory, re.MULTILINE)
    own = pathlib.Path(link_map).resolve().parent
    found = {str(pathlib.Path(name).resolve()) for name in LINKED.findall(members) + starts}
    return {name for name in found if own not in pathlib.Path(name).parents and name.startswith("/usr/")}


def packages(link_maps):
    """The packages of everything that is linked into the programs with these maps, by name."""
    files = sorted(set().union(*map(linked_files, link_maps)))
    if not files:
        raise ValueError(f"no library of third parties in {' '.join(map(str, link_maps))}")
    owners = {}
    # Fails if a file belongs to no package.
    for line in _output("dpkg-query", "--search", *files).splitlines():
        owner, _, file = line.partition(": ")
        owners.setdefault(owner, []).append(pathlib.Path(file).name)
    return [_package(name, sorted(names)) for name, names in sorted(owners.items())]


def _package(name, files):
    fields = "${Package}\t${Version}\t${Architecture}\t${source:Package}\t${source:Version}"
    return Package(*_output("dpkg-query", "--show", "--showformat", fields, name).split("\t"), tuple(files))


def _output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
