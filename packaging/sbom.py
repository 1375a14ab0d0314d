"""sbom.py: writes the bill of materials of an archive in the format SPDX 2.3, as JSON.

It lists each file with its check sums and each package that the compiler has linked in, with its version.
"""

import argparse
import datetime
import hashlib
import json
import os
import pathlib
import re
import uuid

import runtimes

NONE_STATED = "NOASSERTION"
NAMESPACE = uuid.UUID("6a3c1d0b-74a5-4c3c-9a5e-2d1f0c6d9b77")


def spdx_id(kind, name):
    """Unique for names that differ, of the characters that SPDX has."""
    readable = re.sub(r"[^A-Za-z0-9.-]", "-", name)
    return f"SPDXRef-{kind}-{readable}-{hashlib.sha1(name.encode('utf-8')).hexdigest()[:8]}"


def kind_of(name):
    kinds = {".exe": "BINARY", ".a": "ARCHIVE", ".lib": "ARCHIVE", ".h": "SOURCE", ".cpp": "SOURCE", ".rc": "SOURCE",
             ".cmake": "SOURCE"}
    return kinds.get(pathlib.PurePath(name).suffix, "TEXT")


def file_entry(root, name):
    content = (root / name).read_bytes()
    sums = [{"algorithm": algorithm.upper(), "checksumValue": hashlib.new(algorithm, content).hexdigest()}
            for algorithm in ("sha1", "sha256")]
    return {"fileName": f"./{name}", "SPDXID": spdx_id("File", name), "fileTypes": [kind_of(name)], "checksums": sums,
            "licenseConcluded": NONE_STATED, "licenseInfoInFiles": [NONE_STATED], "copyrightText": NONE_STATED}


def verification_code(files):
    """The sum of the sums of all files, as SPDX defines it."""
    sums = sorted(entry["checksums"][0]["checksumValue"] for entry in files)
    return hashlib.sha1("".join(sums).encode("ascii")).hexdigest()


def package_entry(package):
    place = f"pkg:deb/debian/{package.name}@{package.version}?arch={package.architecture}"
    return {"name": package.name, "SPDXID": spdx_id("Package", package.name), "versionInfo": package.version,
            "downloadLocation": NONE_STATED, "filesAnalyzed": False, "licenseConcluded": NONE_STATED,
            "licenseDeclared": NONE_STATED, "copyrightText": NONE_STATED,
            "sourceInfo": f"Debian source package {package.source} {package.source_version}; "
                          f"linked in: {', '.join(package.files)}",
            "licenseComments": "See THIRD-PARTY-NOTICES.txt.",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": place}]}


def created(root, names):
    """The time of the newest file, so that the same files have the same bill."""
    seconds = os.environ.get("SOURCE_DATE_EPOCH") or max((root / name).stat().st_mtime for name in names)
    return datetime.datetime.fromtimestamp(int(seconds), datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")


def own_name(arguments):
    return arguments.output.relative_to(arguments.root).as_posix()


def bill(arguments, names, packages):
    files = [file_entry(arguments.root, name) for name in names]
    code = verification_code(files)
    own = {"name": arguments.name, "SPDXID": "SPDXRef-Archive", "versionInfo": arguments.version,
           "supplier": f"Organization: {arguments.company}", "downloadLocation": NONE_STATED, "filesAnalyzed": True,
           "packageVerificationCode": {"packageVerificationCodeValue": code, # all files but this one
                                       "packageVerificationCodeExcludedFiles": [f"./{own_name(arguments)}"]},
           "licenseConcluded": NONE_STATED,
           "licenseInfoFromFiles": [NONE_STATED], "licenseDeclared": NONE_STATED, "copyrightText": NONE_STATED}
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", own["SPDXID"])]
    relations += [(own["SPDXID"], "CONTAINS", entry["SPDXID"]) for entry in files]
    # Either the programs contain them, or a program that links the libraries will.
    linked = [package_entry(package) for package in packages]
    relations += [(own["SPDXID"], "STATIC_LINK", entry["SPDXID"]) for entry in linked]
    company = re.sub(r"[^a-z0-9]", "", arguments.company.lower())
    return {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{arguments.name} {arguments.version}",
        "documentNamespace": f"https://{company}.example/spdx/{uuid.uuid5(NAMESPACE, f'{arguments.name} {code}')}",
        "creationInfo": {"created": created(arguments.root, names),
                         "creators": [f"Organization: {arguments.company}", "Tool: packaging/sbom.py"]},
        "packages": [own, *linked], "files": files,
        "relationships": [{"spdxElementId": first, "relationshipType": kind, "relatedSpdxElement": second}
                          for first, kind, second in relations]}


def main():
    parser = argparse.ArgumentParser(description="Writes the bill of materials of an archive.")
    for option in ("name", "version", "company"):
        parser.add_argument(f"--{option}", required=True)
    parser.add_argument("--root", type=pathlib.Path, required=True, help="folder that the files are in")
    parser.add_argument("--files", type=pathlib.Path, required=True, help="file with their names, one a line")
    parser.add_argument("--output", type=pathlib.Path, required=True)
    parser.add_argument("--maps", nargs="*", default=[], help="the linker's maps of the programs")
    arguments = parser.parse_args()
    maps = [name for name in arguments.maps if name]
    names = sorted(arguments.files.read_text(encoding="utf-8").split("\n"))
    content = bill(arguments, [name for name in names if name], runtimes.packages(maps) if maps else [])
    arguments.output.write_text(json.dumps(content, indent=2) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
