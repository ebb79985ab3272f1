"""The differences that the proofs of the corpus find, and those that their rules explain."""

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

import proofs  # noqa: E402
from proofs import Difference  # noqa: E402
from registry import Registry  # noqa: E402

CLASS = "Software\\\\Classes\\\\CLSID\\\\{X}"
VIEWED_CLASS = "Software\\\\Classes\\\\Wow6432Node\\\\CLSID\\\\{X}"
CAPTURED_CLASS = "hkey_local_machine\\software\\classes\\clsid\\{x}"
GUIDS = ["5752b7c0-7a87-4a48-9bc6-ef071494b565", "00f5d682-560e-4914-b3b0-0123456789ab"]


def text(characters):
    return proofs.SZ, (characters + "\0").encode("utf-16-le")


@pytest.fixture
def registry(tmp_path):
    """Creates a registry from the lines of the machine's keys."""
    made = []

    def make(machine=""):
        folder = tmp_path / str(len(made))
        folder.mkdir()
        made.append(folder)
        for name, content in (("machine", "[Software] 1\n" + machine), ("users", "[S-1-5-21-0-0-0-1000] 1\n")):
            (folder / name).write_text("WINE REGISTRY Version 2\n" + content, encoding="ascii")
        return Registry(folder)

    return make


def with_parents(key, values):
    """A key with its values, and its ancestors without values."""
    names = key.split("\\")
    keys = {"\\".join(names[:count]): {} for count in range(1, len(names))}
    return {**keys, key: values}


def places(differences):
    return [(difference.key, difference.name) for difference in differences]


NO_CLASSES = with_parents(proofs.CLASSES, {})


def registered(registry, captured_text, line, key=CLASS, bitness="x64"):
    """The differences from the registrar for a class with one value on each side."""
    capture = with_parents(CAPTURED_CLASS, {"": text(captured_text)})
    return proofs.same_as_registered(capture, bitness, registry(), registry("[%s] 1\n%s\n" % (key, line)))


NUMBERED = '[System\\\\ControlSet001\\\\Control\\\\Print] 1\n"A"="x"\n'
LINK_TO_IT = "[System\\\\CurrentControlSet] 1\n#link\n"
CURRENT = '[System\\\\CurrentControlSet\\\\Control] 1\n"A"="y"\n'


def test_a_current_control_set_that_is_a_link_has_the_keys_of_its_target(registry):
    key = "hkey_local_machine\\system\\currentcontrolset\\control\\print"
    read = registry(NUMBERED + LINK_TO_IT)
    assert read.values(key) == {"a": text("x")}
    assert not [path for path in read.keys if "controlset001" in path]


def test_a_current_control_set_of_its_own_stays_apart_from_the_numbered_one(registry):
    read = registry(NUMBERED + CURRENT)
    assert read.values("hkey_local_machine\\system\\currentcontrolset\\control") == {"a": text("y")}
    assert read.values("hkey_local_machine\\system\\controlset001\\control\\print") == {"a": text("x")}


def test_equal_sides_have_no_difference(registry):
    assert registered(registry, "server", '@="server"') == []


def test_other_data_and_missing_and_additional_values_are_differences(registry):
    assert places(registered(registry, "server", '@="other"')) == [(CAPTURED_CLASS, "")]
    assert places(registered(registry, "server", "")) == [(CAPTURED_CLASS, "")]
    assert places(registered(registry, "server", '@="server"\n"More"="x"')) == [(CAPTURED_CLASS, "more")]


def test_a_32_bit_server_sees_its_own_view_under_the_names_that_it_uses(registry):
    assert registered(registry, "server", '@="server"', VIEWED_CLASS, "x86") == []
    assert registered(registry, "server", '@="server"', VIEWED_CLASS, "x64") != []


def test_outside_the_classes_earlier_values_need_not_be_captured(registry):
    there = '[Software\\\\There] 1\n"V"="x"\n'
    assert proofs.same_as_registered(NO_CLASSES, "x64", registry(there), registry(there)) == []


def test_a_key_that_the_registrar_adds_must_be_captured(registry):
    found = proofs.same_as_registered(NO_CLASSES, "x64", registry(), registry("[Software\\\\New] 1\n"))
    assert places(found) == [("hkey_local_machine\\software\\new", None)]


