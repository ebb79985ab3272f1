"""Usage: run.py WORK [--quick] [PART...]

Measures the program and its parts, each with its comparison, and prints one table. Programs and
sessions are those of the build folder; WORK is an empty folder for logs and outputs. With --quick everything is tiny
and runs once: this only checks that the measuring works. A PART is one of `processes`, `commands`, `values` and `parts`;
without one all are measured.
"""

import json
import os
import re
import resource
import statistics
import subprocess
import sys
from pathlib import Path

from cases import (
    BUILD,
    ROOT,
    TREE,
    bare_list,
    bare_traced,
    bare_values,
    captures_of_both,
    fill_tree,
    long_log,
    many_servers,
    many_values,
    nothing,
    of_all_sizes,
    redirected,
    regsvr32,
    servers,
    single_server,
    tree,
    usual_way,
)
from commands import command_rows
from regfiles import entries_of, found_in, list_of, text_of
from table import Table

PARTS = BUILD / "native" / "benchmarks" / "partbench"
MEMORY = BUILD / "native" / "benchmarks" / "replaymemory"

MEGABYTE = 1024 * 1024
MEMORY_LIMIT = 2048 * MEGABYTE


class Sizes:
    """The extent of the measurements: the real one, or a tiny one."""

    def __init__(self, quick):
        self.rounds = 1 if quick else 11
        self.traced_rounds = 1 if quick else 5
        self.many_rounds = 1 if quick else 7
        self.commands, self.command_rounds = (2, 1) if quick else (40, 3)
        self.long_rounds = 1 if quick else 3
        self.modules = of_all_sizes(servers(), 1 if quick else 5)
        self.servers = 2 if quick else 100
        self.exported = [TREE] if quick else ["HKLM", "HKCU"]
        self.logs = [1_000, 2_000] if quick else [10_000, 100_000, 1_000_000, 10_000_000]
        self.shares = [1, 10]
        self.big_log = 20_000 if quick else 17_800_000
        self.operations = 1_000 if quick else 1_000_000
        self.keys = 100 if quick else 100_000
        self.values = [20, 40] if quick else [10_000, 100_000]
        self.most_values = 60 if quick else 1_000_000
        self.log_values = 10 if quick else 370_000
        self.tree_keys = 20 if quick else 10_000
        self.tree_values = 10
        self.repetitions, self.part_seconds = (1, 0.001) if quick else (9, 0.05)
        # Enough repetitions that other work of the machine affects both sides equally.
        self.hash_repetitions, self.hash_seconds = (1, 0.001) if quick else (201, 0.005)


def say(text):
    print("bench: " + text, file=sys.stderr, flush=True)


def in_session(work, rounds, cases, prepare, *options):
    """The seconds of each round of the cases, run in one Wine session: {case: {side: [seconds]}}."""
    plan, result = work / "plan.json", work / "result.json"
    plan.write_text(json.dumps({"rounds": rounds, "cases": cases, "prepare": prepare}))
    script = Path(__file__).with_name("in_session.py")
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", *options]
    subprocess.run([*session, sys.executable, script, plan, result], check=True, stdin=subprocess.DEVNULL)
    return json.loads(result.read_text())


def in_sessions(work, count, cases, *options):
    """The same with many sessions for each case, each with one round: then a session's log contains as little of
    earlier programs as with ./keyreap."""
    times = {}
    for case, sides in cases.items():
        sessions = [in_session(work, {"": 1}, {case: sides}, [], *options)[case] for _ in range(count)]
        times[case] = {side: [session[side][0] for session in sessions] for side, _ in sides}
    return times


def medians(times):
    return {case: {side: statistics.median(all) for side, all in sides.items()} for case, sides in times.items()}


def check_tree(sizes, work):
    """All three files have the same tree, except the keys between its groups, which the plain writer omits."""
    harvested, exported = entries_of(work / "harvested.reg"), entries_of(work / "exported.reg")
    values = [line for line in harvested if not line.startswith("[")]
    written = [line for line in entries_of(work / "written.reg") if not line.startswith("[")]
    if harvested != exported or values != written or len(values) != sizes.tree_keys * sizes.tree_values:
        sys.exit("bench: the harvest, the written file and the export of one tree differ")


