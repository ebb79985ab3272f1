"""hostresults.py and deletions.py: what counts as deleted beyond what a server wrote, from made-up hives."""

import json
import sys
from pathlib import Path

import pytest

TESTS = Path(__file__).resolve().parents[1]
for folder in ("strict", "corpus", "support"):
    sys.path.insert(0, str(TESTS / folder))

from deletions import report  # noqa: E402
from hostresults import NOTHING, Deleted, HostResults, not_the_systems  # noqa: E402
from proofs import Difference  # noqa: E402
from targets import Target  # noqa: E402

SERVER = Target("module", "x64", "a.dll", "C:\\a.dll")
BEFORE = '[Software\\\\A] 1\n"one"="1"\n"two"="2"\n[Software\\\\B] 1\n"three"="3"\n[Software\\\\C] 1\n"four"="4"\n'
A, B, C = ("hkey_local_machine\\software\\" + name for name in "abc")


def save(folder, lines):
    folder.mkdir(parents=True)
    (folder / "machine").write_text(lines)
    (folder / "users").write_text("")


@pytest.fixture
def run(tmp_path):
    """Results of one server; takes the machine's keys that each host's run left."""

    def made(plain, strict):
        for host, left in (("plain", plain), ("strict", strict)):
            mode = tmp_path / host / "trace"
            save(mode / "session-x64-0" / "before", BEFORE)
            save(mode / SERVER.id, left)
            captures = {"results": {SERVER.id: {"status": 0}}}
            (mode / "session-x64-0" / "captures.json").write_text(json.dumps(captures))
        return HostResults(tmp_path, [SERVER])

    return made


WITHOUT_A = BEFORE[BEFORE.index("[Software\\\\B") :]
WITHOUT_A_AND_B = BEFORE[BEFORE.index("[Software\\\\C") :]


def test_what_both_hosts_delete_is_the_servers_own(run):
    deleted = run(WITHOUT_A, WITHOUT_A).deleted("trace", SERVER)
    assert not deleted and (deleted.keys, deleted.values) == (frozenset(), frozenset())


def test_what_the_strict_host_alone_deletes_counts_with_the_values_of_its_keys(run):
    deleted = run(WITHOUT_A, WITHOUT_A_AND_B).deleted("trace", SERVER)
    assert (deleted.keys, deleted.values) == ({B}, {(B, "three")})


def test_a_key_that_lost_a_value_is_no_deleted_key(run):
    deleted = run(BEFORE, BEFORE.replace('"one"="1"\n', "")).deleted("trace", SERVER)
    assert (deleted.keys, deleted.values) == (set(), {(A, "one")})


def test_a_key_of_which_the_server_deletes_one_value_counts_without_it(run):
    results = run(BEFORE.replace('"one"="1"\n', ""), WITHOUT_A)
    deleted = results.deleted("trace", SERVER)
    assert (deleted.keys, deleted.values) == ({A}, {(A, "two")})


def test_what_only_the_strict_host_leaves_is_left_beyond(run):
    more = BEFORE + '[Software\\\\D] 1\n"five"="5"\n'
    assert run(BEFORE, more).left_beyond("trace", SERVER) == ["hkey_local_machine\\software\\d"]


@pytest.mark.parametrize("rule", ["made_again", "set_by_the_system"])
def test_only_entries_of_the_system_explain_a_deletion_with_its_parents(rule):
    deleted = Deleted(frozenset([A, "hkey_local_machine\\software"]), frozenset([(B, "three")]))
    found = [(Difference(A, None, {}, None), rule)]
    assert not_the_systems(deleted, found, "x64") == [B]
    assert not_the_systems(deleted, [*found, (Difference(B, "three", "data", None), rule)], "x64") == []
    assert not_the_systems(NOTHING, [], "x64") == []


@pytest.mark.parametrize("rule", [None, "spelled_in_capitals", "implied", "made_up"])
def test_entries_of_the_server_explain_no_deletion(rule):
    assert not_the_systems(Deleted(frozenset([A]), frozenset()), [(Difference(A, None, {}, None), rule)], "x64") == [A]


def test_an_entry_of_a_32_bit_server_explains_a_deletion_in_its_view():
    node = "hkey_local_machine\\software\\wow6432node\\a"
    found = [(Difference(A, None, {}, None), "made_again")]
    assert not_the_systems(Deleted(frozenset([node]), frozenset()), found, "x86") == []
    assert not_the_systems(Deleted(frozenset([node]), frozenset()), found, "x64") == [node]


class Recorded:
    """Results of which only the deletions are known."""

    def __init__(self, **found):
        self.found = found

    def deleted(self, mode, target):
        return self.found[mode]


def test_the_report_has_totals_and_in_a_whole_run_each_capture_that_deletes_something():
    results = Recorded(trace=Deleted(frozenset([A, B]), frozenset([(B, "three")])), both=NOTHING)
    traces = [("trace", SERVER), ("both", SERVER)]
    totals = [
        "modules in mode both: 0 of 1 captures delete more than the server wrote, 0 keys and 0 values in all",
        "modules in mode trace: 1 of 1 captures delete more than the server wrote, 2 keys and 1 values in all",
    ]
    assert report(results, traces, False).splitlines() == totals
    assert report(results, traces, True).splitlines() == [
        *totals,
        "",
        "| Server | Bitness | Mode | Keys | Values |",
        "| --- | --- | --- | --- | --- |",
        "| a.dll | x64 | trace | 2 | 1 |",
        "",
        "1 of 1: " + A,
        "1 of 1: " + B,
    ]
