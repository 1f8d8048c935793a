#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds all that qorhex makes of real files against a table of check sums, which
is the same on every machine.

    qorhex_sums.py PROGRAM FOLDER TABLE            compares
    qorhex_sums.py --update PROGRAM FOLDER TABLE   writes the table

FOLDER has the HEX files. The table has a line for each and a column for each
of the runs below: the first 16 digits of the SHA-256 of exit status, standard
output, standard error and the files written.
"""

import hashlib
import os
import subprocess
import sys
import tempfile

# The arguments of each run; FILE is the file and NEXT the one behind it.
RUNS = {
    "outputs": "-v -l -b image --max-size=1M --ihex=image.hex --svg=image.svg"
               " -o segments FILE",
    "strict": "--strict -v -l -b image --max-size=1M -o segments FILE",
    "check": "--check FILE",
    "json": "-l --format=json FILE",
    "reversed": "-x9 -r FILE",
    "diff": "--diff FILE NEXT",
    "merged": "--merge --force -p -b image --max-size=1M --ihex=image.hex"
              " FILE NEXT",
}


def contents(path):
    with open(path, "rb") as file:
        return file.read()


def sum_of(program, arguments):
    """Runs the program in an empty folder that has the HEX files as hex/."""
    segments = "segments"
    os.makedirs(segments)
    try:
        result = subprocess.run([program, *arguments], capture_output=True,
                                env={**os.environ, "LC_ALL": "C"}, timeout=60)
        parts = [str(result.returncode).encode(), result.stdout, result.stderr]
        written = [name for name in os.listdir() if name.startswith("image")]
        written += [f"{segments}/{name}" for name in os.listdir(segments)]
        for name in sorted(written):
            parts += [name.encode(), contents(name)]
            os.remove(name)
        total = hashlib.sha256()
        for part in parts:
            total.update(b"%d\n" % len(part) + part)
        return total.hexdigest()[:16]
    finally:
        os.rmdir(segments)


def table_of(program, folder):
    names = sorted(name for name in os.listdir(folder)
                   if name.endswith((".hex", ".ihex", ".ihx")))
    lines = ["\t".join(["file", *RUNS])]
    with tempfile.TemporaryDirectory() as work:
        os.chdir(work)
        os.symlink(folder, "hex")
        for name, following in zip(names, names[1:] + names[:1]):
            places = {"FILE": f"hex/{name}", "NEXT": f"hex/{following}"}
            lines.append("\t".join([name] + [
                sum_of(program, [places.get(word, word) for word in run.split()])
                for run in RUNS.values()]))
        os.chdir(folder)  # out of what is removed
    return lines


def cells(lines):
    """The sums of a table by file and run."""
    head, *rows = (line.split("\t") for line in lines)
    return {(row[0], run): cell for row in rows
            for run, cell in zip(head[1:], row[1:])}


def main(arguments):
    update = arguments[:1] == ["--update"]
    if len(arguments) != 3 + update:
        sys.exit(__doc__)
    program, folder, table = map(os.path.abspath, arguments[update:])
    lines = table_of(program, folder)
    if update:
        with open(table, "w", encoding="ascii") as file:
            file.write("\n".join(lines) + "\n")
        return
    expected = cells(contents(table).decode("ascii").splitlines())
    found = cells(lines)
    wrong = [key for key in sorted(expected.keys() | found.keys())
             if expected.get(key) != found.get(key)]
    for name, run in wrong:
        print(f"{name} differs: {RUNS.get(run, run)}")
    print(f"{len(found)} runs, {len(wrong)} not as expected")
    sys.exit(bool(wrong))


main(sys.argv[1:])
