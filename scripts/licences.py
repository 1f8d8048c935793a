#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes debian/copyright, or with --check tells whether it is what it would be.

The Intel HEX files of other projects in tests/data/hex have licences of their
own; MANIFEST.tsv and licences/ there name them.

    scripts/licences.py [--check]
"""

import csv
import re
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
DATA = Path("tests/data/hex")
WRITTEN = TOP / "debian/copyright"

# The name of each licence text in the file. Those that share a name have the
# same text, and Apache's is on every Debian system.
KNOWN = {"Apache-2.0", "0BSD"}
SPECIAL = {
    "arduino/arduinocore-avr": "LUFA",
    "glasgowembedded/glasgow": "0BSD",
}
APACHE = """\
On Debian systems, the full text of the Apache License version 2.0 can be
found in the file /usr/share/common-licenses/Apache-2.0."""


def read(path):
    return (TOP / path).read_text(encoding="utf-8")


def indented(text):
    """The lines of `text` as a field goes on: a blank before, a dot for none."""
    lines = (line.rstrip() for line in text.strip("\n").splitlines())
    return "\n".join(" " + line if line else " ." for line in lines)


def holders(text, repository):
    """Who holds the copyright, as the licence file names them."""
    found = []
    for line in text.splitlines():
        match = re.search(r"copyright (?:\(c\) *)?((?:[0-9]{4}|Glasgow).*)",
                          line, re.IGNORECASE)
        if match:
            holder = match[1].strip(" */")
            if holder not in found:
                found.append(holder)
    return found or [f"the authors of {repository}"]


def paragraph(files, text, repository, licence):
    names = "\n       ".join(str(DATA / name) for name in sorted(files))
    copyrights = "\n           ".join(holders(text, repository))
    return (f"Files: {names}\nCopyright: {copyrights}\nLicense: {licence}\n"
            f"Comment: https://{repository}\n")


def licenceName(repository, stated):
    project = repository.removeprefix("github.com/").lower()
    if project in SPECIAL:
        return SPECIAL[project]
    first = stated.split(" ")[0]
    return first if first in KNOWN else f"{first}-{project.replace('/', '-')}"


def licenceFile(repository):
    project = repository.removeprefix("github.com/").lower()
    return read(DATA / "licences" / (project.replace("/", "-") + ".txt"))


def document():
    files = {}
    licences = {}
    for row in csv.DictReader(read(DATA / "MANIFEST.tsv").splitlines(),
                              delimiter="\t", quoting=csv.QUOTE_NONE):
        repository = row["origin_repository"]
        files.setdefault(repository, []).append(row["file"])
        licences[repository] = licenceName(repository, row["licence"])
    ours = read("LICENSE").split("\n\n", 2)
    parts = ["""\
Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: qorutil
Source: https://qorutil.example/
Comment: The name is one reserved for examples, until there is a place.
 The HEX files of other projects are for the tests alone; no binary package
 has any of them. scripts/licences.py writes this file.
""", f"""\
Files: *
Copyright: {ours[1].removeprefix("Copyright (c) ")}
License: MIT
"""]
    texts = {"MIT": ours[2]}
    for repository in sorted(files):
        licence = licences[repository]
        text = licenceFile(repository)
        parts.append(paragraph(files[repository], text, repository, licence))
        texts.setdefault(licence, APACHE if licence == "Apache-2.0" else text)
    for licence in sorted(texts):
        parts.append(f"License: {licence}\n{indented(texts[licence])}\n")
    return "\n".join(parts)


def main(arguments):
    if arguments in (["--help"], ["-h"]):
        print(__doc__)
    elif arguments == ["--check"]:
        if WRITTEN.read_text(encoding="utf-8") != document():
            sys.exit("debian/copyright is out of date; run: scripts/licences.py")
        print("debian/copyright names every file of other projects.")
    elif arguments:
        sys.exit("licences.py: --check, or nothing")
    else:
        WRITTEN.write_text(document(), encoding="utf-8")


main(sys.argv[1:])