def check_bare(work, module, wanted):
    """The bare steps found the same number of keys and values."""
    found = (work / (module + ".bare")).read_text(encoding="utf-16-le").count("\n")
    if found != wanted:
        sys.exit("bench: the bare capture of %s found %d keys and values, not %d" % (module, found, wanted))


def bare_rows(table, sizes, plain, traced):
    for mode, times, bare in (("keyRedir", plain, "bare"), ("both", traced, "ours")):
        for module in sizes.modules:
            name = "bare steps of `%s`, %s; regsvr32" % (mode, module)
            table.add(name, "ms", times[module][bare] * 1e3, times[module]["other"] * 1e3)


def process_rows(table, sizes, work):
    rounds = {"": sizes.rounds, "many": sizes.many_rounds, **dict.fromkeys(("export", "tree"), sizes.long_rounds)}
    cases = {**nothing(), **redirected(sizes, work)}
    cases.update({**many_servers(sizes, work), **tree(sizes, work), **usual_way(sizes, work)})
    plain = medians(in_session(work, rounds, cases, [fill_tree(sizes)]))
    for module in sizes.modules:
        check_bare(work, module, len(entries_of(work / (module + ".reg"))))
    cases = {**nothing(), **single_server(sizes, work, "both")}
    traced = medians(in_sessions(work, sizes.traced_rounds, cases, "--requests"))
    lists = {module: list_of(work / (module + ".reg")) for module in sizes.modules}
    for module, keys in lists.items():
        bare_list(work, module).write_text(text_of(keys), encoding="utf-16-le")
    bare = medians(in_sessions(work, sizes.traced_rounds, bare_traced(sizes, work), "--requests"))
    for module, keys in lists.items():
        check_bare(work, module, found_in(keys))
    check_tree(sizes, work)
    for mode, times, aim in (("keyRedir", plain, 1.15), ("both", traced, 1.5)):
        for module in sizes.modules:
            ours, other = times[module]["ours"], times[module]["other"]
            table.add("one server, `%s`, %s; regsvr32" % (mode, module), "ms", ours * 1e3, other * 1e3, at_most=aim)
    for module in sizes.modules:
        ours, steps = traced[module]["ours"], bare[module]["ours"]
        table.add("one server, `both`, %s; bare steps" % module, "ms", ours * 1e3, steps * 1e3, at_most=1.25)
    bounds = (
        ("start and end of the program; regsvr32", plain["nothing"]),
        ("the same, with a request log; regsvr32", traced["nothing"]),
    )
    for name, sides in bounds:
        table.add(name, "ms", sides["ours"] * 1e3, sides["other"] * 1e3)
    bare_rows(table, sizes, plain, bare)
    each = 1e3 / sizes.servers
    many, usual, big = plain["many"], plain["export"], plain["tree"]
    name = "%d servers, each; regsvr32" % sizes.servers
    table.add(name, "ms", many["ours"] * each, many["other"] * each, at_most=0.3)
    table.add("bare steps of " + name, "ms", many["bare"] * each, many["other"] * each)
    table.add("one capture; export, register, export", "ms", usual["ours"] * 1e3, usual["other"] * 1e3, at_most=0.02)
    table.add("harvest; reg export", "ms", big["harvest"] * 1e3, big["export"] * 1e3, at_most=0.5)
    table.add("its calls to the registry alone; reg export", "ms", big["enumerate"] * 1e3, big["export"] * 1e3)
    lines = len(entries_of(work / "written.reg")) / 1e3
    table.add("writer; reg export", "lines a ms", lines / big["write"], lines / big["export"], at_least=2)


