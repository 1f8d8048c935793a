#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs qorhex while the system fails it. To be called by check-faults.sh.

    faults.py calls QORHEX [COUNT]    every system call fails, with each error
    faults.py kills QORHEX [COUNT]    a signal at every system call
    faults.py moments QORHEX COUNT    a signal at a random moment, COUNT times

With COUNT, `calls` and `kills` take so many at random instead of all. Whatever
happens: every output is whole, the old one or the new one, and nothing else is
left; the program ends with its own status and result, or with status 4 and a
message, and by a signal only where that was sent to it.
"""

import os
import pty
import random
import re
import signal
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

ENDING = ["SIGKILL", "SIGTERM", "SIGINT", "SIGHUP"]
TEMPORARY = re.compile(r"\.qorhex-\d+-\d+")

# The errors that a call can have; others have those of the last line.
ERRORS = {
    "mmap": ["ENOMEM"], "munmap": ["EINVAL"],
    "close": ["EINTR", "EIO", "ENOSPC"],
    "faccessat2": ["EACCES", "EIO", "ENOSYS"],
    "fchmod": ["EINTR", "EIO", "EPERM"],
    "fsync": ["EINTR", "EINVAL", "EIO", "ENOSPC"],
    "ioctl": ["EIO", "ENOTTY"],
    "newfstatat": ["EACCES", "EIO", "ENOMEM"],
    "openat": ["EACCES", "EINTR", "EIO", "EMFILE", "ENOMEM", "ENOSPC"],
    "prlimit64": ["EPERM"],
    "read": ["EINTR", "EIO", "EISDIR"],
    "readlink": ["EACCES", "EIO"],
    "rename": ["EACCES", "EIO", "ENOSPC"],
    "renameat2": ["EEXIST", "EINVAL", "EIO", "ENOSYS"],
    "rt_sigaction": ["EINVAL"], "rt_sigprocmask": ["EINVAL"],
    "unlink": ["EBUSY", "EIO"],
    "write": ["EINTR", "EIO", "ENOSPC", "EPIPE"],
    None: ["EINTR", "EIO", "ENOMEM"],
}
# They cannot fail; or, brk(), not by an error number.
SOUND = {"brk", "exit_group", "getpid", "geteuid", "getegid"}


def record(kind, address, data):
    body = bytes([len(data), address >> 8, address & 255, kind]) + data
    return f":{(body + bytes([-sum(body) & 255])).hex().upper()}\n"


def inputs():
    """The files that the jobs read, and outputs that are there before."""
    end = ":00000001FF\n"
    text = record(0, 0x10, b"sixteen bytes ab") + record(0, 0x40, b"more")
    far = record(4, 0, b"\0\1")
    many = "".join(record(0, 32 * i, bytes(range(i, i + 16)))
                   for i in range(40))
    old = {name: "old" for name in
           ("old.bin", "old.hex", "old.svg", "fw-00000040.bin",
            "many-00000000.bin", "many-00000020.bin")}
    return {"fw.hex": text + far + record(0, 0x10, b"far away") + end,
            "other.hex": far + record(0, 0x80, b"others") + end,
            "damaged.hex": text + ":0400\nrubbish\n" + end,
            "many.hex": many + end,
            "board.map": "flash 0-0xffff\nram 0x10000+0x100\n", **old}


# (arguments, status, whether on a terminal)
JOBS = [
    (["-o", ".", "-b", "old.bin", "--ihex=old.hex", "--svg=new.svg",
      "fw.hex"], 0, False),
    (["fw.hex"], 0, False),
    (["-l", "fw.hex"], 0, False),
    (["-x", "fw.hex"], 0, False),
    (["-b", "old.bin", "fw.hex"], 0, False),
    (["-b", "-", "fw.hex"], 0, False),
    (["-o", ".", "many.hex"], 0, False),
    (["--svg=old.svg", "fw.hex"], 0, False),
    (["-m", "--ihex=new.hex", "fw.hex", "other.hex"], 0, False),
    (["--diff", "fw.hex", "other.hex"], 1, False),
    (["--check", "--format=json", "damaged.hex"], 3, False),
    (["-r", "--map=board.map", "-b", "old.bin", "fw.hex"], 0, False),
    (["--strict", "-b", "old.bin", "other.hex"], 0, False),
    (["-p", "-l", "--svg=old.svg", "fw.hex"], 0, True),
    (["--check", "damaged.hex"], 3, True),
    (["--help"], 0, False),
]


class Outcome:
    """What a run left and said."""

    def __init__(self, status, out, err, files):
        self.status, self.out, self.err = status, out, err
        self.files = {name: text for name, text in files.items()
                      if not TEMPORARY.fullmatch(name)}
        self.temporaries = sorted(files.keys() - self.files.keys())


class Runner:
    """Runs jobs in a folder that is the same before each."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = Path(folder)
        self.before = inputs()
        self.present = {}
        self.prepare()

    def prepare(self):
        for name in self.present.keys() - self.before.keys():
            (self.folder / name).unlink()
        for name, text in self.before.items():
            if self.present.get(name) != text:
                (self.folder / name).write_text(text, encoding="latin-1")

    def look(self):
        return {path.name: path.read_text(encoding="latin-1")
                for path in self.folder.iterdir()}

    def run(self, job, tracer=(), during=None):
        """Runs it under `tracer`, and calls `during` with the process."""
        arguments, _, onTerminal = job
        command = [*tracer, self.program, *arguments]
        terminal = pty.openpty() if onTerminal else None
        output = terminal[1] if terminal else subprocess.PIPE
        process = subprocess.Popen(
            command, cwd=self.folder, stdin=subprocess.DEVNULL, stdout=output,
            stderr=output, encoding="latin-1",
            env={"LC_ALL": "C", "TERM": "xterm", "PATH": os.environ["PATH"]})
        if during:
            during(process)
        if terminal:
            os.close(terminal[1])
            out, err = readTerminal(terminal[0]), ""
            process.wait(60)
        else:
            out, err = process.communicate(timeout=60)
        files = self.look()
        outcome = Outcome(process.returncode, out, err, files)
        self.present = files
        self.prepare()
        return outcome

    def callsOf(self, job):
        """The names of the system calls from the beginning of main() on, and
        how many of each are made before."""
        log = self.folder.parent / "calls"
        self.run(job, ["strace", "-o", str(log)])
        names = []
        before = None
        for line in log.read_text(encoding="latin-1").splitlines():
            if match := re.match(r"(\w+)\(", line):
                if before is None and "O_RDONLY|O_PATH" in line:
                    before, names = Counter(names), []
                names.append(match[1])
        if before is None:
            sys.exit("the first call of main() is not found")
        return names, before

    def soundRun(self, job):
        """The outcome without any fault."""
        outcome = self.run(job)
        if outcome.status != job[1]:
            sys.exit(f"{job}: status {outcome.status}: {outcome.err}")
        return outcome


