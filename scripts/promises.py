#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Maps what the public headers promise to the tests that hold it.

A promise is the comment above a declaration. It is held by a test that uses the
name, itself or through what its file defines beside it; the names of the tests
are statements, to be read against the sentences. A name that no test uses is an
error, and so is a function or class for which no allocation is made to fail.

    scripts/promises.py           writes docs/promises.md
    scripts/promises.py --check   tells whether that page is what it would be
    scripts/promises.py NAME      the sentences of one name, and its tests:
                                  rightTrim, IntelHexFile::load
"""

import re
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent
PAGE = TOP / "docs/promises.md"
FAULTS = TOP / "tests/common/allocation_faults_test.cpp"
HEADERS = ["conversion", "exception", "formatting", "intelhex", "options",
           "scheduler", "strings", "system", "time", "version"]
HEAD = """\
# Promises and the tests that hold them

The comment above a declaration is what the library promises, sentence by sentence. This page names for each the
tests that use the declared thing, by suite and file; `scripts/promises.py NAME` shows the sentences of one beside the
names of its tests, which are statements. The script writes this page, and refuses a name that no test uses. Fields
and operators of a class are under their type.

What holds more than one name:

- the layout of all types, and the names that the library exports: [tests/abi](../tests/abi),
  [exported_symbols.txt](../tests/consumer/exported_symbols.txt); every one of them is called by the client in
  [tests/consumer](../tests/consumer/client)
- every function where memory runs out, at each of its allocations:
  [allocation_faults_test.cpp](../tests/common/allocation_faults_test.cpp)
- every printer on a stream with odd settings: [printers_test.cpp](../tests/common/printers_test.cpp); calls from
  several threads: [threads_test.cpp](../tests/common/threads_test.cpp)
