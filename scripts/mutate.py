#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Changes the sources one place at a time and tells which changes no test saw.

Called by scripts/mutate.sh, whose --help tells the rest. Nothing in the
checkout is touched: the sources are changed in a copy, build/mutate/tree.
"""

import argparse
import collections
import hashlib
import json
import os
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

sys.dont_write_bytecode = True  # nothing beside the sources
import mutations  # noqa: E402

TOP = Path(__file__).resolve().parent.parent
WORK = TOP / "build/mutate"
TREE = WORK / "tree"
BUILD = WORK / "build"
TEMPORARY = WORK / "tmp"
BASELINE = WORK / "baseline.json"
RESULTS = WORK / "results.jsonl"
LISTED = TOP / "tests/mutation/equivalent.txt"

JOBS = 2
MEMORY = 4 << 30  # a mutant must not take the machine's

KILLED, TIME, SURVIVED, INVALID = "killed", "time", "survived", "invalid"

# The tests of the library by family, and those of the tool. What the compiler
# refuses, the clients and the guides take long and show nothing more.
LIBRARY = re.compile(r"(abi|app|common|ihex|sys|text)\.")
TOOL = re.compile(r"tools\.|docs\.(picture|qorhex.*)$|scripts\.check_corpus$")


def fail(text):
    sys.exit(f"mutate.py: {text}")


def projectFiles(*patterns):
    command = ["git", "-c", f"safe.directory={TOP}", "ls-files", "--cached",
               "--others", "--exclude-standard", "--deduplicate", "--"]
    listing = subprocess.run(command + list(patterns), cwd=TOP, check=True,
                             capture_output=True, text=True).stdout
    return [file for file in listing.splitlines() if (TOP / file).is_file()]


def copyTree():
    """Brings the copy up to date, which also takes back what a broken run has
    left changed. Returns a digest of what the tests may depend on."""
    digest = hashlib.sha256()
    files = set(projectFiles())
    for path in [path for path in TREE.rglob("*") if path.is_file()]:
        if str(path.relative_to(TREE)) not in files:
            path.unlink()
    for file in sorted(files):
        source, copy = TOP / file, TREE / file
        data = source.read_bytes()
        if source.parent != LISTED.parent:
            digest.update(file.encode() + b"\0" + data)
        if not copy.exists() or copy.read_bytes() != data:
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    return digest.hexdigest()


def configure():
    linker = "-fuse-ld=mold" if shutil.which("mold") else ""
    subprocess.run(
        ["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja",
         "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=",
         "-DCMAKE_CXX_FLAGS=-O0 -w -D_GLIBCXX_ASSERTIONS",
         "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_CXX_COMPILER_LAUNCHER=",
         "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON",
         f"-DCMAKE_PROJECT_qorutil_INCLUDE={TREE}/scripts/mutate.cmake",
         # The programs need no new linking when the library is another.
         "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON", "-DQORUTIL_BUILD_EXAMPLES=OFF",
         f"-DCMAKE_EXE_LINKER_FLAGS={linker}",
         f"-DCMAKE_SHARED_LINKER_FLAGS={linker}"],
        check=True, stdout=subprocess.DEVNULL)


def build(targets, quiet=True):
    """Whether the targets can be built."""
    try:
        return subprocess.run(
            ["ninja", "-C", BUILD, f"-j{JOBS}", *targets], timeout=3600,
            stdout=subprocess.DEVNULL if quiet else None).returncode == 0
    except subprocess.TimeoutExpired:
        return False


class Test:
    def __init__(self, entry):
        self.name = entry["name"]
        # None of a program that is not built yet.
        self.command = entry.get("command")
        properties = {property["name"]: property["value"]
                      for property in entry["properties"]}
        self.folder = properties.get("WORKING_DIRECTORY")
        program = f"tests/{self.name.replace('.', '_')}_test"
        isProgram = (self.command is None or
                     self.command[0] == str(BUILD / program))
        self.target = program if isProgram else "qorhex"
        self.seconds = 0.0  # of processor time, without any change

    def start(self):
        limit = int(5 + 5 * self.seconds)

        def restrict():
            resource.setrlimit(resource.RLIMIT_CPU, (limit, limit + 5))
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        self.begun = time.monotonic()
        self.process = subprocess.Popen(
            self.command, cwd=self.folder, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True, preexec_fn=restrict,
            env=dict(os.environ, TMPDIR=str(TEMPORARY), GTEST_FAIL_FAST="1"))

    def poll(self):
        """The result, or None while it runs."""
        pid, status, usage = os.wait4(self.process.pid, os.WNOHANG)
        if pid == 0:
            elapsed = time.monotonic() - self.begun
            return TIME if elapsed > 60 + 20 * self.seconds else None
        self.process.returncode = os.waitstatus_to_exitcode(status)
        self.used = usage.ru_utime + usage.ru_stime
        if self.process.returncode == -signal.SIGXCPU:
            return TIME
        return SURVIVED if self.process.returncode == 0 else KILLED

    def stop(self):
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()


def run(tests):
    """Runs tests up to the first that fails; returns its result and name."""
    shutil.rmtree(TEMPORARY, ignore_errors=True)
    TEMPORARY.mkdir()
    waiting, running = list(tests), []
    try:
        while waiting or running:
            while waiting and len(running) < JOBS:
                running.append(waiting.pop(0))
                running[-1].start()
            time.sleep(0.01)
            for test in list(running):
                result = test.poll()
                if result == SURVIVED:
                    test.stop()  # what it left behind
                    running.remove(test)
                elif result is not None:
                    return result, test.name
    finally:
        for test in running:
            test.stop()
    return SURVIVED, ""


def allTests():
    listing = subprocess.run(["ctest", "--show-only=json-v1"], cwd=BUILD,
                             check=True, capture_output=True).stdout
    tests = [Test(entry) for entry in json.loads(listing)["tests"]
             if LIBRARY.match(entry["name"]) or TOOL.match(entry["name"])]
    # Not those that only call the compiler.
    return [test for test in tests
            if not (test.command and test.command[0].endswith("g++"))]


def prepare(digest, files):
    """Builds the tests of these files, runs each once and takes their times.
    Returns them."""
    names = {test.name for file in files
             for test in Order(allTests()).of(file)}
    known = {"tree": digest, "seconds": {}}
    if BASELINE.exists():
        last = json.loads(BASELINE.read_text())
        known = last if last["tree"] == digest else known
    print(f"Building in {BUILD.relative_to(TOP)}", flush=True)
    targets = {test.target for test in allTests() if test.name in names}
    if not build(targets, quiet=False):
        fail("cannot build what is to be changed")
    tests = [test for test in allTests() if test.name in names]
    new = [test for test in tests if test.name not in known["seconds"]]
    print(f"Running {len(new)} tests unchanged", flush=True)
    for test in new:
        test.seconds = 30.0
    result, name = run(new)
    if result != SURVIVED:
        fail(f"the test {name} fails without any change")
    for test in new:
        known["seconds"][test.name] = test.used
    for test in tests:
        test.seconds = known["seconds"][test.name]
    BASELINE.write_text(json.dumps(known))
    return tests


def compiledLines(file):
    """The lines of a source that its preprocessor lets through; None where
    those are all."""
    source = (TREE / file).read_text()
    if not re.search(r"^#\s*(if|elif|else)\b", source, re.M):
        return None
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        if entry["file"] == str(TREE / file):
            break
    else:
        return None  # a header, where the guard is all there is
    command = shlex.split(entry["command"])
    del command[command.index("-o"):command.index("-o") + 2]
    text = subprocess.run(command + ["-E"], cwd=entry["directory"],
                          check=True, capture_output=True, text=True).stdout
    lines, current, number = set(), "", 0
    for line in text.splitlines():
        marker = re.match(r'# (\d+) "(.*?)"', line)
        if marker:
            number, current = int(marker[1]) - 1, marker[2]
        else:
            number += 1
            if current == str(TREE / file) and line.strip():
                lines.add(number)
    return lines


def findMutants(files):
    found = {}
    for file in files:
        mutants = mutations.mutantsOf(file, (TOP / file).read_text())
        if mutants:
            lines = compiledLines(file)
            found[file] = [mutant for mutant in mutants
                           if lines is None or mutant.line in lines]
    return found


def choose(found, count, seed):
    """For each file the mutants in their order, and how many are wanted: one
    of each file, then as many as is its share."""
    ranked = []
    for file, mutants in found.items():
        mutants.sort(key=lambda mutant: mutations.digest(seed, mutant.id))
        for rank, mutant in enumerate(mutants):
            share = rank / len(mutants)
            ranked.append((share, mutations.digest(seed, mutant.id), file))
    ranked.sort()
    return collections.Counter(file for _, _, file in ranked[:count])


def readListed():
    """The mutants that no test can see, with the reasons."""
    listed = {}
    text = LISTED.read_text() if LISTED.exists() else ""
    for block in re.split(r"\n\s*\n", text):
        lines = [line.strip() for line in block.splitlines()
                 if not line.startswith("#")]
        if not any(lines):
            continue
        if len(lines) < 4 or not re.match("(equivalent|speed): .", lines[3]):
            fail(f"{LISTED.relative_to(TOP)}: not a file, a line, a change and "
                 f"a reason:\n{block}")
        listed[tuple(lines[:3])] = " ".join(lines[3:])
    return listed


def checkListed(listed):
    known = {}
    for file in {key[0] for key in listed}:
        if (TOP / file).is_file():
            source = (TOP / file).read_text()
            known.update((mutant.key(), mutant)
                         for mutant in mutations.mutantsOf(file, source))
    stale = [key for key in listed if key not in known]
    for key in stale:
        print(f"{LISTED.relative_to(TOP)}: not in the sources any more:\n  "
              + "\n  ".join(key))
    if stale:
        sys.exit(1)


def folderOf(file):
    return str(Path(file).parent)


class Order:
    """The tests of each file, those that are most likely to fail first."""

    def __init__(self, tests):
        self.tests = tests
        self.kills = collections.Counter()

    def noteKill(self, file, name):
        self.kills[(file, name)] += 1
        self.kills[(folderOf(file), name)] += 1

    def of(self, file):
        parts = Path(file).parts
        unit = Path(file).stem
        if parts[0] == "src":
            own = f"{parts[1]}.{unit}"
            wanted = (LIBRARY if parts[1] == "common"
                      else re.compile(rf"({parts[1]}|common)\."))
        else:
            own = f"tools.qorhex_{unit}"
            wanted = TOOL
        return sorted((test for test in self.tests if wanted.match(test.name)),
                      key=lambda test: (test.name != own,
                                        -self.kills[(file, test.name)],
                                        -self.kills[(folderOf(file),
                                                     test.name)],
                                        test.seconds))


def judge(tests):
    """Builds and runs, in growing steps: most mutants are seen by the first."""
    begin, size = 0, 1
    while begin < len(tests):
        step = tests[begin:begin + size]
        if not build({test.target for test in step}):
            return INVALID, ""
        result, name = run(step)
        if result != SURVIVED:
            return result, name
        begin, size = begin + size, size * 3
    return SURVIVED, ""


def tell(results, listed):
    """Prints the table and the survivors; returns whether all is well."""
    table = collections.defaultdict(collections.Counter)
    survivors = []
    for entry in results:
        row = table[folderOf(entry["file"])]
        row["mutants"] += 1
        reason = listed.get((entry["file"], entry["text"], entry["change"]))
        if entry["result"] != SURVIVED:
            row[entry["result"]] += 1
        elif reason:
            row[reason.split(":")[0]] += 1
        else:
            row[SURVIVED] += 1
            survivors.append(entry)
    columns = ["mutants", KILLED, TIME, "equivalent", "speed", SURVIVED]
    total = sum(table.values(), collections.Counter())
    print(f"\n{'':24}" + "".join(f"{name:>12}" for name in columns))
    for folder in sorted(table):
        print(f"{folder:24}" +
              "".join(f"{table[folder][name]:12}" for name in columns))
    print(f"{'all':24}" + "".join(f"{total[name]:12}" for name in columns))
    for entry in survivors:
        print(f"\n{entry['file']}:{entry['line']}: survived, {entry['id']}\n"
              f"  {entry['text']}\n  {entry['change']}")
    counted = total["mutants"] - total["equivalent"] - total["speed"]
    killed = total[KILLED] + total[TIME]
    if counted:
        print(f"\n{killed} of {counted} killed, {100 * killed / counted:.1f} %; "
              f"{len(survivors)} to be looked at")
    return not survivors


def remember():
    """What earlier runs found, by mutant."""
    entries = [json.loads(line) for line in RESULTS.read_text().splitlines()]
    return {entry["id"]: entry for entry in entries}


class Run:
    """Tries mutants one after the other and notes what becomes of them."""

    def __init__(self, tests, listed, known, log):
        self.order = Order(tests)
        self.listed = listed
        self.known = known
        self.log = log
        self.begun = time.monotonic()

    def tryMutant(self, mutant, source):
        if mutant.key() in self.listed:
            result, name = SURVIVED, ""
        else:
            (TREE / mutant.file).write_text(mutant.applied(source))
            result, name = judge(self.order.of(mutant.file))
        entry = {"id": mutant.id, "file": mutant.file, "line": mutant.line,
                 "kind": mutant.kind, "text": mutant.text,
                 "change": mutant.change, "result": result, "by": name}
        if self.log:
            self.log.write(json.dumps(entry) + "\n")
            self.log.flush()
        print(f"{time.monotonic() - self.begun:6.0f} s  {result:8}  "
              f"{mutant.file}:{mutant.line}: {mutant.change}  {name}",
              flush=True)
        return entry

    def tryFile(self, mutants, wanted):
        """Tries the first `wanted` mutants of a file that compile."""
        path = TREE / mutants[0].file
        source = path.read_text()
        entries = []
        for mutant in mutants:
            if len(entries) == wanted:
                break
            entry = self.known.get(mutant.id)
            if entry is None or entry["result"] == SURVIVED:
                entry = self.tryMutant(mutant, source)
            if entry["result"] in (KILLED, TIME):
                self.order.noteKill(mutant.file, entry["by"])
            if entry["result"] != INVALID:
                entries.append(entry)
        if path.read_text() != source:
            path.write_text(source)
        return entries


def parseArguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--count", type=int, default=520)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--only", metavar="ID,...")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("files", metavar="FILE-REGEX", nargs="*")
    return parser.parse_args()


def main():
    arguments = parseArguments()
    listed = readListed()
    checkListed(listed)
    if arguments.check:
        return
    files = [file for file in projectFiles("src/*.cpp", "src/*.h",
                                           "tools/*.cpp", "tools/*.h")
             if not arguments.files or
             any(re.search(regex, file) for regex in arguments.files)]
    digest = copyTree()
    configure()
    found = findMutants(files)
    if arguments.only:
        only = set(arguments.only.split(","))
        found = {file: [mutant for mutant in mutants if mutant.id in only]
                 for file, mutants in found.items()}
        wanted = {file: len(mutants) for file, mutants in found.items()
                  if mutants}
        listed = {}
    else:
        wanted = choose(found, arguments.count, arguments.seed)
    if not wanted:
        fail("there is nothing to change")
    tests = prepare(digest, wanted)

    known = remember() if arguments.resume and RESULTS.exists() else {}
    log = None
    if not arguments.only:
        log = RESULTS.open("a" if arguments.resume else "w")
    work = Run(tests, listed, known, log)
    results = []
    for file in sorted(wanted):
        results += work.tryFile(found[file], wanted[file])
    if not tell(results, listed):
        sys.exit(1)


if __name__ == "__main__":
    main()
