"""Every server of the Wine distribution is captured correctly. The captures are compared with results that share no
code with the program: the system's registrar, its importer, the other way of capturing, and the registry itself. The
rules of proofs.py and replayrules.py define which differences are allowed.

A whole run (./test corpus) captures all servers and reports them in a table; every other run captures a sample and
reports only the totals.
"""

import os
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

from secondreader import read_twice  # noqa: E402
from results import Results, unproven  # noqa: E402
from sessions import CAPTURES, chosen_targets, run_proofs  # noqa: E402
from table import Table  # noqa: E402

STEP = int(os.environ.get("KEYREAP_SAMPLE", "10"))

# The number of modules of the distribution that can't be loaded on this host. It must not grow.
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
    run_proofs(folder, TARGETS)
    found = Results(folder, TARGETS)
    yield found
    if "KEYREAP_REPORT" in os.environ:
        Path(os.environ["KEYREAP_REPORT"]).write_text(report(Table(found)) + found.second_reader)
    # The hives of a whole run take almost a gigabyte. The captures stay in pytest's folder.
    for hive in (*folder.rglob("machine"), *folder.rglob("users")):
        hive.unlink()


def report(table):
    lines = [*table.lines(), "", *table.totals()] if STEP == 1 else table.totals()
    return "\n".join([*lines, ""])


def test_no_more_modules_than_known_fail_to_load(results):
    assert len([target for target in MODULES if results.is_unloadable(target)]) <= UNLOADABLE


@each(MODULES)
def test_a_module_is_captured_in_every_mode_if_it_loads_and_in_none_otherwise(results, target):
    statuses = [results.status(mode, target) for mode in results.modes]
    if results.is_unloadable(target):
        assert set(statuses) == {FAILED}
        assert results.registrar_status(target) != 0
    else:
        assert set(statuses) == {0}


@each(MODULES)
def test_a_capture_equals_what_the_registrar_writes(results, target):
    assert unproven(results.against_registrar(target)) == []


@each(MODULES)
def test_an_import_of_the_capture_creates_what_was_captured(results, target):
    assert unproven(results.against_import(target)) == []


@each(MODULES)
def test_a_replay_equals_the_harvest(results, target):
    assert unproven(results.replay_against_harvest(target)) == []


@each(MODULES)
def test_a_trace_of_the_live_registry_equals_the_harvest_in_the_classes(results, target):
    assert unproven(results.trace_against_harvest(target)) == []


@each(MODULES + PROGRAMS)
def test_a_trace_of_the_live_registry_equals_what_the_registrar_writes(results, target):
    assert unproven(results.trace_against_registrar(target)) == []


@each(MODULES + PROGRAMS)
def test_every_name_in_a_result_is_one_that_the_server_used(results, target):
    modes = ["trace"] if target.kind == "program" else results.modes
    assert [sign for mode in modes for sign in results.signs(mode, target)] == []


@each(MODULES + PROGRAMS)
def test_a_trace_removes_from_the_registry_only_what_the_server_wrote(results, target):
    assert results.unexplained_changes(target) == []


@each(MODULES)
def test_the_same_command_gives_the_same_result_twice(results, target):
    assert unproven(results.second_against_first(target)) == []


@each(PROGRAMS)
def test_a_program_is_captured_by_trace(results, target):
    assert results.status("trace", target) == 0


@each(LIBRARIES)
def test_a_file_named_like_a_type_library_that_is_an_image_is_not_captured(results, target):
    assert results.first_bytes(target) == b"MZ"
    assert {results.status(mode, target) for mode in results.modes} == {FAILED}


@pytest.mark.parametrize("folder", CAPTURES)
def test_captures_leave_the_registry_and_the_temporary_files_unchanged(results, folder):
    assert results.left_by(folder) == []


def test_traces_leave_no_temporary_files(results):
    assert results.left_by_traces() == []


def test_every_registration_and_trace_started_from_the_same_registry(results):
    assert results.left_by_sessions() == []


def test_a_second_reader_reads_what_keykit_writes_of_each_capture(results, tmp_path):
    captured = [target for target in TARGETS if results.is_captured(target)]
    differences, results.second_reader = read_twice(results, captured, tmp_path)
    assert differences == []
