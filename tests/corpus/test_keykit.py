"""Every capture of the corpus goes through every verb of keykit. What is emitted is read by independent readers, which share
nothing with the program, and compared with the capture, read by a reader of its own.

A whole run (./test corpus) takes all modules; every other run takes a sample.
"""

import os
import re
import resource
import subprocess
import sys
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "keykit"))

import readers  # noqa: E402
from carried import Carried, Named  # noqa: E402
from sessions import ROOT, Sessions, base_drive, chosen_targets  # noqa: E402
from targets import host_file  # noqa: E402

STEP = int(os.environ.get("KEYREAP_SAMPLE", "10"))

PROGRAMS = {"as it is": ROOT / "build/tools/keykit", "sanitized": ROOT / "build/native-sanitized/kit/keykit"}
REGDUMP = ROOT / "build/native/tools/regdump"

KINDS = ["wix", "wix3", "wixl", "nsis", "inno", "reg", "json"]
# Each verb with the words before the capture, and those after it beside the server.
VERBS = {
    **{"emit " + kind: (["emit", kind], ["--product", "b29a312e-eb83-43bc-a846-e0c0563b8801"]) for kind in KINDS},
    "lint": (["lint"], []),
}
VERBS["emit reg"][1].extend(["--directory", readers.THERE])

# The processor time of all runs for the whole corpus, in seconds.
MOST_SECONDS = 10

# A rule that finds something in more than a tenth of the captures has to be worth it. A sample may have more by chance.
SELDOM = 10 if STEP == 1 else 5

MODULES = [target for target in chosen_targets(STEP) if target.kind == "module"]


class OneFile:
    """The identifier of the only server is that of its file, whatever it is."""

    def __init__(self, target):
        self.name = target.name

    def __getitem__(self, identifier):
        return self.name


def seconds_of_children():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


class Runs:
    """What each verb makes of each capture, by the verb and the target's id; and the seconds that it took."""

    def __init__(self, program, files, targets):
        self.program, self.files = program, files
        jobs = [(verb, target) for target in targets for verb in VERBS]
        begin, begin_of_children = time.monotonic(), seconds_of_children()
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            done = list(pool.map(lambda job: self.run(*job), jobs))
        self.seconds, self.processor_seconds = time.monotonic() - begin, seconds_of_children() - begin_of_children
        self.results = {(verb, target.id): result for (verb, target), result in zip(jobs, done)}

    def run(self, verb, target):
        before, after = VERBS[verb]
        server = "%s=%s" % (host_file(target.path, base_drive()), target.path)
        words = [self.program, *before, self.files[target.id], *after, "--server", server]
        return subprocess.run(words, capture_output=True, stdin=subprocess.DEVNULL)

    def of(self, verb, target):
        return self.results[verb, target.id]


@pytest.fixture(scope="module")
def captures(tmp_path_factory):
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe.")
    folder = tmp_path_factory.mktemp("captures")
    Sessions(folder, MODULES, "--empty-classes").capture("keyRedir", "keyRedir")
    for hive in (*folder.rglob("machine"), *folder.rglob("users")):
        hive.unlink()
    return {target.id: folder / "keyRedir" / (target.id + ".reg") for target in MODULES}


@pytest.fixture(scope="module")
def carried(captures):
    return {target.id: Carried(captures[target.id].read_bytes(), target.path) for target in MODULES}


@pytest.fixture(scope="module")
def runs(captures, carried):
    subprocess.run([ROOT / "keykit", "--help"], check=True, capture_output=True)
    found = Runs(PROGRAMS["as it is"], captures, MODULES)
    yield found
    if "KEYREAP_REPORT" in os.environ:
        Path(os.environ["KEYREAP_REPORT"]).write_text("\n".join([*report(found, carried), ""]))


@pytest.fixture(scope="module")
def emitted(runs):
    """Values and keys of each kind's output, by kind and the target's id. Keys and names are in lower case."""
    found = {}
    for kind in KINDS:
        for target in MODULES:
            registry = readers.read(kind, runs.of("emit " + kind, target).stdout, OneFile(target))
            values = {(key.lower(), name.lower()): value for key in registry for name, value in registry[key].items()}
            found[kind, target.id] = values, {key.lower() for key in registry}
    return found


def each_kind(test):
    return pytest.mark.parametrize("kind", KINDS)(test)


def named(runs, kind, target):
    return Named(runs.of("emit " + kind, target).stderr.decode())


def findings(runs, target):
    """The numbers of the rules, one for each finding."""
    lines = runs.of("lint", target).stdout.decode().splitlines()
    return [re.match(r".*?\.reg: (K\d{3})", line)[1] for line in lines]