def readTerminal(master):
    text = b""
    try:
        while piece := os.read(master, 4096):
            text += piece
    except OSError:  # nobody has it open any more
        pass
    os.close(master)
    return text.decode("latin-1")


def inject(name, what, when):
    """The tracer. Without --seccomp-bpf, with which it sends no signals."""
    return ["strace", "-qqq", "-o", "/dev/null",
            "-e", f"trace={name}", "-e", f"inject={name}:{what}:when={when}"]


class Check:
    """Counts runs, and tells what is wrong with one."""

    def __init__(self):
        self.counts = Counter()
        self.bad = 0

    def expect(self, condition, what, outcome, problem):
        if not condition:
            self.bad += 1
            if self.bad > 20:
                sys.exit("too much is wrong")
            print(f"{what}: {problem}\n  status {outcome.status}, says "
                  f"{outcome.err or outcome.out!r},\n  leaves "
                  f"{sorted(outcome.files)} {outcome.temporaries}")

    def expectWhole(self, what, outcome, before, sound):
        """Every output is what it was or what it is to be."""
        for name in outcome.files.keys() | before.keys() | sound.files.keys():
            text = outcome.files.get(name)
            self.expect(text in (before.get(name), sound.files.get(name)),
                        what, outcome, f"{name} is neither old nor new")

    def expectAllOrNone(self, what, outcome, before, sound):
        self.expect(outcome.files in (before, sound.files), what, outcome,
                    "some outputs are old and some are new")


def places(runner, jobs):
    """Each system call of each job: (job, its outcome, call, number). What all
    do in the same way first is taken from the first job alone."""
    first = None
    for job in jobs:
        names, before = runner.callsOf(job)
        sound = runner.soundRun(job)
        numbers = Counter(before)
        for index, name in enumerate(names):
            numbers[name] += 1
            same = first is not None and names[:index + 1] == first[:index + 1]
            if name not in SOUND and not same:
                yield job, sound, name, numbers[name]
        first = first or names


def chosen(all_, count):
    all_ = list(all_)
    return random.sample(all_, min(count, len(all_))) if count else all_


def judge(check, what, runner, place, outcome):
    """What may come of one failed call."""
    job, sound, name, _ = place
    # The library does not tell why it refuses a file.
    failed = {4, 3} if "--strict" in job[0] else {4}
    check.expect(outcome.status in {sound.status} | failed, what, outcome,
                 f"status {outcome.status}")
    check.expectWhole(what, outcome, runner.before, sound)
    if name not in ("rename", "renameat2", "unlink"):
        check.expectAllOrNone(what, outcome, runner.before, sound)
    if name != "unlink" and name != "renameat2":
        check.expect(not outcome.temporaries, what, outcome, "leaves a file")
    if outcome.status != sound.status:
        check.expect(outcome.err or outcome.out or name == "write", what,
                     outcome, "says nothing")
        return "told"
    check.expect(outcome.files == sound.files, what, outcome, "no result")
    # A message that cannot be written, and a terminal that is none.
    if name not in ("write", "ioctl"):
        check.expect((outcome.out, outcome.err) == (sound.out, sound.err),
                     what, outcome, "says something else")
    return "made up for"


