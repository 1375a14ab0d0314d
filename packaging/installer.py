"""installer.py CONTENT PACKAGE --name --company --version --registry-key: makes PACKAGE, an MSI of the files in CONTENT.

CONTENT is the unpacked archive of the program: whatever is in the archive, the MSI installs. The installation is per
machine; its folder is the property INSTALLFOLDER. An installation over an older version, or over a different build of the
same version, replaces its files in the same folder. What the MSI has not brought, such as config.ini, stays.
"""

import argparse
import hashlib
import pathlib
import subprocess
import sys
import tempfile
import uuid
import xml.etree.ElementTree as xml

NAMESPACE = uuid.UUID("0e7b7d2d-9a39-4b7e-9d8f-5b6a6f2f4c11")
# The same in every version, so that each finds the ones before it.
UPGRADE_CODE = uuid.uuid5(NAMESPACE, "upgrade")


def identifier(kind, name):
    """A key of a table of the MSI: letters, digits and underscores."""
    return f"{kind}_{hashlib.sha1(name.encode('utf-8')).hexdigest()[:16]}"


def guid(name):
    return f"{{{uuid.uuid5(NAMESPACE, name)}}}".upper()


def files_of(folder):
    return sorted(path.relative_to(folder) for path in folder.rglob("*") if path.is_file())


def digest_of(folder, files):
    """Of all names and contents. Packages with different files are different products to the system."""
    digest = hashlib.sha256()
    for file in files:
        content = (folder / file).read_bytes()
        digest.update(f"{file.as_posix()}\0{len(content)}\0".encode("utf-8") + content)
    return digest.hexdigest()


