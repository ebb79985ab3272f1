"""The servers of the Wine distribution, captured with a logger as strict as that of Windows (scripts/host.sh). What a trace
then has in addition, and what its removal deletes, follows the rules of hostrules.py. Redirection gives the same bytes.

A whole run (./test strict) captures all servers and reports how much the removal deletes beyond what the servers wrote.
Every other run captures every second server of the corpus's own sample and reports only the totals.
"""

import os
import sys
from pathlib import Path

import pytest

TESTS = Path(__file__).resolve().parents[1]
for folder in ("strict", "corpus", "support"):
    sys.path.insert(0, str(TESTS / folder))

import hostrules  # noqa: E402
from deletions import report  # noqa: E402
from hostresults import HostResults  # noqa: E402
from sessions import TRACED, chosen_targets, run_hosts  # noqa: E402

SAMPLE = int(os.environ.get("KEYREAP_SAMPLE", "10"))
IS_WHOLE = SAMPLE == 1

TARGETS = chosen_targets(1 if IS_WHOLE else 2 * SAMPLE)
MODULES = [target for target in TARGETS if target.kind == "module"]
LIBRARIES = [target for target in TARGETS if target.kind == "library"]
# Those whose captures in a registry with classes show how the node of the 32-bit view is named.
OF_A_NODE = [target for target in MODULES if target.bitness == "x86"][::5]
TRACES = [(mode, target) for mode in TRACED for target in TARGETS if target.kind != "library"]
TRACES += [("node", target) for target in OF_A_NODE]


def each(targets):
    return pytest.mark.parametrize("target", targets, ids=lambda target: target.id)


def in_each_mode(test):
    ids = ["%s-%s" % (mode, target.id) for mode, target in TRACES]
    return pytest.mark.parametrize("mode, target", TRACES, ids=ids)(test)


@pytest.fixture(scope="module")
def results(tmp_path_factory):
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe.")
    folder = tmp_path_factory.mktemp("servers")
    run_hosts(folder, TARGETS, OF_A_NODE)
    found = HostResults(folder, TARGETS)
    yield found
    if "KEYREAP_REPORT" in os.environ:
        Path(os.environ["KEYREAP_REPORT"]).write_text(report(found, TRACES, IS_WHOLE))
    # The hives of a whole run take some gigabytes.
    for hive in (*folder.rglob("machine"), *folder.rglob("users")):
        hive.unlink()


def unexplained(differences):
    return [str(difference) for difference, rule in differences if rule is None]


@in_each_mode
def test_a_server_is_captured_on_both_hosts(results, mode, target):
    assert [results.status(host, mode, target) for host in ("plain", "strict")] == [0, 0]


@each(LIBRARIES)
def test_a_file_that_is_no_type_library_is_captured_on_none(results, target):
    assert 0 not in [results.status(host, mode, target) for host in ("plain", "strict") for mode in TRACED]


@each(MODULES)
def test_a_redirection_gives_the_same_bytes(results, target):
    assert results.redirected_apart(target) == []


@in_each_mode
def test_a_trace_has_only_the_additions_of_the_rules(results, mode, target):
    assert unexplained(results.differences(mode, target)) == []


@in_each_mode
def test_every_name_in_a_result_is_one_that_the_server_used(results, mode, target):
    assert results.signs(mode, target) == []


@in_each_mode
def test_the_removal_deletes_only_what_is_in_the_result(results, mode, target):
    assert results.unexplained_changes(mode, target) == []


@in_each_mode
def test_the_removal_deletes_more_only_of_what_the_system_did(results, mode, target):
    assert results.unexplained_deletions(mode, target) == []


@in_each_mode
def test_nothing_more_is_left_than_on_the_host_as_it_is(results, mode, target):
    assert results.left_beyond(mode, target) == []


if IS_WHOLE:

    @pytest.mark.parametrize("rule", hostrules.RULES)
    def test_every_rule_is_needed(results, rule):
        assert rule in {found for trace in TRACES for _, found in results.differences(*trace)}