- fast ways against plain ones on random input: `fuzz/`, and the tests named `plain` and `random`
"""


class Promise:
    """A declared name with its comment."""

    def __init__(self, scope, name, argument, sentences):
        self.scope = scope        # the class around it, or ""
        self.name = name          # as it is called
        self.argument = argument  # what an operator takes, or ""
        self.sentences = sentences

    def title(self):
        name = f"{self.scope}::{self.name}" if self.scope else self.name
        return f"{name}, {self.argument}" if self.argument else name

    def isUsedIn(self, text):
        """Whether a piece of a test uses the name."""
        if self.argument:
            return (self.name.removeprefix("operator") in text
                    and mentions(text, self.argument))
        if not self.scope:
            return mentions(text, self.name)
        return (self.name in text and
                bool(re.search(rf"(\.|->|::){self.name}\b", text)))


def last(scope):
    return scope.rsplit("::", 1)[-1]


def mentions(text, name):
    """Whether the whole word occurs; looking for it first is what is fast."""
    return name in text and bool(re.search(rf"\b{re.escape(name)}\b", text))


def sentencesOf(comment):
    """The sentences of a comment, without its example."""
    prose = [line[4:] for line in comment if not line.startswith("///     ")]
    text = re.sub(r"\s+", " ", " ".join(prose)).strip()
    return [part for part in re.split(r"(?<=[.:]) (?=[A-Z`#])", text) if part]


def declared(text):
    """The kind and name of a declaration, and what an operator takes."""
    text = re.sub(r"//.*", "", text)
    text = re.sub(r"QORUTIL_\w+|template <[^<>]*>|explicit|static_assert.*", "",
                  text)
    text = re.sub(r"\s+", " ", text).strip()
    if match := re.match(r"(?:class|struct|enum|enum class) (\w+)", text):
        if "(" not in text.split("{")[0].split(":")[0]:
            return "type", match[1], ""
    if match := re.search(r"operator *(<<|\[\]|\(\)|=|<) *\((.*)", text):
        types = re.findall(r"([\w:]+)(?:<\w+>)?&? *\w*[,)]", match[2])
        argument = last(types[-1]).lstrip("_") if types else ""
        return "function", "operator" + match[1], argument
    text = re.sub(r"<[^<>]*>", "", text)
    if match := re.search(r"(~?\w+) ?\(", text):
        return "function", match[1], ""
    if match := re.search(r"(\w+) *(?:\{.*\}|=.*)?;", text):
        return "variable", match[1], ""
    return "", "", ""


def promisesOf(header):
    """The promises of a header, those of one name together."""
    found = {}
    scopes = []  # (name, indentation)
    comment, text = [], ""
    for line in (TOP / f"include/qorutil/{header}.h").read_text().splitlines():
        bare = line.strip()
        if bare.startswith("///"):
            comment.append(bare)
            continue
        while scopes and bare == "};" and (len(line) - len(bare)
                                           <= scopes[-1][1]):
            scopes.pop()
            break
        if not comment:
            continue
        text += " " + bare
        if not re.search(r"[;{]", bare):
            continue
        kind, name, argument = declared(text)
        if name:
            note(found, scopes, kind, name, argument, comment)
            if kind == "type" and "{" in text and "}" not in text:
                scopes.append((name, len(line) - len(line.lstrip())))
        comment, text = [], ""
    return list(found.values())


def note(found, scopes, kind, name, argument, comment):
    scope = "::".join(part for part, _ in scopes)
    if kind == "variable" and scope:
        scope, name = scope.rpartition("::")[0], last(scope)
    if name == "sizeof" or kind == "variable" and name.isupper():
        return  # an assertion, an enumerator
    promise = Promise(scope, name, argument, [])
    operator = name.startswith("operator")
    if scope and (operator or name.lstrip("~") == last(scope)):
        # What every object of a class can do belongs to the class.
        promise = Promise(scope.rpartition("::")[0], last(scope), "", [])
    kept = found.setdefault(promise.title(), promise)
    kept.sentences += sentencesOf(comment)


class TestFile:
    """A file of tests, cut into its tests and what else it defines."""

    def __init__(self, path):
        self.path = path.relative_to(TOP)
        text = re.sub(r"//.*", "", path.read_text(encoding="utf-8"))
        self.tests = {}
        self.helpers = {}
        for piece in re.split(r"(?<=\n\}\n)|(?<=\n\};\n)|(?<=;\n)\n", text):
            self.keep(piece)

    def keep(self, piece):
        if match := re.search(r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),\s*(\w+)\)",
                              piece, re.MULTILINE):
            self.tests[f"{match[1]}.{match[2]}"] = piece
            # A fixture is used by naming it.
            return
        for name in re.findall(r"^(?:[\w:<>,&*\s]*?\b)?(\w+)(?:\(|\[\]| [={]|;)|"
                               r"(?:class|struct) (\w+)", piece, re.MULTILINE):
            self.helpers[name[0] or name[1]] = (
                self.helpers.get(name[0] or name[1], "") + piece)

    def reach(self, name):
        """The text of a test and of all that it uses of its file."""
        todo, seen = [self.tests[name]], set()
        texts = []
        while todo:
            text = todo.pop()
            texts.append(text)
            for word in set(re.findall(r"\b\w+\b", text)) & self.helpers.keys():
                if word not in seen:
                    seen.add(word)
                    todo.append(self.helpers[word])
        return "\n".join(texts)


def testFiles():
    folders = ("app", "common", "ihex", "sys", "text")
    paths = [path for folder in folders
             for path in (TOP / "tests" / folder).glob("*_test.cpp")
             if path != FAULTS]  # which knows every name
    return [TestFile(path) for path in sorted(paths)]


def reached(files):
    """Each test with its text, its file and the whole of that file."""
    return [(name, file, file.reach(name)) for file in files for name in file.tests]


def holders(promise, header, texts):
    """The tests that use the name, and include its family."""
    family = {"exception": "app/exception", "conversion": "app/conversion",
              "options": "app/options", "scheduler": "app/",
              "version": "app/", "intelhex": "ihex/", "system": "sys/",
              "time": "sys/", "strings": "text/", "formatting": "text/"}[header]
    found = []
    for name, file, text in texts:
        path = str(file.path).removeprefix("tests/")
        if path.startswith((family, "common/")) and promise.isUsedIn(text):
            found.append((name, file.path))
    return found


def suitesOf(tests):
    """The suites by file, as links."""
    files = {}
    for name, path in tests:
        suites = files.setdefault(path, [])
        suite = name.split(".")[0]
        if suite not in suites:
            suites.append(suite)
    return "; ".join(f"[{path.stem}](../{path}): {', '.join(suites)}"
                     for path, suites in files.items())


def page():
    texts = reached(testFiles())
    parts = [HEAD]
    lacking = []
    for header in HEADERS:
        parts.append(f"## {header}.h\n\n| name | sentences | held by |\n|---|---:|---|")
        for promise in promisesOf(header):
            tests = holders(promise, header, texts)
            if not tests:
                lacking.append(f"{header}.h: {promise.title()}")
            parts.append(f"| `{promise.title()}` | {len(promise.sentences)} | "
                         f"{suitesOf(tests)} |")
        parts.append("")
    if lacking:
        sys.exit("no test uses: " + "; ".join(lacking))
    if unfailed := withoutFaults():
        sys.exit(f"{FAULTS.relative_to(TOP)} lacks: " + "; ".join(unfailed))
    return "\n".join(parts).rstrip("\n") + "\n"


def withoutFaults():
    """The names for which no allocation is made to fail."""
    text = re.sub(r'//.*|"(\\.|[^"\\\n])*"', "",
                  FAULTS.read_text(encoding="utf-8"))
    return [promise.title() for header in HEADERS
            for promise in promisesOf(header) if not promise.isUsedIn(text)]


def show(wanted):
    texts = reached(testFiles())
    for header in HEADERS:
        for promise in promisesOf(header):
            if wanted in (promise.title(), promise.name):
                print(f"{header}.h: {promise.title()}")
                for sentence in promise.sentences:
                    print(f"  - {sentence}")
                for name, path in holders(promise, header, texts):
                    print(f"  {path}: {name}")


def main(arguments):
    if arguments in (["--help"], ["-h"]):
        print(__doc__.strip())
    elif arguments == ["--check"]:
        if not PAGE.exists() or PAGE.read_text(encoding="utf-8") != page():
            sys.exit("docs/promises.md is out of date; run: scripts/promises.py")
        print("docs/promises.md names the tests of every promise.")
    elif len(arguments) == 1 and not arguments[0].startswith("-"):
        show(arguments[0])
    elif arguments:
        sys.exit("promises.py: --check, a name, or nothing")
    else:
        PAGE.write_text(page(), encoding="utf-8")


main(sys.argv[1:])
