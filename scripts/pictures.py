#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the pictures in docs/pictures from what programs of a build print.

    scripts/pictures.py [--check] BUILD

BUILD is the folder of a build with tools and examples, such as build/dev. With
--check nothing is written, and a picture that would change is an error.
"""

import re
import subprocess
import sys
from pathlib import Path
from xml.sax.saxutils import escape

TOP = Path(__file__).resolve().parent.parent
HEX = TOP / "examples" / "toolchain.hex"
BLUE, GREY, RED, GREEN = "#1b6ca8", "#777777", "#d1495b", "#4b8566"
PALE = {BLUE: "#dcebf5", GREY: "#eeeeee", RED: "#f8e0e3", GREEN: "#dff0e6"}
CHARACTER = 7.3  # the width of one in the texts of fixed width


def svg(width, height, title, parts):
    return "\n".join(
        [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} '
         f'{height}" font-family="sans-serif" font-size="13" role="img">',
         f"<title>{escape(title)}</title>",
         f'<rect width="{width}" height="{height}" fill="white"/>']
        + parts + ["</svg>", ""])


def text(x, y, content, anchor="start", colour="black"):
    return (f'<text x="{x:g}" y="{y:g}" text-anchor="{anchor}" '
            f'fill="{colour}">{escape(content)}</text>')


def fixed(x, y, content, colour="black"):
    """Text of fixed width, as wide with any font."""
    return (f'<text x="{x:g}" y="{y:g}" font-family="monospace" font-size="12" '
            f'fill="{colour}" textLength="{len(content) * CHARACTER:g}" '
            f'lengthAdjust="spacingAndGlyphs">{escape(content)}</text>')


def box(x, y, width, height, colour):
    return (f'<rect x="{x:g}" y="{y:g}" width="{width:g}" height="{height:g}" '
            f'fill="{PALE[colour]}" stroke="{colour}"/>')


def line(x1, y1, x2, y2, colour=GREY, dashes="none"):
    return (f'<line x1="{x1:g}" y1="{y1:g}" x2="{x2:g}" y2="{y2:g}" '
            f'stroke="{colour}" stroke-dasharray="{dashes}"/>')


def run(*command):
    return subprocess.run([str(word) for word in command], check=True,
                          stdout=subprocess.PIPE).stdout


def dataRecords():
    """Address, length and line of each data record, and the other lines."""
    records, others, base = [], [], 0
    for record in HEX.read_text().split():
        kind = int(record[7:9], 16)
        if kind == 0:
            records.append((base + int(record[3:7], 16), int(record[1:3], 16),
                            record))
            continue
        if kind in (2, 4):
            base = int(record[9:13], 16) << (4 if kind == 2 else 16)
        names = {1: "the end", 2: "segment address", 4: "upper address",
                 3: "start address", 5: "start address"}
        others.append((record, names[kind]))
    return records, others


def layers(build):
    """Records, blocks, segments and image of one file, by memory address."""
    records, others = dataRecords()
    blocks = [(int(address, 16), int(size)) for address, size in re.findall(
        r"0x([0-9a-f]{8}) (\d+) bytes",
        run(build / "examples/anyhex", HEX).decode())]
    tool = build / "tools/qorhex/qorhex"
    segments = [(int(first, 16), int(last, 16) - int(first, 16) + 1)
                for first, last in re.findall(
                    r"^ +\d+  0x([0-9a-f]{8})  0x([0-9a-f]{8}) ",
                    run(tool, HEX).decode(), re.MULTILINE)]
    image = run(tool, "-b", "-", HEX)
    start = segments[0][0]

    def y(address):
        return 70 + (address - start) * 5.5

    bottom = y(start + len(image))
    parts = [text(x, 24, title) + text(x, 42, who, colour=GREY)
             for x, title, who in ((20, "records", "lines of the file"),
                                   (390, "blocks", "of the library"),
                                   (540, "segments", "of the tool"),
                                   (690, "image", "qorhex --binary"))]
    for address, size, record in records:
        parts += [box(20, y(address), 345, size * 5.5, GREY),
                  fixed(26, y(address) + 16, record)]
    for x, runs, colour in ((390, blocks, BLUE), (540, segments, GREEN)):
        for address, size in runs:
            parts += [box(x, y(address), 130, size * 5.5, colour),
                      fixed(x + 6, y(address) + 16,
                            f"0x{address:08x} {size}")]
    parts += [box(690, 70, 130, bottom - 70, RED),
              text(696, 86, f"{len(image)} bytes")]
    for (address, size), (behind, _) in zip(segments, segments[1:]):
        gap = image[address + size - start:behind - start]
        assert set(gap) == {0xff}
        parts.append(text(696, (y(address + size) + y(behind)) / 2 + 5,
                          f"{len(gap)} × ff", colour=GREY))
        for edge in (address + size, behind):
            parts.append(line(690, y(edge), 820, y(edge), RED, "2 3"))
    for boundary in range(start // 65536 + 1, (start + len(image)) // 65536 + 1):
        at = y(boundary * 65536)
        parts += [line(10, at, 830, at, GREY, "6 4"),
                  text(812, at - 6, f"0x{boundary * 65536:08x}", "end", GREY)]
    for i, (record, name) in enumerate(others):
        at = bottom + 30 + 20 * i
        parts += [fixed(26, at, record, GREY),
                  text(230, at, name, colour=GREY)]
    return svg(840, bottom + 30 + 20 * len(others),
               "From records to an image", parts)


def timeline(build):
    """When jobs are due, and when they run."""
    runs = [(name, int(due), int(busy)) for name, due, busy in re.findall(
        r"(\w+) +due at +(\d+), busy for +(\d+)",
        run(build / "examples/timeline").decode())]
    left, scale = 80, 4.8
    rows = {name: 70 + 60 * i
            for i, name in enumerate(dict.fromkeys(row[0] for row in runs))}
    last = max(due + busy for _, due, busy in runs)
    bottom = 60 * len(rows) + 70
    parts = [text(20, 24, "▾ due"), text(90, 24, "▮ runs", colour=BLUE),
             text(160, 24, "▮ runs late, catching up", colour=RED)]
    for at in range(0, last + 10, 20):
        parts += [line(left + at * scale, 40, left + at * scale, bottom,
                       "#dddddd"),
                  text(left + at * scale, bottom + 16, f"{at} ms", "middle",
                       GREY)]
    free = 0
    for name, due, busy in runs:
        begin = max(due, free)
        free = begin + busy
        colour = BLUE if begin == due else RED
        parts += [text(left + due * scale, rows[name] - 4, "▾", "middle"),
                  box(left + begin * scale, rows[name], busy * scale, 22,
                      colour)]
    parts += [text(20, rows[name] + 16, name) for name in rows]
    return svg(left + (last + 10) * scale, bottom + 30,
               "A job that hangs, and how the scheduler catches up", parts)


def helpScreen(build):
    """The columns of a help screen."""
    shown = run(build / "examples/options", "--size=4", "-l", "3", "--help")
    lines = [each for each in shown.decode().splitlines()
             if each.startswith("-")]
    longColumn = lines[0].index("--")
    helpColumn = min(re.search(r"--\S+ +", each).end() for each in lines)
    ends = [0, longColumn, helpColumn, max(map(len, lines))]
    names = ["letter, argument", "long name, argument", "help"]
    parts = []
    for begin, end, name, colour in zip(ends, ends[1:], names,
                                        (BLUE, GREEN, GREY)):
        x = 20 + begin * CHARACTER
        width = (end - begin) * CHARACTER - (8 if end < ends[-1] else 0)
        parts += [text(x, 24, name, colour=colour),
                  box(x - 3, 34, width + 6, 20 * len(lines) + 8, colour)]
        parts += [fixed(x, 50 + 20 * i, each[begin:end].rstrip())
                  for i, each in enumerate(lines) if each[begin:end].strip()]
    return svg(40 + round(ends[-1] * CHARACTER), 60 + 20 * len(lines),
               "The columns of a help screen", parts)


def main():
    arguments = sys.argv[1:]
    check = arguments[:1] == ["--check"]
    arguments = arguments[check:]
    if len(arguments) != 1 or arguments[0].startswith("-"):
        sys.exit(__doc__.strip())
    stale = False
    for name, draw in (("layers", layers), ("timeline", timeline),
                       ("help", helpScreen)):
        path = TOP / "docs" / "pictures" / f"{name}.svg"
        picture = draw(Path(arguments[0]).resolve())
        if not check:
            path.parent.mkdir(exist_ok=True)
            path.write_text(picture, encoding="utf-8")
        elif (not path.is_file()
              or path.read_text(encoding="utf-8") != picture):
            print(f"{path} is stale: scripts/pictures.py draws it anew")
            stale = True
    sys.exit(stale)


main()
