#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures what scripts/bench.sh has built, and prints the tables.

Programs to compare run in turn, round after round; the times are medians, a
ratio is the median of the ratios of all rounds, and so holds on a machine that
does other things as well. The smallest and the largest stand beside them. Instructions are counted by callgrind.
"""

import argparse
import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

MIB = 1 << 20
BUILD = "build/release"
PORTABLE = "build/bench-portable"
M32 = "build/bench-m32"
PEERS = {
    "objcopy": ["objcopy", "-I", "ihex", "-O", "binary"],
    "llvm-objcopy": ["llvm-objcopy", "-I", "ihex", "-O", "binary"],
    "srec_cat": ["srec_cat"],
}
results = {}


def program(name, build=BUILD):
    return f"{build}/benchmarks/{name}"


def tool():
    path = f"{BUILD}/tools/qorhex/qorhex"
    return path if os.path.exists(path) else None


def table(title, head, rows, note=""):
    """Prints a Markdown table, where it has rows, and how it came about."""
    if not rows:
        print(f"Nothing to measure for: {title}\n")
        return
    lines = [head, ["---"] * len(head)] + rows
    print(f"### {title}\n")
    print("\n".join("| " + " | ".join(line) + " |" for line in lines) + "\n")
    if note:
        print(note[0].upper() + note[1:] + ".\n")
    sys.stdout.flush()


def image(size, order="ordered"):
    """Returns the path of a HEX file of `size` bytes; it is made once."""
    folder = "build/bench-images"
    os.makedirs(folder, exist_ok=True)
    path = f"{folder}/{order}-{size}.hex"
    if not os.path.exists(path):
        with open(path + ".part", "wb") as file:
            subprocess.run([program("make_image"), str(size), order],
                           stdout=file, check=True)
        os.rename(path + ".part", path)
    with open(path, "rb") as file:  # into the page cache
        while file.read(MIB):
            pass
    return path


def binaryCommand(name, source):
    """The command that writes the image in `source` as a binary file."""
    target = f"{out}/{name}.bin"
    if name == "qorhex":
        return [tool(), f"--binary={target}", source]
    if name == "srec_cat":
        return ["srec_cat", source, "-intel", "-o", target, "-binary"]
    return PEERS[name] + [source, target]


def clientCommand(source):
    return [program("client"), source, out]


def spawn(command):
    """Starts `command` without output; Python's own start-up is no part."""
    null = [(os.POSIX_SPAWN_OPEN, fd, "/dev/null", os.O_RDWR, 0)
            for fd in (0, 1)]
    return os.posix_spawnp(command[0], command, os.environ, file_actions=null)


def finish(pid, command):
    _, status, usage = os.wait4(pid, 0)
    if status != 0:
        sys.exit(f"failed: {' '.join(command)}")
    return usage


def seconds(command):
    begin = time.perf_counter()
    finish(spawn(command), command)
    return time.perf_counter() - begin


def cpuSeconds(command):
    usage = finish(spawn(command), command)
    return usage.ru_utime + usage.ru_stime


def rounds(commands, clock=None, count=None):
    """Runs all commands in turn; returns the times of each."""
    clock = clock or (cpuSeconds if options.cpu else seconds)
    times = [[] for _ in commands]
    for i in range(count or options.rounds):
        order = range(len(commands))
        for j in order if i % 2 == 0 else reversed(order):
            times[j].append(clock(commands[j]))
    return times


def spread(ours, other, digits=2):
    """The median of the ratios, and the smallest and the largest of them."""
    ratios = sorted(a / b for a, b in zip(ours, other))
    return (f"{statistics.median(ratios):.{digits}f} "
            f"({ratios[0]:.{digits}f} to {ratios[-1]:.{digits}f})")


def ms(times):
    """The median, and the shortest and the longest time."""
    return (f"{statistics.median(times) * 1e3:.1f} ms "
            f"({min(times) * 1e3:.1f} to {max(times) * 1e3:.1f})")


def roundsNote(count=None):
    return f"Rounds: {count or options.rounds}"


def callgrind(command):
    run = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"] +
        command, capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", run.stderr)[1])


def sizes(*wanted):
    """The image sizes, small ones for --quick."""
    return [64 << 10 for _ in wanted] if options.quick else list(wanted)


