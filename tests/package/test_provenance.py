"""The archives say what is in them and where it comes from: the notices of third parties and the bill of materials."""

import hashlib
import json
import pathlib
import re
import sys
import unittest

import place

sys.path.insert(0, str(place.SOURCE / "packaging"))
import runtimes # pylint: disable=wrong-import-position

NOTICES = "THIRD-PARTY-NOTICES.txt"
BILLS = {"program": pathlib.PurePath("KVAnalyticsProxy.spdx.json"),
         "development": pathlib.PurePath("share/KVAnalytics/KVAnalytics.spdx.json")}
# What g++ links into every program, by Debian's names.
LINKED = {"g++-mingw-w64-x86-64-posix": "libstdc++.a", "gcc-mingw-w64-x86-64-posix": "libgcc_eh.a",
          "mingw-w64-x86-64-dev": "libmingw32.a"}
MAP = place.PROGRAM.with_name(place.PROGRAM.name + ".map")


def version_of(package):
    return place.run("dpkg-query", "--show", "--showformat", "${Version}", package)


class NoticesTests(unittest.TestCase):
    def setUp(self):
        content = (place.archive("program") / NOTICES).read_bytes()
        self.assertEqual(content.count(b"\n"), content.count(b"\r\n"))
        self.text = content.decode("utf-8-sig").replace("\r\n", "\n")

    def test_each_linked_package_is_there_with_its_version_and_its_whole_copyright_file(self):
        for package, library in LINKED.items():
            self.assertRegex(self.text, rf"(?m)^    {re.escape(package)} {re.escape(version_of(package))}: "
                                        rf"(.*, )?{re.escape(library)}(,|$)")
            notice = pathlib.Path(f"/usr/share/doc/{package}/copyright").read_text(encoding="utf-8").strip()
            self.assertGreater(len(notice), 1000)
            self.assertIn(notice, self.text)

    def test_licences_that_the_notices_refer_to_are_there(self):
        licences = re.findall(r"(?m)^=+\nLicence (\S+)\n=+$", self.text)
        self.assertIn("GPL-3", licences)
        named = set(re.findall(r"/usr/share/common-licenses/([A-Za-z0-9.-]*[A-Za-z0-9])", self.text))
        self.assertEqual({pathlib.Path("/usr/share/common-licenses", name).resolve().name for name in named}, set(licences))
        for licence in licences:
            text = pathlib.Path("/usr/share/common-licenses", licence).read_text(encoding="utf-8").strip()
            self.assertIn(text, self.text, licence)

    def test_both_archives_have_the_same(self):
        self.assertEqual((place.archive("development") / "share" / "KVAnalytics" / NOTICES).read_bytes(),
                         (place.archive("program") / NOTICES).read_bytes())

    def test_each_library_of_which_a_member_is_used_belongs_to_a_listed_package(self):
        members, _, _ = MAP.read_text(encoding="utf-8").partition("\nMemory Configuration\n")
        used = {pathlib.Path(name).name for name in re.findall(r"(?m)^(/usr/\S+?\.a)\(", members)}
        listed = {name for package in runtimes.packages([MAP]) for name in package.files if name.endswith(".a")}
        self.assertLessEqual(set(LINKED.values()), used)
        self.assertEqual(listed, used)

    def test_map_without_libraries_is_refused(self):
        empty = place.folder() / "empty.map"
        empty.write_text("\nMemory Configuration\n", encoding="utf-8")
        with self.assertRaisesRegex(ValueError, "no library of third parties"):
            runtimes.packages([empty])

    def test_library_without_a_package_is_refused(self):
        stranger = place.folder() / "stranger.map"
        stranger.write_text("/usr/lib/no-package-has-this.a(member.o)\n\nMemory Configuration\n", encoding="utf-8")
        with self.assertRaises(Exception) as caught:
            runtimes.packages([stranger])
        self.assertIn("dpkg-query", str(caught.exception))


