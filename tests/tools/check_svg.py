#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds the pictures of qorhex against an XML parser and against the bytes.

    check_svg.py QORHEX FOLDER

Draws the HEX files of FOLDER, and files with names and sizes of all kinds. Every
picture has to be well-formed, nothing may lie outside of it, and data that is
drawn to scale has to have the height that its size says.
"""

import os
import re
import subprocess
import sys
import tempfile
from xml.dom import minidom

MOST_BYTES = 100000  # of a picture
LEAST_HEIGHT = 3  # what is lower is enlarged


def fail(text):
    sys.exit(f"check_svg.py: {text}")


def record(kind, offset, data):
    body = bytes([len(data), offset >> 8, offset & 0xFF, kind]) + data
    return b":" + (body + bytes([-sum(body) & 0xFF])).hex().upper().encode() + b"\n"


def hex_text(*segments):
    """Returns the text of segments, pairs of address and size."""
    lines = []
    for address, size in segments:
        for at in range(address, address + size, 16):
            count = min(16, address + size - at)
            lines.append(record(4, 0, (at >> 16).to_bytes(2, "big")))
            lines.append(record(0, at & 0xFFFF, bytes(count)))
    return b"".join(lines) + record(1, 0, b"")


def draw(qorhex, name, folder):
    """Returns the picture of a file as a document."""
    out = subprocess.run([qorhex, "--force", "--svg=-", "--", name], cwd=folder,
                         stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         stderr=subprocess.DEVNULL, check=False)
    if out.returncode != 0:
        return None
    if len(out.stdout) > MOST_BYTES:
        fail(f"{name!r}: a picture of {len(out.stdout)} bytes")
    picture = minidom.parseString(out.stdout).documentElement
    check_edges(name, picture)
    return picture


def number(node, name):
    return float(node.getAttribute(name) or 0)


def check_edges(name, picture):
    width, height = number(picture, "width"), number(picture, "height")
    if picture.getAttribute("viewBox") != f"0 0 {width:g} {height:g}":
        fail(f"{name!r}: the viewBox is not the size")
    for node in picture.getElementsByTagName("rect"):
        if (number(node, "width") <= 0 or number(node, "height") <= 0
                or number(node, "x") + number(node, "width") > width
                or number(node, "y") + number(node, "height") > height):
            fail(f"{name!r}: {node.toxml()} is not in the picture")
    for node in picture.getElementsByTagName("text"):
        if not (0 < number(node, "x") < width and 0 < number(node, "y") < height):
            fail(f"{name!r}: {node.toxml()} is not in the picture")


def runs_of(picture):
    """Returns the size of each run and its height."""
    runs = []
    for group in picture.getElementsByTagName("g"):
        title = group.getElementsByTagName("title")
        if title and group.firstChild.nextSibling is title[0]:
            size = re.search(r", (\d+) bytes?", title[0].firstChild.data)[1]
            runs.append((int(size), number(group.getElementsByTagName("rect")[0], "height")))
    return runs


def check_scale(name, picture, sizes):
    runs = runs_of(picture)
    if [size for size, height in runs] != sizes:
        fail(f"{name}: {runs} are not {sizes}")
    scaled = [run for run in runs if run[1] > LEAST_HEIGHT]
    total = sum(size for size, height in scaled)
    high = sum(height for size, height in scaled)
    for size, height in scaled:
        if abs(height - high * size / total) > 0.2:
            fail(f"{name}: {size} bytes are {height} high, not to scale")


def check_names(qorhex, folder):
    for name in (b"a&b<c>\"d'.hex", b"\x1b[2J\xff\xc3.hex", b"]]>.hex", b"\xef\xbf\xbe\xef\xbf\xbf",
                 b"\xed\xa0\x80.hex", b"<!--.hex", b"\t\n\r .hex", b"x" * 250):
        with open(os.path.join(folder.encode(), name), "wb") as file:
            file.write(hex_text((0, 5)))
        if draw(qorhex, name, folder) is None:
            fail(f"{name!r} is not drawn")


def check_images(qorhex, folder):
    images = {
        "one": [(0, 1)],
        "two": [(0, 1000), (0x8000, 3000)],
        "uneven": [(0, 4), (0x100, 5000), (0xFFFFFF00, 256)],
        "gaps": [(i * 0x1000000, 100 + i * 10) for i in range(30)],
    }
    for name, segments in images.items():
        with open(os.path.join(folder, name), "wb") as file:
            file.write(hex_text(*segments))
        check_scale(name, draw(qorhex, name, folder), [size for start, size in segments])
    with open(os.path.join(folder, "many"), "wb") as file:
        file.write(hex_text(*((i * 40, 1 + i % 16) for i in range(20000))))
    runs = runs_of(draw(qorhex, "many", folder))
    if sum(size for size, height in runs) != sum(1 + i % 16 for i in range(20000)):
        fail("many: there are bytes too few or too many")


def main():
    qorhex, folder = sys.argv[1:]
    drawn = 0
    for place, _, names in os.walk(folder):
        drawn += sum(draw(qorhex, name, place) is not None
                     for name in names if name.endswith(".hex"))
    if drawn == 0:
        fail(f"no file of {folder} was drawn")
    with tempfile.TemporaryDirectory() as work:
        check_names(qorhex, work)
        check_images(qorhex, work)


main()
