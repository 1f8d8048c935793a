#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A plain reader of Intel HEX, a dictionary from address to byte, and all that
qorhex tells about real files held against it.

    qorhex_model.py PROGRAM FOLDER    FOLDER has the HEX files

What the tool tells is taken from its JSON; the CRC-32 is zlib's.
"""

import json
import os
import random
import subprocess
import sys
import tempfile
import zlib

BLANKS = b" \t\r"
DIGITS = b"0123456789abcdefABCDEF"
ZIP = b"PK\x03\x04"
SIZES = {1: 0, 2: 2, 3: 4, 4: 2, 5: 4}


class Image:
    """What a text holds: the bytes, where they come from, what is wrong."""

    def __init__(self):
        self.bytes = {}     # address: byte
        self.lines = {}     # address: (file, line) of the byte that counts
        self.starts = {}    # type: (value, line)
        self.problems = []  # (line, column, severity)
        self.isDamaged = True
        self.records = []   # [(address, byte, line, column)], in their order

    @staticmethod
    def of(text):
        image = Image()
        if text.startswith(ZIP):  # one of the files is a document
            image.complain(1, 1)
            return image
        image.read(text)
        image.isDamaged = image.isRefused()
        image.place()
        return image

    def complain(self, line, column, severity="error"):
        self.problems.append((line, column, severity))

    def read(self, text):
        lines = text.split(b"\n")
        if lines[-1] == b"":
            lines.pop()
        base, wraps, known = 0, False, True
        for number, line in enumerate(lines, 1):
            mark = 3 if number == 1 and line[:3] == b"\xef\xbb\xbf" else 0
            body = line[mark:].strip(BLANKS)
            if not body:
                continue
            indent = mark + len(line[mark:]) - len(line[mark:].lstrip(BLANKS))
            at, perhapsAddress = damage(body)
            if at is None:
                record = bytes.fromhex(body[1:].decode())
                kind, data = record[3], record[4:-1]
                offset = record[1] << 8 | record[2]
                if kind == 0:
                    if known and data:
                        self.add(base, offset, wraps, data, number, indent)
                    continue
                if kind not in SIZES:
                    at = 7
                elif len(data) != SIZES[kind]:
                    at, perhapsAddress = 1, kind in (2, 4)
                elif kind == 1:
                    rest = [i for i, more in enumerate(lines[number:], 1)
                            if more.strip(BLANKS)]
                    if rest:
                        self.complain(number + rest[0], 1, "warning")
                    return
                elif kind in (2, 4):
                    base = int.from_bytes(data, "big") << (4 if kind == 2
                                                           else 16)
                    wraps, known = kind == 2, True
                    continue
                else:
                    value = int.from_bytes(data, "big")
                    first = self.starts.setdefault(kind, (value, number))
                    if first[0] == value:
                        continue
                    at = 9
            self.complain(number, indent + at + 1)
            if perhapsAddress and known:
                known = False
                self.complain(number, indent + at + 1, "warning")
        last = lines[-1].removesuffix(b"\r") if lines else b""
        self.complain(max(len(lines), 1), len(last) + 1)

    def add(self, base, offset, wraps, data, line, indent):
        addresses = [base + (offset + i) % 65536 if wraps else base + offset + i
                     for i in range(len(data))]
        columns = [indent + 10 + 2 * i for i in range(len(data))]
        beyond = [i for i, address in enumerate(addresses)
                  if address > 0xFFFFFFFF]
        if beyond:
            self.complain(line, columns[beyond[0]])
            return
        self.records.append([(address, byte, line, column) for
                             address, byte, column in
                             zip(addresses, data, columns)])

    def place(self):
        """Gives each address its byte, that of the piece which starts highest,
        of several the first; tells each two records in conflict."""
        holders = {}
        pairs = {}
        starts = {}
        for index, record in enumerate(self.records):
            before = start = None
            for address, byte, line, column in record:
                if before is None or address != before + 1:
                    start = address
                before = address
                for other, otherByte in holders.get(address, ()):
                    if otherByte != byte:
                        pair = pairs.get((other, index))
                        if pair is None or address < pair[0]:
                            pairs[other, index] = (address, line, column)
                holders.setdefault(address, []).append((index, byte))
                if start > starts.get(address, -1):
                    starts[address] = start
                    self.bytes[address] = byte
                    self.lines[address] = (0, line)
        for _, line, column in sorted(pairs.values()):
            self.complain(line, column)

    def isRefused(self):
        return any(problem[2] == "error" for problem in self.problems)

    def cut(self, ranges):
        part = Image()
        part.starts, part.problems = self.starts, list(self.problems)
        for address in self.bytes:
            if any(first <= address <= last for first, last in ranges):
                part.bytes[address] = self.bytes[address]
                part.lines[address] = self.lines[address]
        return part

    def runs(self):
        """The first and last addresses of the segments."""
        found = []
        for address in sorted(self.bytes):
            if found and found[-1][1] + 1 == address:
                found[-1][1] = address
            else:
                found.append([address, address])
        return found

    def data(self, first, last):
        return bytes(self.bytes[address] for address in range(first, last + 1))


def damage(body):
    """Where a line is no sound record, and whether it may say where data goes;
    nothing where it is one."""
    if body[:1] != b":":
        return 0, False
    kind = None
    if len(body) >= 9 and all(digit in DIGITS for digit in body[7:9]):
        kind = int(body[7:9], 16)
    perhapsAddress = kind in (None, 2, 4)
    for at, digit in enumerate(body[1:], 1):
        if digit not in DIGITS:
            return at, perhapsAddress
    size = 11 if len(body) < 3 else 11 + 2 * int(body[1:3], 16)
    if len(body) != size:
        return min(len(body), size), perhapsAddress
    if sum(bytes.fromhex(body[1:].decode())) % 256:
        return size - 2, perhapsAddress
    return None, False


def merged(one, two):
    """Both in one image, and whether that can be. The later counts."""
    both = Image()
    both.bytes = {**one.bytes, **two.bytes}
    both.lines = {**one.lines, **{address: (1, line) for address, (_, line) in
                                  two.lines.items()}}
    both.starts = {**one.starts, **two.starts}
    common = one.bytes.keys() & two.bytes.keys()
    isSound = all(one.bytes[address] == two.bytes[address]
                  for address in common) and \
        all(one.starts[kind][0] == two.starts[kind][0]
            for kind in one.starts.keys() & two.starts.keys())
    return both, isSound


def segments(image, regions=(), isMerged=False):
    found = []
    for first, last in image.runs():
        ends = [image.lines[first], image.lines[last]]
        segment = {"first": first, "last": last, "size": last - first + 1,
                   "crc32": zlib.crc32(image.data(first, last)),
                   "source": [line for _, line in ends],
                   "regions": [name for name, low, high in regions
                               if low <= last and first <= high]}
        if isMerged:
            segment["sourceFiles"] = [file for file, _ in ends]
        found.append(segment)
    return found


def gaps(image):
    runs = image.runs()
    return [{"first": one[1] + 1, "last": two[0] - 1,
             "size": two[0] - one[1] - 1} for one, two in zip(runs, runs[1:])]


def used(image, regions):
    return [{"name": name, "first": low, "last": high,
             "used": sum(low <= address <= high for address in image.bytes)}
            for name, low, high in regions]


def startAddresses(image):
    return sorted((kind, value) for kind, (value, _) in image.starts.items())


def differences(one, two):
    found = []
    for address in sorted(one.bytes.keys() | two.bytes.keys()):
        if address not in two.bytes:
            kind = "onlyA"
        elif address not in one.bytes:
            kind = "onlyB"
        elif one.bytes[address] != two.bytes[address]:
            kind = "differs"
        else:
            continue
        if found and found[-1]["last"] + 1 == address and \
                found[-1]["kind"] == kind:
            found[-1]["last"] = address
            found[-1]["size"] += 1
        else:
            found.append({"first": address, "last": address, "size": 1,
                          "kind": kind})
    return found


def run(*arguments):
    return subprocess.run([program, *arguments], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, check=False)


def ask(*arguments):
    """The document, and the exit status."""
    result = run("--format=json", *arguments)
    return json.loads(result.stdout), result.returncode


def expect(what, found, expected):
    global failures
    if found != expected:
        failures += 1
        print(f"{what}:\n  found    {str(found)[:2000]}\n"
              f"  expected {str(expected)[:2000]}")


def expectEntry(what, entry, image, regions=(), isMerged=False):
    expect(what + ", segments", entry["segments"],
           segments(image, regions, isMerged))
    expect(what + ", gaps", entry["gaps"], gaps(image))
    expect(what + ", regions", entry["regions"], used(image, regions))
    expect(what + ", start addresses",
           sorted((start["type"], start["value"])
                  for start in entry["startAddresses"]),
           startAddresses(image))


def places(entry):
    return [(problem["line"], problem["column"], problem["severity"])
            for problem in entry["problems"]]


def checkAlone():
    """Every file, in one run without --check and in one with it."""
    paths = list(images)
    for options in ((), ("--check",)):
        document, status = ask(*options, *paths)
        expect("status", status, 3)
        expect("version", document["version"], 1)
        expect("names", [entry["name"] for entry in document["files"]], paths)
        for path, entry in zip(paths, document["files"]):
            image = images[path]
            what = f"{os.path.basename(path)} {options}"
            expect(what + ", status", entry["status"],
                   3 if image.isRefused() else 0)
            told = image.problems
            if not options and image.isRefused():
                errors = [severity for _, _, severity in told].index("error")
                told = told[:errors + 1]
            expect(what + ", problems", places(entry), told)
            if not image.isRefused():
                expectEntry(what, entry, image)
            elif not options and not image.isDamaged:
                forced, forcedStatus = ask("--force", path)
                expect(what + ", forced", forcedStatus, 0)
                expectEntry(what + ", forced", forced["files"][0], image)


def checkTable(path, image):
    """The long table has the same numbers as the document."""
    result = run("--long", path)
    rows = [line.split() for line in
            result.stdout.decode().split("total")[0].splitlines()[1:]]
    expected = []
    spaces = gaps(image)
    for number, segment in enumerate(segments(image)):
        first, last = segment["source"]
        expected.append([str(number), f"0x{segment['first']:08x}",
                         f"0x{segment['last']:08x}", str(segment["size"]),
                         f"0x{segment['crc32']:08x}", f"{first}-{last}"
                         if first != last else str(first)])
        if number < len(spaces):
            gap = spaces[number]
            expected.append(["-", f"0x{gap['first']:08x}",
                             f"0x{gap['last']:08x}", str(gap["size"]), "gap"])
    # The readable size is the library's, and has its own tests.
    expect(path + ", table", [row[:4] + row[5:] for row in rows], expected)


def cuts(image):
    """Addresses in order, somewhere in an image."""
    low, high = min(image.bytes), max(image.bytes)
    return sorted(numbers.randint(low, high) for _ in range(4))


def checkParts(path, image):
    a, b, c, d = cuts(image)
    parts = ((a, b), (c, d))
    document, _ = ask(f"--range={c}-{d}", f"--range=0x{a:x}+{b - a + 1}", path)
    expectEntry(f"{path} {parts}", document["files"][0], image.cut(parts))


def checkMap(path, image):
    low, high = min(image.bytes), max(image.bytes)
    edges = sorted({low, *cuts(image)}) + [high + 1]
    regions = [(f"r{i}", first, behind - 1) for i, (first, behind) in
               enumerate(zip(edges, edges[1:]))]
    lines = [f"{name} 0x{first:x}-{last}  # {name}\n"
             for name, first, last in regions]
    numbers.shuffle(lines)
    with open(work + "/map", "w", encoding="utf-8") as file:
        file.writelines(lines)
    document, status = ask(f"--map={work}/map", path)
    expect(f"{path}, status with a map", status, 0)
    expectEntry(f"{path} {regions}", document["files"][0], image, regions)


def checkWritten(path, image):
    """What was written is read by the plain reader."""
    run(f"--ihex={work}/out.hex", path)
    with open(work + "/out.hex", "rb") as file:
        again = Image.of(file.read())
    expect(path + ", written", (again.bytes, startAddresses(again),
                                again.problems),
           (image.bytes, startAddresses(image), []))


def checkForced(what, one, two):
    """Of files in conflict the later counts, whole."""
    both, _ = merged(images[one], images[two])
    document, status = ask("--merge", "--force", one, two)
    expect(what + ", status", status, 0)
    expectEntry(what, document["files"][0], both, isMerged=True)


def checkPair(one, two):
    a, b = images[one], images[two]
    what = f"{os.path.basename(one)} {os.path.basename(two)}"
    both, isSound = merged(a, b)
    document, status = ask("--merge", one, two)
    entry, = document["files"]
    expect(what + ", merged", (status, entry["status"], entry["name"]),
           (0 if isSound else 3,) * 2 + ([one, two],))
    if isSound:
        expectEntry(what + ", merged", entry, both, isMerged=True)
    else:
        checkForced(what + ", forced", one, two)
    document, status = ask("--diff", one, two)
    expected = differences(a, b)
    startsDiffer = startAddresses(a) != startAddresses(b)
    expect(what + ", differences", document["differences"], expected)
    expect(what + ", start addresses differ",
           document["startAddressesDiffer"], startsDiffer)
    expect(what + ", status of --diff", status,
           1 if expected or startsDiffer else 0)


program, folder = sys.argv[1:]
numbers = random.Random(9)
failures = 0
images = {}
for name in sorted(os.listdir(folder)):
    if name.endswith((".hex", ".ihex", ".ihx")):
        with open(f"{folder}/{name}", "rb") as opened:
            images[f"{folder}/{name}"] = Image.of(opened.read())
with tempfile.TemporaryDirectory() as work:
    checkAlone()
    sound = [path for path, image in images.items() if not image.isRefused()]
    for path in sound:
        checkTable(path, images[path])
        checkWritten(path, images[path])
        if images[path].bytes:
            checkParts(path, images[path])
            checkMap(path, images[path])
    for _ in range(60):
        checkPair(numbers.choice(sound), numbers.choice(sound))
print(f"{len(images)} files, {len(sound)} of them sound; {failures} failures")
sys.exit(1 if failures or len(sound) < 40 else 0)
