"""hostrules.py: each rule explains what it says and nothing else."""

import sys
from pathlib import Path

import pytest

TESTS = Path(__file__).resolve().parents[1]
for folder in ("strict", "corpus", "support"):
    sys.path.insert(0, str(TESTS / folder))

import hostrules  # noqa: E402

SZ = 1
GUIDS = ["12345678-1234-1234-1234-12345678901%d" % number for number in range(2)]


def text(letters):
    return SZ, (letters + "\0").encode("utf-16-le")


class Before:
    keys = {"hkey_local_machine\\software\\there", "hkey_local_machine\\software\\wow6432node\\node"}


def rules(plain, strict, before=Before):
    return [rule for _, rule in hostrules.differences(plain, strict, before)]


@pytest.fixture(autouse=True)
def recording(tmp_path, monkeypatch):
    """A recording in which the system sets one value, and any value of one key."""
    lines = ["8664\tset\t\\registry\\machine\\system\\zone\tname", "inner\t\\registry\\user\\s-1-5-21-0-0-0-1000\\layout"]
    (tmp_path / "recording.txt").write_text("\n".join([*lines, "8664\tcreate\t\\registry\\machine\\system\\zone", ""]))
    monkeypatch.setattr(hostrules, "RECORDING", tmp_path / "recording.txt")
    hostrules.recorded.cache_clear()
    yield
    hostrules.recorded.cache_clear()


def test_equal_results_have_no_difference():
    assert rules({"k": {"v": text("x")}}, {"k": {"v": text("x")}}) == []


def test_a_class_may_keep_its_node_with_the_same_values():
    plain, node = "hkey_classes_root\\clsid\\a", "hkey_classes_root\\wow6432node\\clsid\\a"
    assert rules({plain: {"v": text("x")}}, {node: {"v": text("x")}}) == ["spelled_in_capitals"]
    assert None in rules({plain: {"v": text("x")}}, {node: {"v": text("y")}})
    assert None in rules({}, {node: {"v": text("x")}})
    assert rules({plain: {"v": text("x")}}, {plain: {}, node: {"v": text("x")}}) == ["spelled_in_capitals"]
    assert None in rules({plain: {"v": text("x")}}, {plain: {"v": text("y")}, node: {"v": text("x")}})
    below = "hkey_classes_root\\a\\wow6432node\\b"
    assert None in rules({"hkey_classes_root\\a\\b": {"v": text("x")}}, {below: {"v": text("x")}})


@pytest.mark.parametrize("name", ["there", "node"])
def test_a_key_without_values_that_was_there_is_made_again(name):
    key = "hkey_local_machine\\software\\" + name
    assert rules({}, {key: {}}) == ["made_again"]
    assert rules({}, {key: {"v": text("x")}}) == [None]
    assert rules({key: {}}, {}) == [None]
    assert rules({}, {key: {}}, None) == [None]


def test_a_key_that_was_not_there_is_unexplained():
    assert rules({}, {"hkey_local_machine\\software\\new": {}}) == [None]


def test_a_key_that_is_in_memory_alone_is_made_again():
    assert rules({}, {"hkey_current_user\\software\\wine\\fonts\\cache": {}}) == ["made_again"]


def test_what_the_recording_sets_is_the_systems():
    zone, layout = "hkey_local_machine\\system\\zone", "hkey_current_user\\layout"
    assert rules({}, {zone: {"name": text("x")}}) == ["set_by_the_system"]
    assert rules({zone: {}}, {zone: {"name": text("x")}}) == ["set_by_the_system"]
    assert rules({zone: {"name": text("x")}}, {zone: {}}) == [None]
    assert rules({zone: {"name": text("x")}}, {zone: {"name": text("y")}}) == [None]
    assert rules({}, {zone: {"name": text("x"), "other": text("x")}}) == [None]
    assert rules({}, {layout: {"any": text("x")}}) == ["set_by_the_system"]
    assert rules({}, {layout + "\\below": {"any": text("x")}}) == [None]


def test_a_missing_key_is_unexplained():
    below = {"k\\b": {"v": text("x")}}
    assert rules({"k": {}, **below}, below) == [None]
    assert rules({"k": {"v": text("x")}}, {}) == [None]


def test_a_guid_that_differs_is_made_up():
    one, other = ({"k": {"v": text(guid)}} for guid in GUIDS)
    assert rules(one, other) == ["made_up"]
    assert rules(one, {"k": {"v": text("x")}}) == [None]
