"""Usage: run.py WORK [--quick]

Measures the program and its parts side by side with what each is compared with, and prints one table. Programs and
sessions are those of the build folder; WORK is an empty folder for logs and outputs. With --quick everything is tiny
and runs once: it tells that the measuring works, and nothing else.
"""

import json
import os
import re
import resource
import statistics
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
BUILD = ROOT / "build"
PARTS = BUILD / "native" / "benchmarks" / "partbench"
MEMORY = BUILD / "native" / "benchmarks" / "replaymemory"
REGISTRY = BUILD / "x64" / "benchmarks" / "registrybench.exe"
PLAIN = BUILD / "x64" / "benchmarks" / "plainregistration.exe"
KEYREAP = BUILD / "stage" / "bin" / "x64" / "Keyreap.exe"
DRIVE_C = BUILD / "wine" / "base" / "linked"
WINE = "/usr/bin/wine"

SYSTEM = "C:\\windows\\system32\\"
TREE = "HKCU\\Software\\Keyreap Bench"

MEGABYTE = 1024 * 1024
MEMORY_LIMIT = 2048 * MEGABYTE


class Sizes:
    """How much of everything: the figures that count, or tiny ones."""

    def __init__(self, quick):
        self.rounds = 1 if quick else 11
        self.traced_rounds = 1 if quick else 5
        self.long_rounds = 1 if quick else 3
        self.modules = of_all_sizes(servers(), 1 if quick else 5)
        self.servers = 2 if quick else 100
        self.exported = [TREE] if quick else ["HKLM", "HKCU"]
        self.logs = [1_000, 2_000] if quick else [10_000, 100_000, 1_000_000, 10_000_000]
        self.shares = [1, 10]
        self.big_log = 20_000 if quick else 17_800_000
        self.operations = 1_000 if quick else 1_000_000
        self.keys = 100 if quick else 100_000
        self.tree_keys = 20 if quick else 10_000
        self.tree_values = 10
        self.repetitions = 1 if quick else 9
        self.part_seconds = 0.001 if quick else 0.05


class Table:
    """The rows as they come. A ratio is ours against the other; a row without an aim shows what bounds others."""

    def __init__(self, judges):
        self.rows = []
        self.judges = judges
        self.missed = 0

    def add(self, measure, unit, ours, other, at_most=None, at_least=None):
        ratio = ours / other
        met = (at_most is None or ratio <= at_most) and (at_least is None or ratio >= at_least)
        missed = self.judges and not met
        self.missed += missed
        aim = "-"
        if at_most is not None:
            aim = "at most %g" % at_most
        if at_least is not None:
            aim = "at least %g" % at_least
        figures = ["%s %s" % (digits(value), unit) for value in (ours, other)]
        self.rows.append([measure, *figures, digits(ratio), aim + (", missed" if missed else "")])

    def print(self):
        rows = [["measure", "ours", "other", "ratio", "aim"], *self.rows]
        widths = [max(len(row[column]) for row in rows) for column in range(5)]
        for row in rows[:1] + [["-" * width for width in widths]] + rows[1:]:
            print("| %s |" % " | ".join(word.ljust(width) for word, width in zip(row, widths)))


def digits(value):
    """Three digits that count, or all in front of the point."""
    return format(round(value), ",") if value >= 100 else "%.3g" % value


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def say(text):
    print("bench: " + text, file=sys.stderr, flush=True)


def servers():
    """Wine's own modules that register themselves: what these export stands side by side."""
    exports = b"\0DllGetClassObject\0DllRegisterServer\0"
    files = sorted((DRIVE_C / "windows" / "system32").iterdir())
    return [file for file in files if file.suffix in (".dll", ".ocx", ".ax") and exports in file.read_bytes()]


