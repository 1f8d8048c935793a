#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Lets a shell complete command lines of qorhex.

    completions.py SHELL FOLDER    FOLDER has the completions

Status 77 says that SHELL is not installed.
"""

import os
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import time

FILES = ("a.hex", "b c.hex", "d.IHX", "e.bin", "sub/f")
OPTIONS = """--binary --check --diff --fill --force --format --help --hexdump
--ihex --long --map --max-size --merge --output --pad --progress --range
--reverse --strict --svg --verbose --version""".split()

# The words of a command line, the last one to be completed, and what it can
# become. A folder stands without its slash.
LINES = (
    (["--"], OPTIONS),
    (["--fo"], ["--force", "--format"]),
    (["--he"], ["--help", "--hexdump"]),
    (["a.hex", "--ver"], ["--verbose", "--version"]),
    (["--max"], ["--max-size"]),
    (["--format", ""], ["json", "text"]),
    (["--format", "j"], ["json"]),
    (["-o", ""], ["sub"]),
    (["--check", "b"], ["b c.hex"]),
    (["-x", "a"], ["a.hex"]),
)
# What only some shells tell apart.
HEX_FILES = (["--map", "e.bin", ""], ["a.hex", "b c.hex", "d.IHX"])
WITH_EQUALS = (["--format=j"], ["json"])


def text(command, cwd):
    return subprocess.run(command, cwd=cwd, check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def bash(words, cwd):
    """As readline calls it, which takes the = for a word."""
    split = []
    for word in words:
        name, equals, value = word.partition("=")
        split += [name, equals, value] if equals else [word]
    found = text(["bash", "--norc", "-c",
                  'source "$1"; shift; COMP_WORDS=("$@"); '
                  'COMP_CWORD=$(($# - 1)); _qorhex; '
                  '((${#COMPREPLY[@]} == 0)) || printf "%s\\n" '
                  '"${COMPREPLY[@]}"',
                  "bash", folder + "/qorhex.bash", "qorhex"] + split, cwd)
    return {word.rstrip("=") for word in found.splitlines()}


def fish(words, cwd):
    line = " ".join(["qorhex"] + words)
    found = text(["fish", "--no-config", "-c",
                  'source $argv[1]; complete -C"$argv[2]"',
                  folder + "/qorhex.fish", line], cwd)
    return {word.split("\t")[0].rsplit("=", 1)[-1].rstrip("/")
            for word in found.splitlines()}


# Completes one word, tells the line then, and ends.
ZSH = """PROMPT= RPROMPT=
fpath=("$COMPLETIONS" $fpath)
autoload -Uz compinit
compinit -u -D
tell() { zle -I; print -r -- "<$BUFFER>"; exit }
both() { zle complete-word; zle tell }
zle -N tell
zle -N both
bindkey '^I' both
print READY
"""


def zsh(words, cwd):
    """In a terminal of its own, where a single completion becomes the word."""
    with open(cwd + "/.zshrc", "w", encoding="utf-8") as file:
        file.write(ZSH)
    pid, terminal = pty.fork()
    if pid == 0:
        os.chdir(cwd)
        environment = dict(os.environ, ZDOTDIR=cwd, COMPLETIONS=folder,
                           TERM="dumb", LC_ALL="C")
        os.execvpe("zsh", ["zsh", "-d", "-i"], environment)
    seen = b""
    sent = False
    limit = time.monotonic() + 60
    while time.monotonic() < limit:
        if not select.select([terminal], [], [], 1)[0]:
            continue
        try:
            more = os.read(terminal, 4096)
        except OSError:
            break
        if not more:
            break
        seen += more
        if not sent and b"READY" in seen:
            sent = True
            os.write(terminal, " ".join(["qorhex"] + words).encode() + b"\t")
    os.close(terminal)
    os.waitpid(pid, 0)
    told = seen.decode(errors="replace").rpartition("<")[2].partition(">")[0]
    word = told.replace("\\ ", "\0").rstrip(" /").split(" ")[-1]
    return {word.replace("\0", " ").rstrip("=").rsplit("=", 1)[-1]}


def expect(words, expected, cwd):
    found = SHELLS[shell](words, cwd)
    if found != set(expected):
        print(f"{shell}: qorhex {' '.join(words)}: {sorted(found)}, "
              f"not {sorted(expected)}")
        return False
    return True


SHELLS = {"bash": bash, "fish": fish, "zsh": zsh}
shell, folder = sys.argv[1:]
folder = os.path.abspath(folder)
if not shutil.which(shell):
    print(f"skipped: there is no {shell}")
    sys.exit(77)
with tempfile.TemporaryDirectory() as work:
    for name in FILES:
        os.makedirs(os.path.dirname(f"{work}/{name}"), exist_ok=True)
        with open(f"{work}/{name}", "w", encoding="utf-8"):
            pass
    cases = LINES + (WITH_EQUALS,)
    if shell == "zsh":  # a word that can become several stays as it is
        cases = tuple(case for case in cases if len(case[1]) == 1)
    if shell == "bash":
        cases += (HEX_FILES,)
    failed = [case for case in cases if not expect(*case, work)]
print(f"{len(cases)} lines")
sys.exit(1 if failed else 0)
