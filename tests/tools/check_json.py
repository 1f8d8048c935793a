#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the JSON of qorhex against its schema, and both against mistakes.

    check_json.py QORHEX SCHEMA FOLDER

Runs the program QORHEX on the HEX files of FOLDER and on files with faults, and
validates what it tells with an independent validator. Checksums, sizes and gaps
are computed anew from the bytes. Documents with a mistake have to be refused:
else the schema would say nothing.
"""

import copy
import json
import os
import subprocess
import sys
import tempfile
import zlib

import jsonschema

SEVERAL = 12  # files are given together


def fail(text):
    sys.exit(f"check_json.py: {text}")


class Tool:
    """The program, whose documents are validated."""

    def __init__(self, program, schema):
        jsonschema.Draft202012Validator.check_schema(schema)
        self.program = program
        self.validator = jsonschema.Draft202012Validator(schema)
        self.documents = 0

    def run(self, *arguments):
        done = subprocess.run(
            [self.program, *arguments], stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
        return done.returncode, done.stdout

    def document(self, *arguments):
        """Returns the document of a run, a valid one."""
        status, out = self.run("--format=json", *arguments)
        try:
            document = json.loads(out)
        except ValueError as error:
            fail(f"{arguments}: {error}: {out[:80]}")
        error = self.mistake(document)
        if error:
            fail(f"{arguments}: {error.json_path}: {error.message}")
        highest = max(entry["status"] for entry in document["files"])
        if "differences" not in document and status != highest:
            fail(f"{arguments}: status {status}, not {highest}")
        self.documents += 1
        return document

    def mistake(self, document):
        return next(self.validator.iter_errors(document), None)


def check_image(tool, entry, arguments):
    """Holds what is told of an image against its bytes."""
    segments = entry["segments"]
    for segment in segments:
        first, last = segment["first"], segment["last"]
        _, data = tool.run("-b", "-", f"--range={first}-{last}", "--force",
                           *arguments)
        if len(data) != segment["size"] or last - first + 1 != len(data):
            fail(f"{arguments}: size of {segment}")
        if zlib.crc32(data) != segment["crc32"]:
            fail(f"{arguments}: checksum of {segment}")
    gaps = [{"first": one["last"] + 1, "last": other["first"] - 1,
             "size": other["first"] - one["last"] - 1}
            for one, other in zip(segments, segments[1:])]
    if gaps != entry["gaps"]:
        fail(f"{arguments}: gaps {entry['gaps']}, not {gaps}")


def with_mistakes(document):
    """Returns copies of `document`, whose first entry is full, each with one
    mistake, and what that is."""

    def changed(what, change):
        broken = copy.deepcopy(document)
        change(broken, broken["files"][0])
        return what, broken

    def drop(key, of=lambda whole, entry: entry):
        return changed(f"no {key}", lambda *all: of(*all).pop(key))

    def put(key, value, of=lambda whole, entry: entry):
        return changed(f"{key} {value!r}",
                       lambda *all: of(*all).update({key: value}))

    def whole(document, _):
        return document

    def segment(_, entry):
        return entry["segments"][0]

    def gap(_, entry):
        return entry["gaps"][0]

    def region(_, entry):
        return entry["regions"][0]

    def start(_, entry):
        return entry["startAddresses"][0]

    def problem(_, entry):
        return entry["problems"][0]

    for of, keys in ((whole, document), (lambda _, entry: entry,
                                         document["files"][0]),
                     (segment, document["files"][0]["segments"][0]),
                     (gap, document["files"][0]["gaps"][0]),
                     (region, document["files"][0]["regions"][0]),
                     (start, document["files"][0]["startAddresses"][0]),
                     (problem, document["files"][0]["problems"][0])):
        for key in list(keys):
            yield drop(key, of)
            yield put(key, True, of)
        yield put("more", 0, of)
    yield put("version", 2, whole)
    yield put("status", 1)
    yield put("name", [])
    yield put("name", "alone")  # the sources have files
    yield put("first", -1, segment)
    yield put("last", 2 ** 32, segment)
    yield put("size", 0, segment)
    yield put("crc32", 2 ** 32, segment)
    yield put("crc32", "0x00000000", segment)
    yield put("source", [1], segment)
    yield put("source", [0, 1], segment)
    yield put("sourceFiles", [-1, 0], segment)
    yield put("regions", ["a b"], segment)
    yield put("size", 0, gap)
    yield put("used", -1, region)
    yield put("type", 4, start)
    yield put("value", 2 ** 32, start)
    yield put("line", -1, problem)
    yield put("severity", "note", problem)
    yield put("text", "", problem)
    yield put("differences", [], whole)
    yield put("startAddressesDiffer", False, whole)


def record(kind, offset, data):
    body = bytes([len(data), offset >> 8, offset & 0xff, kind]) + data
    body += bytes([-sum(body) & 0xff])
    return b":" + body.hex().upper().encode() + b"\n"


def write(folder, name, text):
    path = os.path.join(os.fsencode(folder), name)
    with open(path, "wb") as file:
        file.write(text)
    return path


def check_faults(tool, folder):
    """Runs on files with faults and hostile names."""
    data = record(0, 0, b"\1\2\3\4")
    end = record(1, 0, b"")
    name = b"a\"\\\x01\n\xff\xc2\x9b.hex"
    good = write(folder, name, data + end)
    bad = write(folder, b"bad.hex", b"x\n" + data + b":00000001FE\n")
    none = write(folder, b"none.hex", b"")
    other = write(folder, b"other.hex", record(0, 16, b"\t\n") +
                  record(5, 0, b"\x12\x34\x56\x78") + end + b"x\n")
    map_file = write(folder, b"board.map", b"low 0-7\nhigh 8+100\n")
    absent = os.path.join(os.fsencode(folder), b"absent")
    told = tool.document(good, bad, none, absent, other)["files"]
    if [entry["status"] for entry in told] != [0, 3, 3, 4, 0]:
        fail(f"statuses of {told}")
    shown = os.fsdecode(folder) + "/a\"\\\x01\n\ufffd\x9b.hex"
    if told[0]["name"] != shown:
        fail(f"{told[0]['name']!r} instead of {shown!r}")
    tool.document("--check", good, bad, none, other)
    tool.document("--strict", good)
    tool.document("--range=0x100-0x200", good)
    full = tool.document("--merge", b"--map=" + map_file, good, other)
    if tool.mistake(full):
        fail("a sound document is refused")
    tool.document("--diff", good, other)
    tool.document("--diff", good, good)
    return full


def check_mistakes(tool, full):
    count = 0
    for what, broken in with_mistakes(full):
        if not tool.mistake(broken):
            fail(f"the schema takes a document with a mistake: {what}")
        count += 1
    return count


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    program, schema_path, folder = sys.argv[1:]
    with open(schema_path, encoding="ascii") as file:
        tool = Tool(program, json.load(file))
    files = sorted(os.path.join(folder, name) for name in os.listdir(folder)
                   if name.endswith(("hex", "HEX")))
    if not files:
        fail(f"no HEX files in {folder}")
    for path in files:
        for entry in tool.document("--force", path)["files"]:
            check_image(tool, entry, [path])
    tool.document(*files[:SEVERAL])
    tool.document("--check", *files)
    with tempfile.TemporaryDirectory() as own:
        mistakes = check_mistakes(tool, check_faults(tool, own))
    print(f"{tool.documents} documents are valid, {mistakes} with a mistake "
          "are refused")


if __name__ == "__main__":
    main()
