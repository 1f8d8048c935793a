#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tells what the tests in build/coverage have run of the library and the tool.

Prints lines and branches of each file of src/ and tools/ and of all. What was
not run has to stand in tests/coverage/excused.txt, with the reason; what stands
there has to be there, and not run. Otherwise the exit status is 1.
scripts/coverage.sh makes the counts, and every later run of a test there adds
to them.

    scripts/coverage.py [--table]

--table prints the figures of each file; without it those of the sums alone.
"""

import collections
import json
import os
import re
import subprocess
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
BUILD = TOP / "build/coverage"
LIST = TOP / "tests/coverage/excused.txt"
FOLDERS = ("src/", "tools/")
KINDS = ("line", "true", "false")


# A unit tells of every inline function that it has read, used or not; those of
# the second kind have no counts there.
NO_NEWS = re.compile(r"warning: [0-9]+ functions have mismatched data\n")


def runTool(*command):
    result = subprocess.run(command, text=True, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE)
    sys.stderr.write(NO_NEWS.sub("", result.stderr))
    if result.returncode != 0:
        sys.exit(f"coverage.py: {command[0]} {command[1]} failed")
    return result.stdout


def export(form):
    """What llvm-cov knows of the objects, which hold all the code there is."""
    objects = sorted(str(path) for folder in FOLDERS
                     for path in (BUILD / folder).rglob("*.o"))
    named = [word for path in objects for word in ("-object", path)]
    return runTool("llvm-cov", "export", "-format=" + form,
                   "-skip-functions", "-instr-profile",
                   str(BUILD / "coverage.profdata"), *named)


def inProject(name):
    """The path below the top folder, or nothing for files of others."""
    path = os.path.relpath(name, TOP)
    return path if path.startswith(FOLDERS) else None


class File:
    """How often the lines and the branches of a file were run."""

    def __init__(self, path):
        self.text = (TOP / path).read_text(encoding="utf-8").splitlines()
        self.lines = {}
        self.branches = collections.Counter()

    def addBranch(self, line, column, lastLine, lastColumn, taken, notTaken):
        """A template or an inline function comes once for each of its kinds."""
        place = (line, column, lastLine, lastColumn)
        self.branches[place, "true"] += taken
        self.branches[place, "false"] += notTaken

    def textOf(self, place):
        """What stands at the place, on one line."""
        line, column, lastLine, lastColumn = place
        lines = self.text[line - 1:lastLine]
        lines[-1] = lines[-1][:lastColumn - 1]
        lines[0] = lines[0][column - 1:]
        return " ".join(" ".join(lines).split())

    def missed(self):
        """Line number, kind and text of each thing that was not run."""
        for line, count in sorted(self.lines.items()):
            if count == 0:
                yield line, "line", " ".join(self.text[line - 1].split())
        for (place, way), count in sorted(self.branches.items()):
            if count == 0:
                yield place[0], way, self.textOf(place)


def readCounts():
    """The files by their paths."""
    profiles = sorted(str(path) for path in (BUILD / "profiles").glob("*"))
    if not profiles:
        sys.exit("coverage.py: no counts in build/coverage; "
                 "run scripts/coverage.sh")
    runTool("llvm-profdata", "merge", "-o", str(BUILD / "coverage.profdata"),
            *profiles)
    files = {}
    current = None
    for line in export("lcov").splitlines():
        key, _, value = line.partition(":")
        if key == "SF":
            path = inProject(value)
            current = files[path] = File(path) if path else None
        elif key == "DA" and current:
            number, count = value.split(",")[:2]
            current.lines[int(number)] = int(count)
    files.pop(None, None)
    for exported in json.loads(export("text"))["data"][0]["files"]:
        path = inProject(exported["filename"])
        for branch in exported["branches"] if path else []:
            files[path].addBranch(*branch[:6])
    return files


def readList():
    """How often each (file, kind, text) is excused."""
    excused = collections.Counter()
    path = None
    for number, line in enumerate(LIST.read_text(encoding="utf-8").splitlines(),
                                  1):
        if not line or line.startswith("#"):
            continue
        if not line.startswith(" "):
            path = line
            continue
        kind, _, rest = line.strip().partition(" | ")
        text, _, reason = rest.rpartition(" | ")
        if path is None or kind not in KINDS or not text or not reason:
            sys.exit(f"{LIST.relative_to(TOP)}:{number}: neither a file nor "
                     "kind | text | reason")
        excused[path, kind, text] += 1
    return excused


def row(name, files):
    """The figures of `files`: lines, then branches."""
    text = f"{name:40}"
    for what in ("lines", "branches"):
        counts = [count for file in files
                  for count in getattr(file, what).values()]
        if counts:
            share = 100 * sum(count > 0 for count in counts) / len(counts)
            text += (f"{share:6.2f} % of {len(counts):4} {what},"
                     f"{counts.count(0):3} not run  ")
    return text.rstrip()


def main():
    arguments = sys.argv[1:]
    if arguments in (["--help"], ["-h"]):
        print(__doc__.strip())
        return 0
    if arguments not in ([], ["--table"]):
        sys.exit("coverage.py: takes nothing or --table; see --help")
    files = readCounts()
    excused = readList()
    isAsListed = True
    for path, file in sorted(files.items()):
        for line, kind, text in file.missed():
            if excused[path, kind, text] > 0:
                excused[path, kind, text] -= 1
            else:
                print(f"{path}:{line}: not run: {kind} | {text}")
                isAsListed = False
    for (path, kind, text), count in excused.items():
        if count > 0:
            print(f"{path}: excused, but run or not there: {kind} | {text}")
            isAsListed = False
    if arguments:
        for path, file in sorted(files.items()):
            print(row(path, [file]))
    for folder in FOLDERS:
        print(row(folder, [file for path, file in files.items()
                           if path.startswith(folder)]))
    print(row("all", list(files.values())))
    return 0 if isAsListed else 1


if __name__ == "__main__":
    sys.exit(main())
