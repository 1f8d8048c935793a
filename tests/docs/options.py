#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Holds all that tells of qorhex's options against what --help tells: the
manual, the table in docs/qorhex.md and the completions of bash, zsh and fish.
The same options everywhere, with the same letters and arguments.

    options.py PROGRAM ROOT    ROOT is the folder of the sources
"""

import os
import re
import subprocess
import sys

NONE, REQUIRED, OPTIONAL = "", "=", "[=]"


def read(*path):
    with open(os.path.join(root, *path), encoding="utf-8") as file:
        return file.read()


def helpText():
    return subprocess.run([program, "--help"], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def kind(behind):
    """What argument an option has, by what stands behind its name."""
    if behind.startswith("[="):
        return OPTIONAL
    return REQUIRED if behind.startswith("=") else NONE


def described(lines):
    """Options as `-b <file>  --binary=<file>`, commas or not between them."""
    found = {}
    for line in lines:
        match = re.match(r"\s*(?:-(\w)\b.*?)?\s*--([a-z-]+)(\S*)", line)
        if match:
            letter, name, behind = match.groups()
            found[name] = (letter or "", kind(behind))
    return found


def fromManual():
    """Of each .TP in OPTIONS the line that follows, without its roff."""
    page = read("tools", "qorhex", "qorhex.1")
    section = re.search(r"\n\.SH OPTIONS\n(.*?)\n\.SH ", page, re.S)[1]
    lines = re.findall(r"\n\.TP\n(?:\.[A-Z]+ )?(.*)", "\n" + section)
    return described(re.sub(r"\\f.|\\(?=-)|\"", "", line).replace(" [", "[")
                     for line in lines)


def fromPage():
    """The table at the end; every option that the page names is in it."""
    page = read("docs", "qorhex.md")
    rows = [row.replace("`", "") for row in
            re.findall(r"^\| (`-.*?`) \|", page, re.M)]
    known = described(rows)
    for place in (page, read("README.md")):
        for line in place.split("\n"):
            for name in re.findall(r"(?<![\w-])--([a-z][a-z-]+)", line):
                if "qorhex" in line and "cmake" not in line \
                        and "scripts/" not in line and name not in known:
                    complain(f"no option, but mentioned: --{name}: {line}")
    return known


def fromBash():
    words = re.search(r"_qorhex_options='(.*?)'", read(
        "tools", "qorhex", "completions", "qorhex.bash"), re.S)[1].split()
    found = {}
    letter = ""
    for word in words:
        if not word.startswith("--"):
            letter = word[1]
            continue
        name = word[2:].rstrip("=")
        if name in found:  # once more, with an argument
            found[name] = (found[name][0], OPTIONAL)
        else:
            found[name] = (letter, REQUIRED if word.endswith("=") else NONE)
        letter = ""
    return found


def fromZsh():
    """Of every specification the names in braces, or the one in the quotes."""
    text = read("tools", "qorhex", "completions", "_qorhex")
    found = {}
    for spec in re.findall(r"^  (?!'\*:)(['\"].*) \\$", text, re.M):
        braces = re.search(r"\{(.*?)\}'\[", spec)
        names = braces[1].split(",") if braces else \
            [re.search(r"['*](--[a-z-]+=?)\[", spec)[1]]
        long, behind = re.fullmatch(r"--([a-z-]*[a-z])(=?-?)",
                                    names[-1]).groups()
        argument = {"": NONE, "=": REQUIRED, "=-": OPTIONAL}[behind]
        takes = re.search(r"\[.*?\](:*)", spec)[1]
        if takes != {NONE: "", REQUIRED: ":", OPTIONAL: "::"}[argument]:
            complain(f"zsh: the argument of --{long}")
        letter = names[0][1] if len(names) == 2 else ""
        if letter and names[0][2:] != {NONE: "", REQUIRED: "+",
                                       OPTIONAL: "-"}[argument]:
            complain(f"zsh: the argument of -{letter}")
        found[long] = (letter, argument)
    return found


def fromFish():
    """fish does not know optional arguments."""
    found = {}
    for line in read("tools", "qorhex", "completions",
                     "qorhex.fish").split("\n"):
        match = re.match(r"complete -c qorhex (?:-s (\w) )?-l ([a-z-]+)(.*)",
                         line)
        if match:
            letter, name, behind = match.groups()
            takes = re.match(r" -[rx]\b", behind)
            found[name] = (letter or "", REQUIRED if takes else NONE)
    return found


def compare(what, found, expected):
    for name in sorted(found.keys() | expected.keys()):
        if found.get(name) != expected.get(name):
            complain(f"{what}: --{name} is {found.get(name)}, "
                     f"in --help {expected.get(name)}")


def complain(text):
    print(text)
    complaints.append(text)


program, root = sys.argv[1:]
complaints = []
text = helpText()
for line in text.split("\n"):
    if len(line) > 80:
        complain(f"--help: more than 80 columns: {line}")
options = described(line for line in text.split("\n") if "--" in line[:16])
if len(options) != len(re.findall(r"^(?:-\w.{9}| {11})--", text, re.M)) or \
        len(options) < 10:
    complain(f"--help: not understood, {len(options)} options")
for what, found in (("manual", fromManual()), ("docs/qorhex.md", fromPage()),
                    ("bash", fromBash()), ("zsh", fromZsh())):
    compare(what, found, options)
compare("fish", fromFish(),
        {name: (letter, NONE if argument == OPTIONAL else argument)
         for name, (letter, argument) in options.items()})
print(f"{len(options)} options")
sys.exit(1 if complaints else 0)