def values_row(table, sizes, work, count, mode, rounds, at_most=None):
    name = "%s values in one key, `%s`; bare steps" % (format(count, ","), mode)
    # The first program of a session waits for the start of Wine's own.
    warm_up = [regsvr32(sizes.modules[0])]
    cases = many_values(work, count, mode)
    times = medians(in_session(work, {"values": rounds}, cases, warm_up, "--requests"))["values"]
    captured = sum(line.startswith('"') for line in entries_of(work / "values.reg"))
    removed = (work / "values.bare").read_text(encoding="utf-16-le").count("\n")
    if (captured, removed) != (count, count + 1):
        sys.exit("bench: %d of %d values were captured, %d read and removed" % (captured, count, removed - 1))
    table.add(name, "ms", times["ours"] * 1e3, times["other"] * 1e3, at_most=at_most)


def value_rows(table, sizes, work):
    for mode in ("both", "trace"):
        for count in sizes.values:
            values_row(table, sizes, work, count, mode, sizes.long_rounds, at_most=1.2)
    values_row(table, sizes, work, sizes.most_values, "both", 1)
    fill = [bare_values(work, sizes.log_values, "both")]
    times = medians(in_session(work, {"log": sizes.rounds}, long_log(sizes, work), fill, "--requests"))["log"]
    size = int((work / "log.size").read_text()) / 1e6
    new = medians(in_session(work, {"": sizes.rounds}, captures_of_both(sizes, work), [], "--requests"))
    name = "one server, {}, `both`, after a request log of %d MB; {}" % size
    table.add(name.format("x64", "reading of the log"), "ms", times["x64"] * 1e3, times["other"] * 1e3, at_most=1.5)
    for bitness, sides in new.items():
        table.add(name.format(bitness, "in a new session"), "ms", times[bitness] * 1e3, sides["ours"] * 1e3, at_most=1.5)


def make_log(work, name, events, ours):
    file = work / (name + ".etl")
    subprocess.run([MEMORY, "make", file, str(events), str(ours)], check=True)
    return file


def log_name(events, share):
    return "%d-%d" % (events, share)


def compared_parts(sizes, logs, compared, repetitions, seconds):
    """All repetitions of the parts whose names match, mixed, so that changes of the load affect all of them."""
    command = [PARTS, str(sizes.operations), str(sizes.keys), *logs, "--benchmark_filter=" + compared]
    command += ["--benchmark_format=json", "--benchmark_enable_random_interleaving=true"]
    command += ["--benchmark_repetitions=%d" % repetitions, "--benchmark_min_time=%g" % seconds]
    # The library's SHA-1 must not use special instructions of the processor.
    environment = dict(os.environ, OPENSSL_ia32cap="0:0")
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=environment)
    return json.loads(output.stdout)["benchmarks"]


def part_times(sizes, logs):
    """Medians, in seconds of processor time, by the name of the part, and the counters of each part. The comparisons
    run one after another."""
    runs = {}
    usual, short = (sizes.repetitions, sizes.part_seconds), (sizes.hash_repetitions, sizes.hash_seconds)
    others = ["^operations/", *("/%s$" % log.stem for log in logs)]
    for compared, extent in [("^sha1/", short), *((other, usual) for other in others)]:
        for run in compared_parts(sizes, logs, compared, *extent):
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
            table.add(name, "ns", of_event[events], read, at_most=3 if share == 1 else 6)
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
    """Peak, least size and number of operations of a replay in its own process."""

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


ROWS = {"processes": process_rows, "commands": command_rows, "values": value_rows, "parts": part_rows}


def main(work, *words):
    quick = "--quick" in words
    # Tiny figures can't be compared with the aims.
    sizes, table = Sizes(quick), Table(judges=not quick)
    chosen = [word for word in words if word != "--quick"] or ROWS
    for part in chosen:
        say(part)
        ROWS[part](table, sizes, Path(work))
    print(table.text())
    print("%d rows, %d missed, %d of them guarded" % (len(table.rows), table.missed, table.guarded_missed))
    sys.exit(table.guarded_missed > 0)


main(*sys.argv[1:])
