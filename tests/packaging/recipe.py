#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads the recipe of OpenEmbedded as far as it needs no BitBake.

    recipe.py FILE options         the settings for CMake, one in a line
    recipe.py FILE packages ROOT   each file installed in ROOT, and its package
"""

import fnmatch
import os
import re
import sys

# BitBake's own, in the order in which packages take files.
DEFAULTS = {
    "-dev": "${includedir} ${libdir}/lib*.so ${libdir}/pkgconfig "
            "${libdir}/cmake ${datadir}/pkgconfig",
    "-doc": "${docdir} ${mandir} ${infodir}",
    "": "${bindir}/* ${sbindir}/* ${libdir}/lib*.so.*",
}
FOLDERS = {
    "bindir": "/usr/bin", "sbindir": "/usr/sbin", "libdir": "/usr/lib",
    "includedir": "/usr/include", "datadir": "/usr/share",
    "docdir": "/usr/share/doc", "mandir": "/usr/share/man",
    "infodir": "/usr/share/info",
}


def settings(path):
    """What the recipe sets, the lines that go on joined."""
    with open(path, encoding="utf-8") as file:
        text = file.read().replace("\\\n", " ")
    found = {}
    for line in text.splitlines():
        match = re.fullmatch(r'([\w:\[\]${}-]+) *(=\+|\?=|\+=|=) *"(.*)"', line)
        if match:
            found[match[1]] = match[3]
        elif line and not re.match(r"#|inherit ", line):
            sys.exit(f"{path}: cannot read: {line}")
    return found


def patterns(text):
    return re.sub(r"\$\{(\w+)\}", lambda m: FOLDERS[m[1]], text).split()


def claims(pattern, path):
    return fnmatch.fnmatchcase(path, pattern) or path.startswith(pattern + "/")


def packagesOf(recipe):
    """The packages with their patterns, those of the recipe first."""
    own = recipe["PACKAGES"].replace("${PN}", "").split()
    order = {name: recipe[f"FILES:${{PN}}{name}"] for name in own}
    order.update(DEFAULTS)
    return {name: patterns(text) for name, text in order.items()}


def printPackages(recipe, root):
    packages = packagesOf(recipe)
    lost = []
    for folder, _, files in os.walk(root):
        for name in files:
            path = os.path.join(folder, name).removeprefix(root)
            for package, wanted in packages.items():
                if any(claims(pattern, path) for pattern in wanted):
                    print(f"qorutil{package} {path}")
                    break
            else:
                lost.append(path)
    if lost:
        sys.exit(f"in no package: {' '.join(sorted(lost))}")


def main(arguments):
    recipe = settings(arguments[0])
    if arguments[1:] == ["options"]:
        print("\n".join(recipe["EXTRA_OECMAKE"].split()))
    elif arguments[1] == "packages":
        printPackages(recipe, arguments[2])
    else:
        sys.exit(__doc__)


main(sys.argv[1:])