class Description:
    """The description from which wixl makes the MSI."""

    def __init__(self, arguments):
        self._content = arguments.content
        self._arguments = arguments
        self._files = files_of(arguments.content)
        self._root = xml.Element("Wix", xmlns="http://schemas.microsoft.com/wix/2006/wi")
        self._components = []

    def text(self):
        product = xml.SubElement(self._root, "Product", Name=self._arguments.name, Language="1033", Codepage="1252",
                                 Id=guid(f"{self._arguments.version} {digest_of(self._content, self._files)}"),
                                 Manufacturer=self._arguments.company, Version=self._arguments.version,
                                 UpgradeCode=f"{{{UPGRADE_CODE}}}".upper())
        xml.SubElement(product, "Package", InstallerVersion="301", Compressed="yes", InstallScope="perMachine",
                       Manufacturer=self._arguments.company, Description=self._arguments.name)
        xml.SubElement(product, "Media", Id="1", Cabinet="files.cab", EmbedCab="yes")
        self._replace_other_versions(product)
        self._keep_folder(product)
        self._place_files(product)
        feature = xml.SubElement(product, "Feature", Id="Program", Title=self._arguments.name, Level="1",
                                 ConfigurableDirectory="INSTALLFOLDER", Absent="disallow")
        for component in self._components:
            xml.SubElement(feature, "ComponentRef", Id=component)
        return xml.tostring(self._root, encoding="unicode")

    def _replace_other_versions(self, product):
        """The system compares the first three numbers of a version only, so versions that differ in the fourth replace each
        other."""
        major, minor, build = map(int, self._arguments.version.split(".")[:3])
        next_version = f"{major}.{minor}.{build + 1}"
        upgrade = xml.SubElement(product, "Upgrade", Id=f"{{{UPGRADE_CODE}}}".upper())
        xml.SubElement(upgrade, "UpgradeVersion", Property="OLDERVERSION", Minimum="0.0.0", IncludeMinimum="yes",
                       Maximum=next_version, OnlyDetect="no")
        xml.SubElement(upgrade, "UpgradeVersion", Property="NEWERVERSION", Minimum=next_version, IncludeMinimum="yes",
                       OnlyDetect="yes")
        condition = xml.SubElement(product, "Condition", Message="A newer version is installed.")
        condition.text = "NOT NEWERVERSION"
        # Within the transaction: if the installation fails, the older version is restored.
        self._act(product, "RemoveExistingProducts", "InstallInitialize", "ProcessComponents")
        # Files of the older version are replaced even if their versions are equal or newer.
        xml.SubElement(product, "Property", Id="REINSTALLMODE", Value="amus")

    @staticmethod
    def _act(product, action, after, before, kind=None, condition=None):
        """wixl needs both neighbours: after one alone, it puts the action anywhere behind it."""
        sequence = xml.SubElement(product, "InstallExecuteSequence")
        step = xml.SubElement(sequence, kind or action, After=after, Before=before)
        if kind:
            step.set("Action", action)
        step.text = condition

    def _keep_folder(self, product):
        """The folder of the installed version is the default; INSTALLFOLDER of the command line comes before it."""
        former = xml.SubElement(product, "Property", Id="FORMERFOLDER")
        xml.SubElement(former, "RegistrySearch", Id="FormerFolder", Root="HKLM", Key=self._arguments.registry_key,
                       Name="InstallFolder", Type="raw", Win64="yes")
        xml.SubElement(product, "CustomAction", Id="KeepFolder", Property="INSTALLFOLDER", Value="[FORMERFOLDER]")
        self._act(product, "KeepFolder", "AppSearch", "LaunchConditions", "Custom", "FORMERFOLDER AND NOT INSTALLFOLDER")

    def _place_files(self, product):
        top = xml.SubElement(product, "Directory", Id="TARGETDIR", Name="SourceDir")
        programs = xml.SubElement(top, "Directory", Id="ProgramFiles64Folder")
        vendor = xml.SubElement(programs, "Directory", Id="VENDORFOLDER", Name=self._arguments.company)
        folder = xml.SubElement(vendor, "Directory", Id="INSTALLFOLDER", Name=self._arguments.folder_name)
        self._remember(vendor, "VendorFolder", "[VENDORFOLDER]")
        self._remember(folder, "InstallFolder", "[INSTALLFOLDER]")
        folders = {pathlib.PurePath("."): folder}
        for file in self._files:
            self._place_file(self._directory(folders, file.parent), file)

    def _directory(self, folders, path):
        if path not in folders:
            folders[path] = xml.SubElement(self._directory(folders, path.parent), "Directory",
                                           Id=identifier("folder", path.as_posix()), Name=path.name)
        return folders[path]

    def _component(self, parent, name):
        self._components.append(identifier("component", name))
        return xml.SubElement(parent, "Component", Id=self._components[-1], Guid=guid(name), Win64="yes")

    def _place_file(self, directory, file):
        # The same file has the same component in every version.
        component = self._component(directory, file.as_posix().lower())
        xml.SubElement(component, "File", Id=identifier("file", file.as_posix()), Name=file.name, KeyPath="yes",
                       Source=f"content/{file.as_posix()}")

    def _remember(self, directory, name, value):
        """Writes a folder to the registry. At the end the folder is removed if nothing else is in it."""
        component = self._component(directory, f"registry {name}")
        xml.SubElement(component, "RegistryValue", Root="HKLM", Key=self._arguments.registry_key, Name=name,
                       Type="string", Value=value, KeyPath="yes")
        xml.SubElement(component, "RemoveFolder", Id=f"Remove{name}", On="uninstall")


def main():
    parser = argparse.ArgumentParser(description="Makes an MSI of the files of a folder.")
    parser.add_argument("content", type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("package", type=pathlib.Path)
    for option in ("name", "company", "version", "folder-name", "registry-key"):
        parser.add_argument(f"--{option}", required=True)
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory() as work:
        # wixl finds files by their path from the description.
        (pathlib.Path(work) / "content").symlink_to(arguments.content)
        description = pathlib.Path(work) / "description.wxs"
        description.write_text(Description(arguments).text(), encoding="utf-8")
        return subprocess.run(["wixl", "--arch", "x64", "--output", arguments.package, description],
                              check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