def sizeText(size):
    return f"{size // MIB} MiB" if size >= MIB else f"{size >> 10} KiB"


def rowsClient():
    rows = []
    cases = zip(sizes(16 * MIB, MIB, 16 * MIB), ("ordered", "ordered", "random"))
    for size, order in cases:
        source = image(size, order)
        ours, other = rounds([clientCommand(source),
                              [program("read_only"), source]])
        rows.append([f"{sizeText(size)}, {order}", ms(ours), ms(other),
                     spread(ours, other)])
    table("A client against a program that only reads the file",
          ["image", "client", "read only", "client / read only"], rows,
          roundsNote())


def rowsTool():
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    source = image(*sizes(16 * MIB))
    peers = [peer for peer in PEERS if shutil.which(peer)]
    for peer in sorted(PEERS.keys() - set(peers)):
        print(f"{peer} is not installed: its row is left out.\n")
    times = rounds([binaryCommand("qorhex", source),
                    [program("read_only"), source]] +
                   [binaryCommand(peer, source) for peer in peers])
    rows = [[name, ms(other), spread(times[0], other),
             spread(other, times[0])]
            for name, other in zip(["qorhex --binary", "read only"] + peers,
                                   times)]
    table(f"qorhex --binary, {sizeText(os.path.getsize(out + '/qorhex.bin'))}",
          ["program", "time", "qorhex / program", "program / qorhex"], rows,
          roundsNote())


def peersAmong(*names):
    """Those that are installed; tells of the others."""
    for name in names:
        if not shutil.which(name):
            print(f"{name} is not installed: its row is left out.\n")
    return [name for name in names if shutil.which(name)]


def rowsLooking():
    """What reads an image and does something else with it, beside --binary, and
    the peers that do the same."""
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    source = image(*sizes(16 * MIB))
    target = f"{out}/again.hex"
    commands = {
        "qorhex --binary": binaryCommand("qorhex", source),
        "qorhex --check": [tool(), "--check", source],
        "qorhex --long": [tool(), "--long", source],
        "qorhex --ihex": [tool(), f"--ihex={target}", source],
    }
    peers = {
        "srec_info": ["srec_info", source, "-intel"],
        "srec_cat": ["srec_cat", source, "-intel", "-o", target, "-intel"],
    }
    for peer in peersAmong(*peers):
        commands[f"{peer}, as {'--ihex' if peer == 'srec_cat' else '--long'}"] \
            = peers[peer]
    times = rounds(list(commands.values()))
    rows = [[name, ms(taken), spread(taken, times[0])]
            for name, taken in zip(commands, times)]
    table(f"qorhex, {sizeText(*sizes(16 * MIB))}: what is not written as binary",
          ["program", "time", "program / qorhex --binary"], rows, roundsNote())


def rowsDiff():
    """Two equal images, so that all of both is compared."""
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    source = image(*sizes(16 * MIB))
    other = f"{out}/other.hex"
    shutil.copy(source, other)
    commands = {
        "qorhex --diff": [tool(), "--diff", source, other],
        "srec_cmp": ["srec_cmp", source, "-intel", other, "-intel"],
    }
    peers = peersAmong("srec_cmp")
    commands = {name: command for name, command in commands.items()
                if name in ["qorhex --diff"] + peers}
    times = rounds([binaryCommand("qorhex", source),
                    binaryCommand("qorhex", other)] + list(commands.values()))
    both = [one + two for one, two in zip(times[0], times[1])]
    rows = [[name, ms(taken), spread(taken, both)]
            for name, taken in [("qorhex --binary, both files", both)] +
            list(zip(commands, times[2:]))]
    table(f"qorhex --diff, two files of {sizeText(*sizes(16 * MIB))}",
          ["program", "time", "program / qorhex --binary of both"], rows,
          roundsNote())


