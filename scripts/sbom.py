#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the bill of materials of a source archive, as SPDX 2.3 in JSON.

    scripts/sbom.py ARCHIVE VERSION SECONDS   to standard output; the time is
                                              that of the commit, since 1970
    scripts/sbom.py --check FILE ARCHIVE      holds a document against the archive

The same archive makes the same document. The licence of a file is that of its
SPDX line; of the HEX files of other projects, that of their MANIFEST.tsv; else
the project's own.
"""

import csv
import hashlib
import json
import re
import sys
import tarfile
import time

PLACE = "https://qorutil.example/"  # a name reserved for examples
DATA = "tests/data/hex/"
LUFA = "LicenseRef-LUFA"
KINDS = {".hex": "BINARY", ".ihex": "BINARY", ".bin": "BINARY", ".svg": "IMAGE",
         ".md": "DOCUMENTATION", ".txt": "TEXT", ".out": "TEXT", ".tsv": "TEXT"}
# What a program of the library has to have beside it, and what the tests have.
OTHERS = {
    "libc": "RUNTIME_DEPENDENCY_OF",
    "libstdc++": "RUNTIME_DEPENDENCY_OF",
    "CMake": "BUILD_TOOL_OF",
    "GoogleTest": "TEST_DEPENDENCY_OF",
}


def read(archive):
    """The files of the archive by name, without the folder that all are in."""
    with tarfile.open(archive) as tar:
        return {member.name.split("/", 1)[1]: tar.extractfile(member).read()
                for member in tar.getmembers() if member.isfile()}


def digest(kind, data):
    return hashlib.new(kind, data).hexdigest()


def expression(stated):
    """The licence that a row of the manifest states, as SPDX writes it."""
    return LUFA if stated.startswith("LUFA") else stated.split(" (")[0]


class Licences:
    """Who has which licence, by what the archive itself says."""

    def __init__(self, files):
        rows = csv.DictReader(files[DATA + "MANIFEST.tsv"].decode().splitlines(),
                              delimiter="\t", quoting=csv.QUOTE_NONE)
        self.ofData = {}
        for row in rows:
            licence = expression(row["licence"])
            project = row["origin_repository"].split("/", 1)[1].lower()
            self.ofData[DATA + row["file"]] = licence
            self.ofData[f"{DATA}licences/{project.replace('/', '-')}.txt"] = licence
        self.lufa = files[DATA + "licences/arduino-arduinocore-avr.txt"].decode()

    def of(self, name, data):
        if name in self.ofData:
            return self.ofData[name]
        # Written apart, so that this line is not read as one.
        match = re.search(rb"SPDX-License" rb"-Identifier: ([A-Za-z0-9.-]+)",
                          data[:2000])
        return match[1].decode() if match else "MIT"


def fileEntry(name, data, licence):
    suffix = name[name.rfind("."):] if "." in name else ""
    ours = not name.startswith(DATA) or name.count("/") == 3 and suffix in (
        ".md", ".tsv")
    return {
        "SPDXID": "SPDXRef-File-" + digest("sha256", name.encode())[:16],
        "fileName": "./" + name,
        "fileTypes": [KINDS.get(suffix, "SOURCE")],
        "checksums": [
            {"algorithm": "SHA1", "checksumValue": digest("sha1", data)},
            {"algorithm": "SHA256", "checksumValue": digest("sha256", data)}],
        "licenseConcluded": licence,
        "licenseInfoInFiles": [licence if b"SPDX-License" in data[:2000]
                               else "NOASSERTION"],
        "copyrightText": "Copyright (c) 2026 The qorutil authors" if ours
                         else "NOASSERTION",
    }


def verificationCode(entries):
    sums = sorted(entry["checksums"][0]["checksumValue"] for entry in entries)
    return digest("sha1", "".join(sums).encode())


def otherPackage(name):
    return {
        "SPDXID": "SPDXRef-Package-" + name.replace("+", "x"),
        "name": name,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def document(archive, version, seconds):
    files = read(archive)
    licences = Licences(files)
    entries = [fileEntry(name, files[name], licences.of(name, files[name]))
               for name in sorted(files)]
    with open(archive, "rb") as file:
        sum256 = digest("sha256", file.read())
    package = {
        "SPDXID": "SPDXRef-Package-qorutil",
        "name": "qorutil",
        "versionInfo": version,
        "packageFileName": f"qorutil-{version}.tar.gz",
        "supplier": "Organization: The qorutil authors",
        "downloadLocation": f"{PLACE}qorutil-{version}.tar.gz",
        "homepage": PLACE,
        "filesAnalyzed": True,
        "packageVerificationCode": {
            "packageVerificationCodeValue": verificationCode(entries)},
        "checksums": [{"algorithm": "SHA256", "checksumValue": sum256}],
        "licenseConcluded": " AND ".join(sorted(
            {f"({entry['licenseConcluded']})"
             if " " in entry["licenseConcluded"] else entry["licenseConcluded"]
             for entry in entries})),
        "licenseInfoFromFiles": sorted({info for entry in entries
                                        for info in entry["licenseInfoInFiles"]}),
        "licenseDeclared": "MIT",
        "licenseComments": "All but the HEX files in " + DATA + ", which are for "
                           "the tests alone, is under MIT, and so is what is "
                           "installed.",
        "copyrightText": "Copyright (c) 2026 The qorutil authors",
        "primaryPackagePurpose": "LIBRARY",
    }
    relationships = [("SPDXRef-DOCUMENT", "DESCRIBES", package["SPDXID"])]
    relationships += [(package["SPDXID"], "CONTAINS", entry["SPDXID"])
                      for entry in entries]
    relationships += [(otherPackage(name)["SPDXID"], kind, package["SPDXID"])
                      for name, kind in OTHERS.items()]
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"qorutil-{version}",
        "documentNamespace": f"{PLACE}spdx/qorutil-{version}-{sum256}",
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ",
                                     time.gmtime(int(seconds))),
            "creators": ["Organization: The qorutil authors",
                         "Tool: scripts/sbom.py"]},
        "packages": [package] + [otherPackage(name) for name in OTHERS],
        "files": entries,
        "hasExtractedLicensingInfos": [
            {"licenseId": LUFA, "name": "LUFA licence",
             "extractedText": licences.lufa}],
        "relationships": [
            {"spdxElementId": first, "relationshipType": kind,
             "relatedSpdxElement": second}
            for first, kind, second in relationships],
    }


def require(condition, what):
    if not condition:
        sys.exit(f"sbom.py: {what}")


def check(path, archive):
    """The structure that SPDX 2.3 asks for, and the sums of the archive."""
    with open(path, encoding="utf-8") as file:
        found = json.load(file)
    for field, kind in {"spdxVersion": str, "dataLicense": str, "SPDXID": str,
                        "name": str, "documentNamespace": str,
                        "creationInfo": dict, "packages": list, "files": list,
                        "relationships": list}.items():
        require(isinstance(found.get(field), kind), f"no {field}")
    require(found["spdxVersion"] == "SPDX-2.3", "another version of SPDX")
    require(found["dataLicense"] == "CC0-1.0", "another licence of the data")
    require(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ",
                         found["creationInfo"]["created"]), "no time")
    require(all(re.match("(Person|Organization|Tool): ", creator)
                for creator in found["creationInfo"]["creators"]), "creators")
    require("#" not in found["documentNamespace"], "a fragment in the namespace")
    elements = [found] + found["packages"] + found["files"]
    known = [element["SPDXID"] for element in elements]
    require(len(set(known)) == len(known), "a name twice")
    require(all(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", name) for name in known),
            "a name that SPDX does not take")
    for relation in found["relationships"]:
        require(relation["spdxElementId"] in known
                and relation["relatedSpdxElement"] in known,
                f"a relation of unknown elements: {relation}")
    for package in found["packages"]:
        for field in ("name", "downloadLocation", "licenseConcluded",
                      "licenseDeclared", "copyrightText"):
            require(package.get(field), f"a package without {field}")
    files = read(archive)
    require({entry["fileName"][2:] for entry in found["files"]} == set(files),
            "other files than in the archive")
    for entry in found["files"]:
        sums = {sum["algorithm"]: sum["checksumValue"]
                for sum in entry["checksums"]}
        data = files[entry["fileName"][2:]]
        require(sums == {"SHA1": digest("sha1", data),
                         "SHA256": digest("sha256", data)},
                f"another sum of {entry['fileName']}")
    own = found["packages"][0]
    require(own["packageVerificationCode"]["packageVerificationCodeValue"] ==
            verificationCode(found["files"]), "another verification code")
    with open(archive, "rb") as file:
        require(own["checksums"][0]["checksumValue"] ==
                digest("sha256", file.read()), "another sum of the archive")
    print(f"{path}: {len(found['files'])} files, {len(found['packages'])} packages")


def main(arguments):
    if len(arguments) == 3 and arguments[0] == "--check":
        check(*arguments[1:])
    elif len(arguments) == 3:
        json.dump(document(*arguments), sys.stdout, indent=1)
        print()
    else:
        sys.exit(__doc__.strip())


main(sys.argv[1:])
