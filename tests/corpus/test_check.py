"""Every module of the Wine distribution goes through `keykit check`, and what it says of the registry is reproduced with regsvr32
by means that share nothing with it: hives that another program saved. ./test corpus takes all modules, every other run a few, and
both report what was found.
"""

import json
import os
import sys
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
for folder in ("corpus", "support"):
    sys.path.insert(0, str(ROOT / "tests" / folder))

from checks import run_checks  # noqa: E402
from proofs import captured  # noqa: E402
from registry import Registry  # noqa: E402
from sessions import PARTS, Sessions, built_program, chosen_targets  # noqa: E402
from table import line  # noqa: E402
from targets import in_shard, session_folder  # noqa: E402

WHOLE = os.environ.get("KEYREAP_SAMPLE") == "1"
# A check takes some five seconds.
STEP = 1 if WHOLE else 120

TARGETS = [target for target in chosen_targets(STEP) if target.kind == "module"]

# The registries in which servers are registered, with the options of their sessions.
REGISTRIES = {"empty": ["--empty-classes"], "full": []}

HEADER = ["Server", "Bitness", "Whole", "Classes", "By the capture", "By registration", "Left", "Taken", "Noise", "Other rules"]
COUNTED = ("C302", "C401", "C402", "C501")


class Reproduced:
    """What regsvr32 makes of the targets in one of the registries."""

    def __init__(self, folder, targets, options):
        self.folder, self.targets = folder, targets
        self.sessions = Sessions(folder, targets, *options)
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(self.run, PARTS))
        files = folder.glob("session-*/statuses.json")
        self.statuses = {name: of for file in files for name, of in json.loads(file.read_text()).items()}

    def run(self, part):
        keeper = built_program("registrykeeper.exe", "x64")
        self.sessions.session([], "unregister_targets.py", keeper, self.folder, *part)

    def before(self, target):
        part = next(part for part in PARTS if target in in_shard(self.targets, ("module",), *part))
        return Registry(session_folder(self.folder, part[0], part[1]) / "before")

    def after(self, target, which):
        return Registry(self.folder / target.id / which)


class Results:
    def __init__(self, folder):
        self.folder = folder
        Sessions(folder, TARGETS, "--empty-classes").capture("keyRedir", "keyRedir")
        self.reports = run_checks(TARGETS, self.file_of)
        found = [target for target in TARGETS if self.rules(target) & {"C101", "C102", "C104", "C401", "C402", "C403"}]
        self.reproduced = {name: Reproduced(folder / name, found, options) for name, options in REGISTRIES.items()}

    def file_of(self, target):
        return self.folder / "keyRedir" / (target.id + ".reg")

    def findings(self, *rules):
        """Pairs of a target and a finding."""
        for target in TARGETS:
            for finding in self.reports[target.id].get("findings", []):
                if finding["rule"] in rules:
                    yield target, finding

    def rules(self, target):
        return {finding["rule"] for finding in self.reports[target.id].get("findings", [])}

    def registry_of(self, finding):
        return self.reproduced["empty" if "a registry without classes" in finding["sentence"] else "full"]

    def cells(self, target):
        report = self.reports[target.id]
        count = Counter(finding["rule"] for finding in report["findings"])
        whole = "no" if any(rule.startswith("C1") for rule in count) else "yes"
        created = report["created"]
        classes = [created["classes"], created["byCapture"], created["byRegistration"]]
        others = ", ".join("%s: %d" % (rule, times) for rule, times in sorted(count.items()) if rule not in COUNTED)
        return [target.name, target.bitness, whole, *classes, count["C401"], count["C402"], count["C501"], others]

    def totals(self):
        count = Counter(finding["rule"] for report in self.reports.values() for finding in report["findings"])
        servers = Counter(rule for target in TARGETS for rule in self.rules(target))
        clean = sum(not report["findings"] for report in self.reports.values())
        created = [report["created"] for report in self.reports.values()]
        sums = [sum(one[name] for one in created) for name in ("byCapture", "byRegistration", "classes")]
        lines = ["%d of %d modules have no finding." % (clean, len(TARGETS))]
        lines.append("%d classes are created after an import of the capture, %d after a registration, of %d." % tuple(sums))
        return lines + ["%s: %d findings in %d modules." % (rule, count[rule], servers[rule]) for rule in sorted(count)]