def of_all_sizes(files, count):
    """So many of the files: of as many equal parts, from the small to the big ones, the middle one of each."""
    ordered = sorted(files, key=lambda file: (file.stat().st_size, file.name))
    return [ordered[(2 * part + 1) * len(ordered) // (2 * count)].name for part in range(count)]


def regsvr32(module):
    return [WINE, SYSTEM + "regsvr32.exe", "/s", SYSTEM + module]


def keyreap(work, modules, mode):
    pairs = [word for module in modules for word in (SYSTEM + module, windows_path(work / (module + ".reg")))]
    return [WINE, windows_path(KEYREAP), "extreg", *pairs, mode]


def zero_or_one(words):
    """A command that may end with 1 too."""
    return ["bash", "-c", '"$@" || [[ $? == 1 ]]', "bash", *words]


def export(key, file):
    return [WINE, SYSTEM + "reg.exe", "export", key, windows_path(file), "/y"]


def single_server(sizes, work, mode):
    """Each module by itself, captured in a mode and registered."""
    return {
        module: [["ours", [keyreap(work, [module], mode)]], ["other", [regsvr32(module)]]] for module in sizes.modules
    }


def nothing():
    """Both programs with nothing to do."""
    ours, other = [WINE, windows_path(KEYREAP), "nothing"], [WINE, SYSTEM + "regsvr32.exe", "/?"]
    return {"nothing": [["ours", [zero_or_one(ours)]], ["other", [zero_or_one(other)]]]}


def plain_registration(sizes):
    """The first module registered by a program that captures nothing, but loads at its start what ours loads."""
    module = sizes.modules[0]
    return {"plain": [["ours", [[WINE, windows_path(PLAIN), SYSTEM + module]]], ["other", [regsvr32(module)]]]}


def many_servers(sizes, work):
    modules = [file.name for file in servers()[: sizes.servers]]
    ours = [keyreap(work, modules, "keyRedir")]
    return {"many": [["ours", ours], ["other", [regsvr32(module) for module in modules]]]}


def usual_way(sizes, work):
    """Export, register, export again, compare."""
    before = [work / ("before%d.reg" % number) for number in range(len(sizes.exported))]
    after = [work / ("after%d.reg" % number) for number in range(len(sizes.exported))]
    other = [export(key, file) for key, file in zip(sizes.exported, before)]
    other.append(regsvr32(sizes.modules[0]))
    other += [export(key, file) for key, file in zip(sizes.exported, after)]
    other += [zero_or_one(["cmp", str(old), str(new)]) for old, new in zip(before, after)]
    return {"export": [["ours", [keyreap(work, sizes.modules[:1], "keyRedir")]], ["other", other]]}


def tree(sizes, work):
    """A big tree harvested, written without a registry, and exported."""
    program = [WINE, windows_path(REGISTRY)]
    counts = [str(sizes.tree_keys), str(sizes.tree_values)]
    return {
        "tree": [
            ["harvest", [[*program, "harvest", windows_path(work / "harvested.reg")]]],
            ["enumerate", [[*program, "enumerate"]]],
            ["write", [[*program, "write", windows_path(work / "written.reg"), *counts]]],
            ["export", [export(TREE, work / "exported.reg")]],
        ]
    }


def fill_tree(sizes):
    return [WINE, windows_path(REGISTRY), "fill", str(sizes.tree_keys), str(sizes.tree_values)]


def in_session(work, rounds, cases, prepare, *options):
    """The seconds of each round of the cases, run in one Wine session: {case: {side: [seconds]}}."""
    plan, result = work / "plan.json", work / "result.json"
    plan.write_text(json.dumps({"rounds": rounds, "cases": cases, "prepare": prepare}))
    script = Path(__file__).with_name("in_session.py")
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", *options]
    subprocess.run([*session, sys.executable, script, plan, result], check=True, stdin=subprocess.DEVNULL)
    return json.loads(result.read_text())


def in_sessions(work, count, cases, *options):
    """The same with many sessions for each case, each with one round: what the log of a session tells of what ran
    before in it is then as little as with ./keyreap."""
    times = {}
    for case, sides in cases.items():
        sessions = [in_session(work, {"": 1}, {case: sides}, [], *options)[case] for _ in range(count)]
        times[case] = {side: [session[side][0] for session in sessions] for side, _ in sides}
    return times


def medians(times):
    return {case: {side: statistics.median(all) for side, all in sides.items()} for case, sides in times.items()}


def lines_of(file):
    return Path(file).read_text(encoding="utf-16").splitlines()


def entries_of(file):
    """The lines that stand for a key or a value, in order; a comparison of what two writers wrote."""
    return sorted(line for line in lines_of(file) if line.startswith(("[", '"', "@")))


def check_tree(sizes, work):
    """All three files tell the same tree, but for the keys between its groups, which the plain writer leaves out."""
    harvested, exported = entries_of(work / "harvested.reg"), entries_of(work / "exported.reg")
    values = [line for line in harvested if not line.startswith("[")]
    written = [line for line in entries_of(work / "written.reg") if not line.startswith("[")]
    if harvested != exported or values != written or len(values) != sizes.tree_keys * sizes.tree_values:
        sys.exit("bench: the harvest, the written file and the export of one tree differ")


def process_rows(table, sizes, work):
    say("whole processes")
    rounds = {"": sizes.rounds, **dict.fromkeys(("many", "export", "tree"), sizes.long_rounds)}
    cases = {**nothing(), **plain_registration(sizes), **single_server(sizes, work, "keyRedir")}
    cases.update({**many_servers(sizes, work), **tree(sizes, work), **usual_way(sizes, work)})
    plain = medians(in_session(work, rounds, cases, [fill_tree(sizes)]))
    cases = {**nothing(), **single_server(sizes, work, "both")}
    traced = medians(in_sessions(work, sizes.traced_rounds, cases, "--requests"))
    check_tree(sizes, work)
    for mode, times, aim in (("keyRedir", plain, 1.15), ("both", traced, 1.5)):
        for module in sizes.modules:
            ours, other = times[module]["ours"], times[module]["other"]
            table.add("one server, `%s`, %s; regsvr32" % (mode, module), "ms", ours * 1e3, other * 1e3, at_most=aim)
    bounds = (
        ("start and end of the program; regsvr32", plain["nothing"]),
        ("the same, with a request log; regsvr32", traced["nothing"]),
        ("its loads, and %s registered; regsvr32" % sizes.modules[0], plain["plain"]),
    )
    for name, sides in bounds:
        table.add(name, "ms", sides["ours"] * 1e3, sides["other"] * 1e3)
    each = 1e3 / sizes.servers
    many, usual, big = plain["many"], plain["export"], plain["tree"]
    name = "%d servers, each; regsvr32" % sizes.servers
    table.add(name, "ms", many["ours"] * each, many["other"] * each, at_most=0.3)
    table.add("one capture; export, register, export", "ms", usual["ours"] * 1e3, usual["other"] * 1e3, at_most=0.02)
    table.add("harvest; reg export", "ms", big["harvest"] * 1e3, big["export"] * 1e3, at_most=0.5)
    table.add("its calls to the registry alone; reg export", "ms", big["enumerate"] * 1e3, big["export"] * 1e3)
    lines = len(entries_of(work / "written.reg")) / 1e3
    table.add("writer; reg export", "lines a ms", lines / big["write"], lines / big["export"], at_least=2)


def make_log(work, name, events, ours):
    file = work / (name + ".etl")
    subprocess.run([MEMORY, "make", file, str(events), str(ours)], check=True)
    return file


def log_name(events, share):
    return "%d-%d" % (events, share)


def compared_parts(sizes, logs, compared):
    """All repetitions of the parts whose names the pattern finds, mixed: they meet the same moments of the machine."""
    command = [PARTS, str(sizes.operations), str(sizes.keys), *logs, "--benchmark_filter=" + compared]
    command += ["--benchmark_format=json", "--benchmark_enable_random_interleaving=true"]
    command += ["--benchmark_repetitions=%d" % sizes.repetitions, "--benchmark_min_time=%g" % sizes.part_seconds]
    # Of the processor's special instructions the library's SHA-1 is to use none.
    environment = dict(os.environ, OPENSSL_ia32cap="0:0")
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=environment)
    return json.loads(output.stdout)["benchmarks"]


def part_times(sizes, logs):
    """Medians, in seconds of processor time, by the name of the part, and what each part counted. One comparison
    follows the other."""
    runs = {}
    for compared in ["^operations/", "^sha1/", *("/%s$" % log.stem for log in logs)]:
        for run in compared_parts(sizes, logs, compared):
            if run.get("error_occurred"):
                sys.exit("bench: %s: %s" % (run["name"], run["error_message"]))
            if run["run_type"] == "iteration":
                runs.setdefault(run["name"], []).append(run)
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3}
    seconds = {name: [run["cpu_time"] * scale[run["time_unit"]] for run in all] for name, all in runs.items()}
    times = {name: statistics.median(all) for name, all in seconds.items()}
    return times, {name: all[0] for name, all in runs.items()}