def report(runs, carried):
    values, keys = (sum(len(getattr(one, what)) for one in carried.values()) for what in ("values", "empty_keys"))
    lines = [
        "%d captures through %d verbs in %.1f s, %.1f s of the processor." % (len(MODULES), len(VERBS), runs.seconds, runs.processor_seconds),
        "%d values, and %d keys without values:" % (values, keys),
    ]
    for kind in KINDS:
        names = [named(runs, kind, target) for target in MODULES]
        left_out, paths = sum(len(one.values) + len(one.keys) for one in names), sum(len(one.paths) for one in names)
        lines.append("%s: %d not carried, %d with a path that is left." % (kind, left_out, paths))
    counts, captures = counts_of(runs)
    return lines + ["%s: %d findings in %d captures." % (rule, counts[rule], captures[rule]) for rule in sorted(counts)]


def counts_of(runs):
    """The findings of each rule, and the captures in which it finds something."""
    found = [findings(runs, target) for target in MODULES]
    return Counter(rule for rules in found for rule in rules), Counter(rule for rules in found for rule in set(rules))


def has_path_left(name, value):
    kind, data = value
    texts = data.decode("utf-16-le", "surrogatepass") if kind in (readers.SZ, readers.EXPAND_SZ, readers.MULTI_SZ) else ""
    return any(re.search(r"(?<![a-z0-9])[a-z]:[\\/]", text.lower().replace(readers.THERE.lower(), "")) for text in (name, texts))


@pytest.mark.parametrize("verb", VERBS)
def test_every_verb_ends_with_1_exactly_if_something_is_named(runs, verb):
    for target in MODULES:
        result = runs.of(verb, target)
        said = result.stdout if verb == "lint" else result.stderr
        assert result.returncode == (1 if said else 0), (target.id, result.stderr)
        assert all(line.startswith(b"keykit: ") for line in result.stderr.splitlines()), target.id


@each_kind
def test_every_value_is_emitted_as_captured_or_named(runs, carried, emitted, kind):
    for target in MODULES:
        wanted, names = carried[target.id], named(runs, kind, target)
        values, _ = emitted[kind, target.id]
        assert set(wanted.values) - set(values) == names.values, target.id
        assert set(values) - set(wanted.values) == set(), target.id
        assert {place: (value, wanted.values[place]) for place, value in values.items() if value != wanted.values[place]} == {}, target.id
        assert names.paths <= set(values), target.id


@each_kind
def test_every_key_without_values_is_emitted_or_named(runs, carried, emitted, kind):
    for target in MODULES:
        _, keys = emitted[kind, target.id]
        wanted = carried[target.id]
        assert wanted.empty_keys - keys == named(runs, kind, target).keys, target.id
        assert keys <= {key for key, _ in wanted.values} | wanted.empty_keys | wanted.parents, target.id


@each_kind
def test_exactly_the_paths_that_are_left_are_named(runs, emitted, kind):
    for target in MODULES:
        values, _ = emitted[kind, target.id]
        assert {place for place, value in values.items() if has_path_left(place[1], value)} == named(runs, kind, target).paths, target.id


@each_kind
def test_nothing_else_is_named_than_an_empty_capture_and_a_server_without_entries(runs, carried, kind):
    for target in MODULES:
        others = [re.sub(r"^keykit: (\S+\.reg: )?", "", line) for line in named(runs, kind, target).others]
        allowed = [] if carried[target.id].values else ["no value was captured"]
        assert [line for line in others if line != "no entry names " + target.path] == allowed, target.id


def test_a_capture_that_is_read_and_written_is_the_same(captures, tmp_path):
    for target in MODULES:
        file, copy = captures[target.id], tmp_path / "copy.reg"
        subprocess.run([REGDUMP, "--rewrite", file, copy], check=True)
        assert copy.read_bytes() == file.read_bytes(), target.id


def test_the_sanitizers_find_nothing(runs, captures):
    sanitized = Runs(PROGRAMS["sanitized"], captures, MODULES[:: 1 if STEP == 1 else 4])
    for (verb, name), result in sanitized.results.items():
        expected = runs.results[verb, name]
        assert (result.returncode, result.stdout, result.stderr) == (expected.returncode, expected.stdout, expected.stderr), (verb, name)


def test_all_captures_take_less_than_ten_seconds(runs):
    assert runs.processor_seconds * STEP < MOST_SECONDS


def test_a_rule_that_is_found_often_is_defended(runs):
    text = (ROOT / "docs" / "lint.md").read_text(encoding="utf-8")
    defended = re.search(r"^Only (.*?) (?:is|are) found in more than a tenth", text, re.M)[1]
    often = {rule for rule, count in counts_of(runs)[1].items() if count * SELDOM > len(MODULES)}
    assert often <= set(re.findall(r"K\d{3}", defended))
