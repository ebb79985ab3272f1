"""Every server of the Wine distribution is captured right, by witnesses that share nothing with the program: the
system's registrar, its importer, the other way of capturing, and the registry itself. What may differ is told by the
rules of proofs.py and of replayrules.py.

A whole run (./test corpus) takes all of them, and its report is a table of what was found; every other run takes a
sample, and reports the sums.
"""

import os
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from results import Results, unproven  # noqa: E402
from sessions import CAPTURES, Sessions, chosen_targets  # noqa: E402
from table import Table  # noqa: E402

STEP = int(os.environ.get("KEYREAP_SAMPLE", "10"))

# How many modules of the distribution can't be loaded on this host. It may not grow.
UNLOADABLE = 0

# The status of a run whose server was not registered.
FAILED = 0xFFFFFFFF

TARGETS = chosen_targets(STEP)
MODULES = [target for target in TARGETS if target.kind == "module"]
LIBRARIES = [target for target in TARGETS if target.kind == "library"]
PROGRAMS = [target for target in TARGETS if target.kind == "program"]


def each(targets):
    return pytest.mark.parametrize("target", targets, ids=lambda target: target.id)


@pytest.fixture(scope="module")
def results(tmp_path_factory):
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe.")
    folder = tmp_path_factory.mktemp("corpus")
    Sessions(folder, TARGETS).run()
    found = Results(folder, TARGETS)
    yield found
    if "KEYREAP_REPORT" in os.environ:
        Path(os.environ["KEYREAP_REPORT"]).write_text(report(Table(found)))
    # Close to a gigabyte in a whole run; the captures stay, as pytest's folders do.
    for hive in (*folder.rglob("machine"), *folder.rglob("users")):
        hive.unlink()


def report(table):
    lines = [*table.lines(), "", *table.totals()] if STEP == 1 else table.totals()
    return "\n".join([*lines, ""])


def test_no_more_modules_than_known_are_not_to_be_loaded(results):
    assert len([target for target in MODULES if results.is_unloadable(target)]) <= UNLOADABLE


@each(MODULES)
def test_what_loads_is_captured_in_every_mode_and_what_does_not_in_none(results, target):
    statuses = [results.status(mode, target) for mode in results.modes]
    if results.is_unloadable(target):
        assert set(statuses) == {FAILED}
        assert results.registrar_status(target) != 0
    else:
        assert set(statuses) == {0}


@each(MODULES)
def test_a_capture_is_what_the_registrar_leaves(results, target):
    assert unproven(results.against_registrar(target)) == []


@each(MODULES)
def test_an_import_of_the_capture_makes_what_was_captured(results, target):
    assert unproven(results.against_import(target)) == []


@each(MODULES)
def test_a_replay_is_the_harvest(results, target):
    assert unproven(results.replay_against_harvest(target)) == []


@each(MODULES)
def test_a_trace_of_the_live_registry_is_the_harvest_in_the_classes(results, target):
    assert unproven(results.trace_against_harvest(target)) == []


@each(MODULES + PROGRAMS)
def test_a_trace_of_the_live_registry_is_what_the_registrar_leaves(results, target):
    assert unproven(results.trace_against_registrar(target)) == []


@each(MODULES + PROGRAMS)
def test_a_trace_takes_out_of_the_registry_what_the_server_wrote_and_no_more(results, target):
    assert results.unexplained_changes(target) == []


@each(MODULES)
def test_the_same_command_twice_gives_the_same(results, target):
    assert unproven(results.second_against_first(target)) == []


@each(PROGRAMS)
def test_a_program_is_captured_by_trace(results, target):
    assert results.status("trace", target) == 0


@each(LIBRARIES)
def test_an_image_under_the_name_of_a_type_library_is_none(results, target):
    assert results.first_bytes(target) == b"MZ"
    assert {results.status(mode, target) for mode in results.modes} == {FAILED}


@pytest.mark.parametrize("folder", CAPTURES)
def test_captures_leave_registry_and_temporary_files_as_they_were(results, folder):
    assert results.left_by(folder) == []


def test_traces_leave_no_temporary_files(results):
    assert results.left_by_traces() == []


def test_every_registration_and_trace_started_from_the_same_registry(results):
    assert results.left_by_sessions() == []