def failCalls(runner, count):
    check = Check()
    faults = [(*place, error, suffix)
              for place in places(runner, JOBS)
              for error in ERRORS.get(place[2], ERRORS[None])
              for suffix in ("", "+")
              # For ever, an interrupted call is made for ever.
              if not (suffix and error == "EINTR")]
    for *place, error, suffix in chosen(faults, count):
        job, _, name, number = place
        what = f"{name} {number}{suffix} {error} of {' '.join(job[0])}"
        outcome = runner.run(job, inject(name, f"error={error}",
                                         f"{number}{suffix}"))
        check.counts[judge(check, what, runner, place, outcome)] += 1
    told, mended = check.counts["told"], check.counts["made up for"]
    print(f"{told + mended} failed system calls: {told} with a message and a "
          f"status, {mended} made up for")
    return check.bad


def afterSignal(check, what, runner, sound, outcome, number):
    """What may be there when the signal `number` has come."""
    check.expect(outcome.status in (sound.status, -number), what, outcome,
                 "another end")
    check.expectWhole(what, outcome, runner.before, sound)
    if outcome.status == sound.status:
        check.expectAllOrNone(what, outcome, {}, sound)
    elif number != signal.SIGKILL:
        check.expectAllOrNone(what, outcome, runner.before, sound)
    if number != signal.SIGKILL:
        check.expect(not outcome.temporaries, what, outcome, "leaves a file")
    if outcome.status != sound.status:
        check.counts["ended"] += 1
        check.counts["left"] += bool(outcome.temporaries)
        old = outcome.files == runner.before
        check.counts["old"] += old
        check.counts["new"] += outcome.files == sound.files and not old


def tellSignals(check, what):
    counts = check.counts
    mixed = counts["ended"] - counts["old"] - counts["new"]
    print(f"{counts['ended']} programs ended by a signal {what}: "
          f"{counts['old']} with the old outputs, {counts['new']} with the "
          f"new ones, {mixed} by SIGKILL between the renames; "
          f"{counts['left']} left temporary files, all by SIGKILL")


WRITING = [job for job in JOBS if any(
    option.startswith(("-o", "-b", "--ihex", "--svg")) for option in job[0])]


def killAtCalls(runner, count):
    check = Check()
    kills = [(*place, name) for place in places(runner, WRITING)
             for name in ENDING]
    for job, sound, call, number, name in chosen(kills, count):
        what = f"{name} at {call} {number} of {' '.join(job[0])}"
        outcome = runner.run(job, inject(call, f"signal={name}", number))
        afterSignal(check, what, runner, sound, outcome, signal.Signals[name])
    tellSignals(check, "at a system call")
    return check.bad


def killAtMoments(runner, count):
    check = Check()
    sounds = {}
    for job in WRITING[:1] + WRITING[3:4]:
        runner.run(job)
        begin = time.monotonic()
        sounds[id(job)] = (job, runner.soundRun(job), time.monotonic() - begin)
    while check.counts["ended"] < count and not check.bad:
        job, sound, duration = random.choice(list(sounds.values()))
        number = signal.Signals[random.choice(ENDING[:1] * 3 + ENDING[1:])]
        delay = random.uniform(0, duration)

        def kill(process, number=number, delay=delay):
            time.sleep(delay)
            process.send_signal(number)

        outcome = runner.run(job, during=kill)
        what = f"{number.name} after {delay:.6f} s of {' '.join(job[0])}"
        afterSignal(check, what, runner, sound, outcome, number)
    tellSignals(check, "at a random moment")
    return check.bad


KINDS = {"calls": failCalls, "kills": killAtCalls, "moments": killAtMoments}


def main(arguments):
    if arguments[:1] in (["--help"], ["-h"]):
        print(__doc__.strip())
        return
    if len(arguments) not in (2, 3) or arguments[0] not in KINDS:
        sys.exit("usage: faults.py calls|kills|moments QORHEX [COUNT]")
    seed = int(os.environ.get("FAULTS_SEED", time.time_ns() % 1000000))
    random.seed(seed)
    with tempfile.TemporaryDirectory() as top:
        folder = Path(top) / "work"
        folder.mkdir()
        runner = Runner(str(Path(arguments[1]).resolve()), folder)
        count = int(arguments[2]) if len(arguments) == 3 else 0
        bad = KINDS[arguments[0]](runner, count)
    if bad:
        sys.exit(f"{bad} expectations failed; FAULTS_SEED={seed}")


main(sys.argv[1:])