class BillTests(unittest.TestCase):
    """The fields and values of SPDX 2.3, and that they are true."""
    maxDiff = None

    def setUp(self):
        self.bills = {component: json.loads((place.archive(component) / name).read_text(encoding="utf-8"))
                      for component, name in BILLS.items()}

    def test_every_file_is_listed_with_its_sums(self):
        for component, name in BILLS.items():
            folder = place.archive(component)
            files = sorted(str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file())
            files.remove(str(name))
            listed = {entry["fileName"]: {sum_["algorithm"]: sum_["checksumValue"] for sum_ in entry["checksums"]}
                      for entry in self.bills[component]["files"]}
            self.assertEqual(listed, {f"./{file}": {"SHA1": hashlib.sha1((folder / file).read_bytes()).hexdigest(),
                                                    "SHA256": hashlib.sha256((folder / file).read_bytes()).hexdigest()}
                                      for file in files})

    def test_linked_packages_are_listed_with_their_versions(self):
        for component, bill in self.bills.items():
            linked = {entry["name"]: entry["versionInfo"] for entry in bill["packages"][1:]}
            self.assertEqual(linked, {package: version_of(package) for package in LINKED}, component)
            for entry in bill["packages"][1:]:
                self.assertIn(LINKED[entry["name"]], entry["sourceInfo"])
                reference, = entry["externalRefs"]
                self.assertEqual((reference["referenceCategory"], reference["referenceType"]), ("PACKAGE-MANAGER", "purl"))
                self.assertRegex(reference["referenceLocator"], rf"^pkg:deb/debian/{re.escape(entry['name'])}@"
                                                                rf"{re.escape(entry['versionInfo'])}\?arch=(all|amd64)$")

    def test_document_has_the_fields_that_the_format_requires(self):
        for bill in self.bills.values():
            self.assertEqual((bill["spdxVersion"], bill["dataLicense"], bill["SPDXID"]),
                             ("SPDX-2.3", "CC0-1.0", "SPDXRef-DOCUMENT"))
            self.assertRegex(bill["documentNamespace"], r"^https://[a-z.]+/spdx/[0-9a-f-]{36}$")
            self.assertRegex(bill["creationInfo"]["created"], r"^20\d\d-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
            for creator in bill["creationInfo"]["creators"]:
                self.assertRegex(creator, "^(Organization|Tool): .")
            # The format allows no others.
            self.assertEqual(bill.keys(), {"spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace",
                                           "creationInfo", "packages", "files", "relationships"})
            of_all = {"name", "SPDXID", "versionInfo", "downloadLocation", "filesAnalyzed", "licenseConcluded",
                      "licenseDeclared", "copyrightText"}
            own, *linked = bill["packages"]
            self.assertEqual(own.keys(), of_all | {"supplier", "packageVerificationCode", "licenseInfoFromFiles"})
            for entry in linked:
                self.assertEqual(entry.keys(), of_all | {"sourceInfo", "licenseComments", "externalRefs"})
                self.assertIs(entry["filesAnalyzed"], False)
            for entry in bill["files"]:
                self.assertEqual(entry.keys(), {"fileName", "SPDXID", "fileTypes", "checksums", "licenseConcluded",
                                                "licenseInfoInFiles", "copyrightText"})
                self.assertLessEqual(set(entry["fileTypes"]), {"BINARY", "ARCHIVE", "SOURCE", "TEXT"})

    def test_own_package_has_the_verification_code_of_its_files(self):
        for component, bill in self.bills.items():
            own = bill["packages"][0]
            self.assertEqual((own["versionInfo"], own["filesAnalyzed"]), (place.VERSION, True))
            self.assertEqual(own["packageVerificationCode"]["packageVerificationCodeExcludedFiles"],
                             [f"./{BILLS[component]}"])
            sums = sorted(sum_["checksumValue"] for entry in bill["files"] for sum_ in entry["checksums"]
                          if sum_["algorithm"] == "SHA1")
            self.assertEqual(own["packageVerificationCode"]["packageVerificationCodeValue"],
                             hashlib.sha1("".join(sums).encode()).hexdigest())

    def test_everything_is_related_to_the_own_package_by_unique_identifiers(self):
        for bill in self.bills.values():
            own, *linked = [entry["SPDXID"] for entry in bill["packages"]]
            files = [entry["SPDXID"] for entry in bill["files"]]
            for identifier in [own, *linked, *files]:
                self.assertRegex(identifier, r"^SPDXRef-[a-zA-Z0-9.-]+$")
            self.assertEqual(len({own, *linked, *files}), 1 + len(linked) + len(files))
            relations = [(entry["spdxElementId"], entry["relationshipType"], entry["relatedSpdxElement"])
                         for entry in bill["relationships"]]
            self.assertEqual(relations, [("SPDXRef-DOCUMENT", "DESCRIBES", own)] +
                             [(own, "CONTAINS", file) for file in files] + [(own, "STATIC_LINK", entry) for entry in linked])