def rowsTexts():
    """Other texts than the plain one; the times of all run in turn."""
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    size, = sizes(16 * MIB)
    orders = ["ordered", "start", "segment", "blank", "random"]
    sources = [image(size, order) for order in orders]
    times = rounds([binaryCommand("qorhex", source) for source in sources] +
                   [[program("read_only"), source] for source in sources])
    rows = [[order, ms(taken), spread(taken, other),
             spread(taken, times[len(orders)]), spread(taken, times[0])]
            for order, taken, other in zip(orders, times, times[len(orders):])]
    table(f"qorhex --binary on other texts, {sizeText(size)}",
          ["text", "time", "qorhex / read only",
           "qorhex / read only of ordered", "this text / ordered"], rows,
          roundsNote())


def rowsSmall():
    """What a user does most: one file of usual size."""
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    source = image(96 << 10)
    peers = [peer for peer in PEERS if shutil.which(peer)]
    times = rounds([binaryCommand(name, source) for name in ["qorhex"] + peers],
                   count=5 * options.rounds)
    rows = [[name, ms(taken), spread(times[0], taken)]
            for name, taken in zip(["qorhex"] + peers, times)]
    table(f"A file of {sizeText(os.path.getsize(source))} of text",
          ["program", "time", "qorhex / program"], rows,
          roundsNote(5 * options.rounds))


def rowsListing():
    """The most segments for their text."""
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    count = 10000 if options.quick else 1000000
    command = [tool(), image(count, "bytes")]
    times, = rounds([command])
    memory, _ = peakMemory(command)
    table("qorhex, a listing of segments of one byte",
          ["segments", "time", "memory, in MiB"],
          [[f"{count}", ms(times), f"{memory / MIB:.1f}"]])


def rowsGrowth():
    """Also what the plot of time against size shows."""
    wanted = [64 << 10, 128 << 10] if options.quick else \
        [MIB << i for i in range(8)]
    names = ["client", "read only"]
    commands = [clientCommand, lambda source: [program("read_only"), source]]
    for name in (["qorhex"] if tool() else []) + \
            [peer for peer in PEERS if shutil.which(peer)]:
        names.append(name)
        commands.append(lambda source, name=name: binaryCommand(name, source))
    growth = {name: [] for name in names}
    for size in wanted:
        source = image(size)
        count = options.rounds if size <= 16 * MIB else \
            (options.rounds + 3) // 4
        times = rounds([make(source) for make in commands], count=count)
        for name, taken in zip(names, times):
            growth[name].append([size, statistics.median(taken)])
    results["growth"] = growth
    rows = []
    for name in names:
        perByte = [taken / size * 1e9 for size, taken in growth[name]]
        rows.append([name] + [f"{value:.2f}" for value in perByte] +
                    [f"{perByte[-1] / perByte[0]:.2f}"])
    table("Growth: nanoseconds per byte of the image",
          ["program"] + [sizeText(size) for size in wanted] + ["last / first"],
          rows, f"medians of {options.rounds} rounds, of a quarter of them "
          "above 16 MiB")