def test_an_import_loses_only_entries_without_data(registry):
    values = {"none": None, "empty": (proofs.MULTI, b"\0\0"), "kept": text("x")}
    capture = with_parents("hkey_local_machine\\software\\classes\\k", values)
    kept, lost = registry('[Software\\\\Classes\\\\k] 1\n"kept"="x"\n'), registry("[Software\\\\Classes\\\\k] 1\n")
    assert proofs.same_as_imported(capture, "x64", registry(), kept) == []
    assert places(proofs.same_as_imported(capture, "x64", registry(), lost)) == [
        ("hkey_local_machine\\software\\classes\\k", "kept")
    ]


def test_a_trace_does_not_record_keys_that_only_have_subkeys(registry):
    traced = {"hkey_local_machine\\software\\a\\b": {"v": text("x")}}
    left = registry('[Software\\\\A\\\\B] 1\n"V"="x"\n')
    assert proofs.traced_as_registered(traced, "x64", registry(), left) == []
    assert proofs.traced_as_registered({}, "x64", registry(), left) != []


def test_a_trace_removes_a_key_with_all_its_values_and_the_parents_that_become_empty(registry):
    before = registry('[Software\\\\A\\\\B] 1\n"mine"="x"\n"neighbour"="y"\n[Software\\\\C] 1\n')
    after = registry("[Software\\\\C] 1\n")
    traced = {"hkey_local_machine\\software\\a\\b": {"mine": text("x")}}
    assert proofs.unexplained_changes(traced, "x64", before, after) == []
    assert proofs.unexplained_changes({}, "x64", before, after) != []


def test_a_trace_removes_only_captured_values_from_a_key_that_stays(registry):
    before = registry('[Software\\\\A] 1\n"mine"="x"\n"other"="y"\n')
    traced = {"hkey_local_machine\\software\\a": {"mine": text("x")}}
    other_left, none_left = registry('[Software\\\\A] 1\n"other"="y"\n'), registry("[Software\\\\A] 1\n")
    assert proofs.unexplained_changes(traced, "x64", before, other_left) == []
    assert proofs.unexplained_changes(traced, "x64", before, none_left) != []


def test_a_trace_leaves_nothing_new(registry):
    assert proofs.unexplained_changes({}, "x64", registry(), registry("[Software\\\\A] 1\n")) != []


def test_a_value_that_was_found_there_and_left_unchanged_may_differ():
    found = {"captured": text("default"), "other": text("live"), "before": text("live")}
    assert proofs.found_there(Difference("k", "v", **found))
    assert not proofs.found_there(Difference("k", "v", **found, traced=True))
    assert not proofs.found_there(Difference("k", "v", **{**found, "before": text("older")}))
    assert not proofs.found_there(Difference("k", "v", **{**found, "captured": None}))


@pytest.mark.parametrize(
    "captured, other, expected",
    [
        ("C:\\windows\\system32\\OLEAUT32.dll", "C:\\windows\\system32\\oleaut32.dll", True),
        ("C:\\windows\\system32\\ole32.dll", "C:\\windows\\syswow64\\ole32.dll", True),
        ("C:\\windows\\system32\\ole32.dll", "C:\\windows\\system32\\other.dll", False),
        ("Apartment", "apartment", False),
    ],
)
def test_a_path_may_name_a_module_as_it_was_loaded(captured, other, expected):
    assert proofs.name_of_the_loaded(Difference("k", "v", text(captured), text(other))) == expected


@pytest.mark.parametrize(
    "captured, other, again, expected",
    [
        (GUIDS[0], GUIDS[1], GUIDS[1], True),
        (GUIDS[0], GUIDS[1], GUIDS[0], False),
        (GUIDS[0], "text", GUIDS[1], False),
        ("one", "two", "two", False),
    ],
)
def test_a_guid_that_differs_between_two_captures_is_made_up(captured, other, again, expected):
    assert proofs.made_up(Difference("k", "v", text(captured), text(other), again=text(again))) == expected


def test_no_rule_explains_a_whole_key():
    key = Difference("k", None, {"": text("x")}, None)
    assert [rule(key) for rule in (proofs.found_there, proofs.name_of_the_loaded, proofs.made_up)] == [False] * 3
