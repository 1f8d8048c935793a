#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes Debian's list of the library's names to standard output.

    scripts/symbols.py VERSION OLD BITS=LIBRARY...

Each LIBRARY is one built for a target of BITS bits, 32 or 64; there can be more
of either. A name that OLD, the present list, has keeps its version there; a new
one gets VERSION. What only some libraries of a width have is optional there.
"""

import re
import subprocess
import sys

HEAD = """\
libqorutil.so.0 libqorutil0 #MINVER#
* Build-Depends-Package: libqorutil-dev
"""


def namesOf(library):
    """The names that `library` exports, demangled, with their version node."""
    listed = subprocess.run(
        ["readelf", "--wide", "--dyn-syms", library],
        check=True, capture_output=True, text=True).stdout
    names = re.findall(r" (?:GLOBAL|WEAK) +DEFAULT +(?:\d+|ABS) (\S+)@@(\S+)",
                       listed)
    plain = subprocess.run(["c++filt"], check=True, capture_output=True,
                           text=True, input="\n".join(name for name, _ in names)
                           ).stdout.splitlines()
    found = {f"{node}@{node}" for _, node in names}
    for (mangled, node), name in zip(names, plain):
        found.add(f"{name}@{node}" if name == mangled else f'"{name}@{node}"')
    return found


def versionsIn(path):
    """The version that stands behind each name of a list."""
    versions = {}
    try:
        with open(path, encoding="utf-8") as lines:
            for line in lines:
                match = re.match(r' (?:\([^"]*?\))?(".*"|\S+) (\S+)$', line)
                if match:
                    versions[match[1]] = match[2]
    except FileNotFoundError:
        pass
    return versions


def tagsFor(name, libraries):
    """What says which libraries have `name`; nothing if all have it."""
    tags = ["c++"] if name.startswith('"') else []
    having = {bits: [name in names for names in sets]
              for bits, sets in libraries.items()}
    some = [bits for bits, answers in having.items() if any(answers)]
    if not all(all(having[bits]) for bits in some):
        tags.append("optional")
    if len(some) < len(libraries):
        tags += [f"arch-bits={bits}" for bits in some]
    return f"({'|'.join(tags)})" if tags else ""


def main(arguments):
    if len(arguments) < 3:
        sys.exit(__doc__.strip())
    version, old = arguments[:2]
    libraries = {}
    for argument in arguments[2:]:
        bits, library = argument.split("=", 1)
        libraries.setdefault(bits, []).append(namesOf(library))
    versions = versionsIn(old)
    every = set().union(*(names for sets in libraries.values() for names in sets))
    sys.stdout.write(HEAD)
    for name in sorted(every, key=lambda name: name.strip('"')):
        print(f" {tagsFor(name, libraries)}{name} {versions.get(name, version)}")


main(sys.argv[1:])
