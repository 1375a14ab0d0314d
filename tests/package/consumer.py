"""Programs of other projects, built with the installed package."""

import os
import pathlib
import re
import shutil

import place


class Consumer:
    """A folder with sources, built with the package, a toolchain file or Visual Studio, and nothing else."""

    def __init__(self, name):
        self.folder = place.folder() / name
        self.build_folder = self.folder / "build"

    def make(self, files):
        """Replaces the folder's content by these files, {name: content}."""
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        for name, content in files.items():
            (self.folder / name).write_text(content, encoding="utf-8")

    def copy(self, folder):
        """Replaces the folder by a copy of that folder."""
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(folder, self.folder)

    def configure(self, toolchain="mingw-w64.cmake"):
        options = ("-G", "Ninja", "--toolchain", toolchain) if place.COMPILER != "msvc" else ("-A", "x64")
        return place.run("cmake", "-S", ".", "-B", "build", *options, f"-DCMAKE_PREFIX_PATH={place.package()}",
                         folder=self.folder)

    def build(self):
        place.run("cmake", "--build", "build", "--config", place.CONFIGURATION, folder=self.folder)

    def program(self, name):
        """Visual Studio has a folder for each configuration."""
        folder = self.build_folder / place.CONFIGURATION if place.COMPILER == "msvc" else self.build_folder
        return folder / f"{name}.exe"

    def strangers(self):
        """Files that the build has read and that are not the consumer's, the package's or the compiler's."""
        read = place.run("ninja", "-t", "deps", folder=self.build_folder)
        read = [line.strip() for line in read.splitlines() if line.startswith("    ")]
        linked = place.run("ninja", "-t", "inputs", "all", folder=self.build_folder).splitlines()
        return sorted(path for path in {self._absolute(name) for name in read + linked} if is_strange(path))

    def _absolute(self, name):
        # Ninja quotes names for the shell.
        return os.path.normpath(self.build_folder / name.strip("'"))


def is_strange(path):
    path = pathlib.Path(path)
    own = any(folder in path.parents for folder in (place.folder(), place.SYSTEM))
    return not own or place.SOURCE in path.parents or place.BUILD in path.parents


DOCUMENTS = place.package() / "share" / "KVAnalytics" / "docs"
# The pages of the libraries, without their extension, with the library that the example of each links.
LIBRARY_PAGES = {"analytics-reporting": "analytics_reporting", "device-manager": "device_manager", "ga-client": "ga_client",
                 "logging": "logging", "utils": "utils", "winapi": "winapi"}


def guide_files():
    """The files of the guide: each is a code block below its name."""
    return _files_of((DOCUMENTS / "using-the-libraries.md").read_text(encoding="utf-8"))


def _files_of(page):
    return dict(re.findall(r"^`([^`\n]+)`[^\n]*:\n\n```[a-z]+\n(.*?)^```$", page, re.MULTILINE | re.DOTALL))


class LibraryPage:
    """The page of a library: its example, what that prints, and the settings for it, if any."""

    def __init__(self, name):
        text = (DOCUMENTS / "libraries" / f"{name}.md").read_text(encoding="utf-8")
        self.library = LIBRARY_PAGES[name]
        (file, self.source), = _files_of(text).items()
        self.program = file.removesuffix(".cpp")
        self.output, = re.findall(r"^```text\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)
        self.settings = "".join(re.findall(r"^```reg\n(.*?)^```$", text, re.MULTILINE | re.DOTALL))
        self.headings = re.findall(r"^#+ (.*)$", text, re.MULTILINE)