def check_parts(sizes, counted):
    if counted["operations/log"]["found"] != counted["operations/map"]["found"]:
        sys.exit("bench: the operation log and the map tell different outcomes")
    for events in sizes.logs:
        for share in sizes.shares:
            found = counted["replay/" + log_name(events, share)]
            if (found["events"], found["operations"]) != (events + 1, events * share // 100):
                sys.exit("bench: a replay found %g events, %g of ours" % (found["events"], found["operations"]))


def part_rows(table, sizes, work):
    say("parts")
    logs = [make_log(work, log_name(n, share), n, n * share // 100) for n in sizes.logs for share in sizes.shares]
    logs.append(make_log(work, log_name(sizes.logs[-1], 0), sizes.logs[-1], 0))
    for log in logs:
        log.read_bytes()
    times, counted = part_times(sizes, logs)
    check_parts(sizes, counted)
    for share in sizes.shares:
        of_event = {events: times["replay/" + log_name(events, share)] / events * 1e9 for events in sizes.logs}
        for events in sizes.logs:
            read = times["read/" + log_name(events, share)] / events * 1e9
            name = "replay of %s events, %d %% ours, each; read" % (format(events, ","), share)
            table.add(name, "ns", of_event[events], read, at_most=4)
        name = "the same, %s events; %s" % (format(sizes.logs[-1], ","), format(sizes.logs[0], ","))
        table.add(name, "ns", of_event[sizes.logs[-1]], of_event[sizes.logs[0]], at_most=1.1)
    none_of_ours = log_name(sizes.logs[-1], 0)
    passed, read = (times[side + none_of_ours] / sizes.logs[-1] * 1e9 for side in ("replay/", "read/"))
    table.add("replay of %s events, none ours, each; read" % format(sizes.logs[-1], ","), "ns", passed, read)
    operations = "%s operations; hash map" % format(sizes.operations, ",")
    table.add(operations, "ms", times["operations/log"] * 1e3, times["operations/map"] * 1e3, at_most=1)
    table.add("SHA-1; OpenSSL", "MB/s", 1 / times["sha1/ours"], 1 / times["sha1/library"], at_least=0.9)
    memory_rows(table, sizes, work)


def replay_memory(file, limit=resource.RLIM_INFINITY):
    """Peak, least size and number of operations of a replay in a process of its own."""

    def limit_memory():
        resource.setrlimit(resource.RLIMIT_AS, (limit, limit))

    command = [MEMORY, "replay", file]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, preexec_fn=limit_memory)
    return [int(number) for number in re.findall(r"\d+", output.stdout)]


def memory_rows(table, sizes, work):
    say("memory")
    events = sizes.logs[-1]
    peak, least, _ = replay_memory(work / (log_name(events, 1) + ".etl"))
    name = "memory, %s events, 1 %% ours; operations and names" % format(events, ",")
    table.add(name, "MB", peak / MEGABYTE, least / MEGABYTE, at_most=3)
    for share in sizes.shares:
        log = make_log(work, "big", sizes.big_log, sizes.big_log * share // 100)
        peak = replay_memory(log, MEMORY_LIMIT)[0]
        name = "memory, log of %s MB, %d %% ours, in 2 GB; limit" % (format(log.stat().st_size // MEGABYTE, ","), share)
        table.add(name, "MB", peak / MEGABYTE, MEMORY_LIMIT / MEGABYTE, at_most=1)
        log.unlink()


def main(work, *options):
    quick = "--quick" in options
    # Tiny figures tell nothing of the aims.
    sizes, table = Sizes(quick), Table(judges=not quick)
    work = Path(work)
    process_rows(table, sizes, work)
    part_rows(table, sizes, work)
    table.print()
    print("%d rows, %d missed" % (len(table.rows), table.missed))


main(*sys.argv[1:])
