"""Each rule explains its own difference and no other."""

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))

import regfile  # noqa: E402
import replayrules  # noqa: E402

ROOT_KEYS = ["HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_USERS", "HKEY_LOCAL_MACHINE"]
STAND_INS = "HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary\\"
CONTROL_SET = "HKEY_LOCAL_MACHINE/SYSTEM/CurrentControlSet"
FILLER = '"' + "\u5555" * 10 + '"'


def document(**keys):
    """A file with these keys and the lines of their values. The paths here have / in place of \\."""
    text = "".join("\r\n[%s]\r\n%s" % (key.replace("/", "\\"), lines) for key, lines in keys.items())
    return (regfile.HEADER + text).encode("utf-16-le")


def value(name, right):
    return '"%s"=%s\r\n' % (name, right)


def rules(harvested, replayed):
    """The rules that explain the differences. Every difference must be explained."""
    files = document(**harvested), document(**replayed)
    assert replayrules.unexplained(*files) == []
    return set(replayrules.explained(*files))


def test_equal_captures_need_no_rule():
    keys = {"HKEY_CURRENT_USER/A": value("V", '"x"')}
    assert rules(keys, keys) == set()


def test_order_and_spelling_do_not_count_as_differences():
    harvested = {"HKEY_CURRENT_USER/B": "", "HKEY_CURRENT_USER/A": value("V", '"x"') + value("A", '"y"')}
    replayed = {"HKEY_CURRENT_USER/a": value("A", '"y"') + value("v", '"x"'), "HKEY_CURRENT_USER/b": ""}
    assert rules(harvested, replayed) == set()


def test_64_bit_numbers_have_another_values_text_in_the_harvest():
    harvested = {"HKEY_CURRENT_USER/A": value("P", '"C:\\\\x"') + value("Q", "hex(b):C:,\\x")}
    replayed = {"HKEY_CURRENT_USER/A": value("P", '"C:\\\\x"') + value("Q", "hex(b):01,00,00,00,00,00,00,00")}
    assert rules(harvested, replayed) == {"wide_numbers"}


def test_only_the_harvest_contains_the_keys_of_the_redirection():
    harvested = dict.fromkeys([*ROOT_KEYS, "HKEY_LOCAL_MACHINE/Software", "HKEY_LOCAL_MACHINE/Software/Classes"], "")
    assert rules(harvested, {}) == {"keys_of_the_redirection"}


def test_the_replay_omits_keys_with_subkeys_and_without_values():
    leaf = {"HKEY_CURRENT_USER/A/B/C": value("V", '"x"')}
    assert rules({"HKEY_CURRENT_USER/A": "", "HKEY_CURRENT_USER/A/B": "", **leaf}, leaf) == {"implied_keys"}


def test_keys_of_the_control_set_are_noise_if_none_has_a_value():
    keys = dict.fromkeys(["/SYSTEM", "/SYSTEM/CurrentControlSet", "/SYSTEM/CurrentControlSet/Services/S"], "")
    harvested = {"HKEY_LOCAL_MACHINE" + key: "" for key in keys}
    assert "control_set_noise" in rules(harvested, {})


def test_deleted_keys_are_headers_in_the_replay():
    replayed = {"HKEY_CURRENT_USER/A": "", "HKEY_CURRENT_USER/B": value("V", FILLER)}
    assert rules({}, replayed) == {"deleted_keys"}


@pytest.mark.parametrize("node", ["HKEY_CLASSES_ROOT/Wow6432Node/K", "HKEY_LOCAL_MACHINE/SOFTWARE/WOW6432NODE/K"])
def test_the_replay_has_one_key_for_both_views(node):
    plain = node.replace("/Wow6432Node", "").replace("/WOW6432NODE", "")
    replayed = {plain: value("V", '"plain"') + value("W", FILLER)}
    harvested = {plain: value("V", '"plain"'), node: value("V", '"other"') + value("W", '"only here"')}
    assert rules(harvested, replayed) == {"lost_values"}


@pytest.mark.parametrize("short, root", zip(["HKCR", "HKCU", "HKU", "HKLM"], ROOT_KEYS))
def test_values_on_root_keys_are_under_the_key_that_the_root_was_redirected_to(short, root):
    assert rules({root: value("V", '"x"')}, {STAND_INS + short: value("V", '"x"')}) == set()


@pytest.mark.parametrize(
    "harvested, replayed",
    [
        ({"HKEY_CURRENT_USER/A": value("V", '"x"')}, {"HKEY_CURRENT_USER/A": value("V", '"y"')}),
        ({"HKEY_CURRENT_USER/A": value("V", '"x"')}, {"HKEY_CURRENT_USER/A": ""}),
        ({"HKEY_CURRENT_USER/A": value("V", '"x"')}, {}),
        ({"HKEY_CURRENT_USER/A": ""}, {}),
        ({"HKEY_CURRENT_USER/A": ""}, {"HKEY_CURRENT_USER/A": value("V", '"x"')}),
        ({"HKEY_CURRENT_USER/A": value("V", '"x"')}, {"HKEY_CURRENT_USER/A": value("V", FILLER)}),
        ({"HKEY_CURRENT_USER/A": value("V", "dword:00000001")}, {"HKEY_CURRENT_USER/A": value("V", "hex:01,00,00,00")}),
        ({"HKEY_CURRENT_USER/A": value("V", "hex(b):01")}, {"HKEY_CURRENT_USER/A": value("V", '"x"')}),
        ({"HKEY_LOCAL_MACHINE/Software": value("V", '"x"')}, {}),
        ({CONTROL_SET + "/S": value("V", '"x"'), CONTROL_SET + "/T": ""}, {CONTROL_SET + "/S": value("V", '"x"')}),
        ({"HKEY_LOCAL_MACHINE/SYSTEM/CurrentControlSetting": ""}, {}),
        ({"HKEY_CURRENT_USER/A": value("V", '"x"'), "HKEY_CURRENT_USER/A/B": ""}, {"HKEY_CURRENT_USER/A/B": ""}),
        ({}, {"HKEY_CURRENT_USER/A": value("V", '"x"')}),
        ({}, {"HKEY_CURRENT_USER/A": value("V", '"x"') + value("W", FILLER)}),
        ({"HKEY_CLASSES_ROOT/A": value("V", '"x"')}, {"HKEY_LOCAL_MACHINE/A": value("V", '"x"')}),
    ],
)
def test_any_other_difference_is_unexplained(harvested, replayed):
    assert replayrules.unexplained(document(**harvested), document(**replayed)) != []