def peakMemory(command):
    """The most resident memory and the largest anonymous files, looked at every
    half millisecond. (ru_maxrss of a child begins with that of its parent.)"""
    memory = files = 0
    pid = spawn(command)
    folder = f"/proc/{pid}/fd/"
    while os.waitid(os.P_PID, pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is None:
        try:
            with open(f"/proc/{pid}/status", encoding="utf-8") as file:
                found = re.search(r"VmHWM:\s+(\d+)", file.read())
            memory = max(memory, int(found[1]) * 1024 if found else 0)
            # By name: one file can be open twice.
            found = {os.readlink(folder + fd): os.stat(folder + fd).st_size
                     for fd in os.listdir(folder)}
            files = max(files, sum(size for link, size in found.items()
                                   if link.startswith("/memfd:")))
        except OSError:
            pass  # it has ended or closed a file
        time.sleep(0.0005)
    finish(pid, command)
    return memory, files


def rowsMemory():
    if not tool():
        print("qorhex is not there: its rows are left out.\n")
        return
    rows = []
    for size, order in zip(sizes(16 * MIB, 16 * MIB, 16 * MIB),
                           ("ordered", "random", "start")):
        source = image(size, order)
        memory, files = peakMemory(binaryCommand("qorhex", source))
        text = os.path.getsize(source)
        rows.append([order] + [f"{value / MIB:.1f}" for value in
                               (size, text, memory, files, memory + files,
                                memory + files - size)])
    table("Peak memory of qorhex --binary, in MiB",
          ["image", "bytes", "text", "resident", "anonymous file", "sum",
           "sum - bytes"], rows)


def countCalls(command):
    log = out + "/strace"
    subprocess.run(["strace", "-f", "-c", "-e", "trace=read,write", "-o", log]
                   + command, check=True, stdout=subprocess.DEVNULL)
    with open(log, encoding="utf-8") as file:
        lines = [line.split() for line in file]
    return {line[-1]: line[3] for line in lines
            if line and line[-1] in ("read", "write")}


def rowsCalls():
    size, = sizes(16 * MIB)
    source = image(size)
    text = os.path.getsize(source)
    rows = []
    commands = {"client": clientCommand(source)}
    if tool():
        commands["qorhex --binary"] = binaryCommand("qorhex", source)
    for name, command in commands.items():
        calls = countCalls(command)
        rows.append([name, f"{calls['read']}", f"{text // 65536 + 20}",
                     f"{calls['write']}", f"{-(-size // 512)}"])
    table(f"System calls, {sizeText(size)} in order",
          ["program", "read", "text / 65,536 + 20", "write", "bytes / 512"],
          rows)


def rowsInstructions():
    size, = sizes(MIB)
    source, empty = image(size), image(0)
    text = os.path.getsize(source)
    rows = []
    for name, build in (("x86-64", BUILD), ("x86-64, portable", PORTABLE),
                        ("32-bit x86, portable", M32)):
        if not os.path.exists(program("client", build)):
            print(f"{build} is not there: its row is left out.\n")
            continue

        def cost(client, *target):
            path = program(client, build)
            return (callgrind([path, source, *target]) -
                    callgrind([path, empty, *target])) / text

        whole, load, plain = cost("client", out), cost("client"), \
            cost("plain_client")
        rows.append([name, f"{whole:.2f}", f"{load:.2f}", f"{plain:.1f}",
                     f"{plain / load:.1f}"])
    table(f"Instructions per character of text, {sizeText(size)} in order",
          ["path", "client", "load alone", "plain algorithm", "plain / load"],
          rows)


def rowsSize():
    rows = []
    for name, build in (("x86-64", BUILD), ("32-bit x86", M32)):
        library = f"{build}/src/libqorutil.so.0"
        if not os.path.exists(library):
            continue
        subprocess.run(["strip", "-o", out + "/stripped", library], check=True)
        relocations = subprocess.run(["readelf", "-rW", library], check=True,
                                     capture_output=True, text=True).stdout
        count = len(re.findall(r"\bR_\w+", relocations))
        started = callgrind([program("trivial_linked", build)])
        alone = callgrind([program("trivial", build)])
        size = os.path.getsize(out + "/stripped")
        rows.append([name, f"{size / 1024:.1f} KiB", f"{count}",
                     f"{started:,}", f"{alone:,}", f"{started / alone:.3f}"])
    table("The library: size, and the start of a program, in instructions",
          ["target", "stripped", "relocations", "linked to it", "not linked",
           "linked / not"], rows)


def repetitions():
    return 1 if options.quick else 9


def runFamily(path):
    """Returns the times of all repetitions, by name."""
    arguments = ["--benchmark_format=json", "--benchmark_min_time=" +
                 ("0.001" if options.quick else "0.1"),
                 f"--benchmark_repetitions={repetitions()}",
                 "--benchmark_enable_random_interleaving=true"]
    run = subprocess.run([path] + arguments, check=True, text=True,
                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    times = {}
    for entry in json.loads(run.stdout)["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"failed: {entry['name']}: {entry['error_message']}")
        if entry["run_type"] == "iteration":
            times.setdefault(entry["run_name"], []).append(value(entry))
    return times


def value(entry):
    """Nanoseconds: of lateness, per item, or per call."""
    if "p50_ns" in entry:
        return entry["p50_ns"]
    if "items_per_second" in entry:
        return 1e9 / entry["items_per_second"]
    return entry["cpu_time"]


STREAMS = {"used": "used string stream", "file": "file stream",
           "cout": "std::cout", "fresh": "fresh string stream"}


def splitName(name):
    """BM_print_plain<tm>/fresh is the peer "plain" of print<tm>/fresh."""
    base, template, arguments = re.fullmatch(r"BM_(\w+)(<.*>)?(/.*)?",
                                             name).groups("")
    ours, _, peer = base.rpartition("_")
    return f"BM_{ours}{template}{arguments}", peer


def rowsFamilies():
    """One table per family. BM_split_absl/10 is what BM_split/10 is compared
    with; BM_split_absl alone makes no row. Rows of a printer on all streams,
    BM_print<tm>/fresh and so on, make one row of the table of printers."""
    folder = f"{BUILD}/benchmarks"
    printers = {}
    for file in sorted(os.listdir(folder)):
        if not file.endswith("_benchmark"):
            continue
        times = runFamily(f"{folder}/{file}")
        results.setdefault("families", {})[file] = {
            name: statistics.median(taken) for name, taken in times.items()}
        rows = []
        for name, other in times.items():
            ours, peer = splitName(name)
            if ours not in times:
                continue
            printer = re.fullmatch(r"BM_print<(.*)>/(\w+)", ours)
            if printer:
                printers.setdefault(printer[1], {})[printer[2]] = \
                    spread(times[ours], other)
                continue
            rows.append([ours[3:].replace("<", "\\<"), peer,
                         f"{statistics.median(times[ours]):,.1f}",
                         f"{statistics.median(other):,.1f}",
                         spread(times[ours], other, 3)])
        if rows:
            table(f"{file[:-10]}: nanoseconds",
                  ["function", "against", "ours", "other", "ours / other"],
                  sorted(rows), f"Repetitions: {repetitions()}")
    table("Printers over their plain ways", ["printer"] +
          list(STREAMS.values()),
          [[f"`{name}`"] + [ratios.get(stream, "") for stream in STREAMS]
           for name, ratios in sorted(printers.items())],
          f"Repetitions: {repetitions()}; the making of the fresh stream is "
          "included")


def describeMachine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        cpu = re.search(r"model name\s*: (.*)", file.read())
    compiler = subprocess.run([os.environ.get("CXX", "g++"), "--version"],
                              capture_output=True, text=True,
                              check=True).stdout.splitlines()[0]
    print(f"{time.strftime('%Y-%m-%d')}, {cpu[1] if cpu else os.uname().machine},"
          f" {os.cpu_count()} processors, "
          f"Linux {'.'.join(os.uname().release.split('.')[:2])}, {compiler}, "
          "CMake's Release flags (-O3 -DNDEBUG; the library with -O2), "
          f"{options.rounds} rounds"
          f"{', processor time' if options.cpu else ''}.\n")


GROUPS = {
    "client": rowsClient,
    "tool": rowsTool,
    "looking": rowsLooking,
    "diff": rowsDiff,
    "texts": rowsTexts,
    "small": rowsSmall,
    "listing": rowsListing,
    "growth": rowsGrowth,
    "memory": rowsMemory,
    "calls": rowsCalls,
    "instructions": rowsInstructions,
    "size": rowsSize,
    "families": rowsFamilies,
}

parser = argparse.ArgumentParser(prog="scripts/bench.sh", description=(
    "Measures the library and prints the tables, all groups or those named."))
parser.add_argument("groups", nargs="*", metavar="GROUP",
                    help=", ".join(GROUPS))
parser.add_argument("--quick", action="store_true",
                    help="everything once, on small images: does it still run?")
parser.add_argument("--rounds", type=int, default=21,
                    help="how often each program runs (21)")
parser.add_argument("--cpu", action="store_true",
                    help="processor time, where the machine is busy")
parser.add_argument("--results", default=BUILD + "/results.json",
                    help="where the figures go as JSON, for scripts/plots.py")
options = parser.parse_args()
if set(options.groups) - set(GROUPS):
    parser.error("the groups are: " + ", ".join(GROUPS))
if options.quick:
    options.rounds = 1

with tempfile.TemporaryDirectory(dir="/dev/shm") as out:
    describeMachine()
    for group in options.groups or GROUPS:
        GROUPS[group]()
if os.path.exists(options.results):
    with open(options.results, encoding="utf-8") as file:
        results = {**json.load(file), **results}
with open(options.results, "w", encoding="utf-8") as file:
    json.dump(results, file, indent=1)
