#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the plots of docs/performance.md: plots.py RESULTS.json FOLDER."""

import json
import math
import sys

COLOURS = ["#1b6ca8", "#888888", "#d1495b", "#66a182", "#edae49", "#5b3a8c"]
TOP = 48
FONT = 'font-family="sans-serif" font-size="13"'


def svg(width, height, title, parts):
    return "\n".join(
        [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} '
         f'{height}" {FONT}>',
         f'<rect width="{width}" height="{height}" fill="white"/>',
         text(width / 2, 24, title, "middle")] + parts + ["</svg>", ""])


def text(x, y, content, anchor="start"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{content}'
            "</text>")


def line(x1, y1, x2, y2, colour="#dddddd"):
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" '
            f'stroke="{colour}"/>')


def sizeText(size):
    return f"{size >> 20} MiB" if size >= 1 << 20 else f"{size >> 10} KiB"


def growthPlot(growth):
    """Seconds against size, both on logarithmic scales."""
    left, right, bottom = 80, 560, 400
    points = [point for series in growth.values() for point in series]
    sizes = sorted({size for size, _ in points})
    low = math.floor(math.log10(min(taken for _, taken in points)))
    high = math.ceil(math.log10(max(taken for _, taken in points)))
    span = math.log2(sizes[-1] / sizes[0]) or 1

    def x(size):
        return left + math.log2(size / sizes[0]) / span * (right - left)

    def y(taken):
        return bottom - (math.log10(taken) - low) / (high - low) * (bottom - TOP)

    parts = [line(x(size), TOP, x(size), bottom) for size in sizes]
    parts += [text(x(size), bottom + 20, sizeText(size), "middle")
              for size in sizes[::2]]
    for power in range(low, high + 1):
        parts += [line(left, y(10**power), right, y(10**power)),
                  text(left - 8, y(10**power) + 4, f"{10**(power + 3):g} ms",
                       "end")]
    # The names stand at the ends of the lines, far enough from each other.
    last = bottom + 18.0
    ordered = sorted(growth.items(), key=lambda item: item[1][-1][1])
    for (name, series), colour in zip(ordered, COLOURS):
        path = " ".join(f"{x(size):.1f},{y(taken):.1f}"
                        for size, taken in series)
        parts.append(f'<polyline points="{path}" fill="none" '
                     f'stroke="{colour}" stroke-width="2"/>')
        last = min(y(series[-1][1]) + 4, last - 16)
        parts.append(f'<g fill="{colour}">{text(right + 8, last, name)}</g>')
    return svg(680, bottom + 40, "Whole process: time against size of the image",
               parts)


def stagesPlot(times):
    """Nanoseconds per byte of the image, one bar for each stage."""
    size = 16 << 20
    stages = [("read", "read"), ("decode", "decode<decodeRecord>"),
              ("decode by digits", "decode<decodeRecordByDigits>"),
              ("make blocks", "blocks"), ("write", "write")]
    values = [(name, times[f"BM_stage_{stage}/{size}"] / size)
              for name, stage in stages]
    values.append(("the whole load", times[f"BM_load/{size}"] / size))
    scale = 400 / max(value for _, value in values)
    parts = []
    for i, (name, value) in enumerate(values):
        y = TOP + i * 34
        parts += [text(150, y + 17, name, "end"),
                  f'<rect x="160" y="{y}" width="{value * scale:.1f}" '
                  f'height="24" fill="{COLOURS[0]}"/>',
                  text(168 + value * scale, y + 17, f"{value:.2f} ns")]
    return svg(680, TOP + 34 * len(values) + 10,
               "Time per byte of the image by stage, 16 MiB in order", parts)


with open(sys.argv[1], encoding="utf-8") as source:
    results = json.load(source)
for plot, content in (
        ("growth", growthPlot(results["growth"])),
        ("stages", stagesPlot(results["families"]["intelhex_benchmark"]))):
    with open(f"{sys.argv[2]}/{plot}.svg", "w", encoding="utf-8") as target:
        target.write(content)