@pytest.fixture(scope="module")
def results(tmp_path_factory):
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe.")
    folder = tmp_path_factory.mktemp("checks")
    found = Results(folder)
    yield found
    if "KEYREAP_REPORT" in os.environ and not refused(found):
        rows = [line(HEADER), line(["---"] * len(HEADER)), *(line(found.cells(target)) for target in TARGETS), ""]
        Path(os.environ["KEYREAP_REPORT"]).write_text("\n".join([*(rows if WHOLE else []), *found.totals(), ""]))
    for hive in (*folder.rglob("machine"), *folder.rglob("users")):
        hive.unlink()


def refused(results):
    return {name: report for name, report in results.reports.items() if "refused" in report}


def test_every_module_is_checked_in_all_parts(results):
    assert refused(results) == {}
    parts = ["whole", "result", "works", "clean", "noise", "same", "fillers"]
    assert {name for name, report in results.reports.items() if report["parts"] != parts} == set()


def test_what_a_capture_lacks_regsvr32_writes(results):
    wrong = []
    for target, finding in results.findings("C101"):
        registry = results.registry_of(finding)
        key, value = finding["key"].lower(), finding.get("value")
        after, before = registry.after(target, "registered"), registry.before(target)
        is_new = key not in before.keys if value is None else before.values(key).get(value.lower()) != after.values(key).get(value.lower())
        if key not in after.keys or not is_new or key in captured(results.file_of(target), "x64") and value is None:
            wrong.append((target.id, finding))
    assert wrong == []


def test_what_only_a_capture_has_regsvr32_does_not_write(results):
    wrong = []
    for target, finding in results.findings("C102"):
        after = results.registry_of(finding).after(target, "registered")
        key, value = place(finding["key"], target, after), finding.get("value")
        if key in after.keys and (value is None or value.lower() in after.values(key)):
            wrong.append((target.id, finding))
    assert wrong == []


def place(key, target, hive):
    """Where a hive has a key of a capture, as the server's bitness sees it."""
    key = key.lower().replace("hkey_classes_root", "hkey_local_machine\\software\\classes")
    parts = ("hkey_local_machine\\software\\classes", "hkey_local_machine\\software")
    nodes = [key.replace(part, part + "\\wow6432node", 1) for part in parts if key.startswith(part)]
    return next((node for node in nodes if node in hive.keys), key) if target.bitness == "x86" else key


def test_regsvr32_fails_where_a_check_says_so(results):
    wrong = [
        (target.id, finding)
        for target, finding in results.findings("C104")
        if results.registry_of(finding).statuses[target.id]["registered"] == 0
    ]
    assert wrong == []


def test_what_unregistering_leaves_regsvr32_leaves(results):
    wrong = []
    for target, finding in results.findings("C401"):
        both = results.reproduced.values()
        if not any(is_left(registry.before(target), registry.after(target, "unregistered"), finding) for registry in both):
            wrong.append((target.id, finding))
    assert wrong == []


def is_left(before, after, finding):
    key, value = finding["key"].lower(), finding.get("value")
    if value is None:
        return key in after.keys and key not in before.keys
    return key in after.keys and after.values(key).get(value.lower()) != before.values(key).get(value.lower())


def test_what_unregistering_takes_regsvr32_takes(results):
    wrong = []
    for target, finding in results.findings("C402"):
        both = results.reproduced.values()
        if not any(is_taken(registry.before(target), registry.after(target, "unregistered"), finding) for registry in both):
            wrong.append((target.id, finding))
    assert wrong == []


def is_taken(before, after, finding):
    key, value = finding["key"].lower(), finding.get("value")
    if value is None:
        return key in before.keys and key not in after.keys
    return value.lower() in before.values(key) and (key not in after.keys or value.lower() not in after.values(key))


def test_regsvr32_fails_to_unregister_where_a_check_says_so(results):
    wrong = [
        (target.id, finding)
        for target, finding in results.findings("C403")
        if results.registry_of(finding).statuses[target.id]["unregistered"] == 0
    ]
    assert wrong == []
