"""The readers of .reg files and of hives, which other tests rely on."""

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))

import hive  # noqa: E402
import regfile  # noqa: E402


def document(body):
    return (regfile.HEADER + body).encode("utf-16-le", "surrogatepass")


def text_value(text):
    return regfile.SZ, (text + "\0").encode("utf-16-le", "surrogatepass")


def values_in(body):
    return regfile.parse(document("\r\n[K]\r\n" + body))["K"]


def test_keys_are_in_brackets_after_an_empty_line():
    assert regfile.parse(document("\r\n[A]\r\n\r\n[A\\[B]]\r\n")) == {"A": {}, "A\\[B]": {}}


def test_texts_and_names_are_unescaped():
    assert values_in('@="C:\\\\a"\r\n"a\\"b"="\\"x\\""\r\n') == {"": text_value("C:\\a"), 'a"b': text_value('"x"')}


def test_a_text_may_contain_line_breaks():
    assert values_in('"a"="one\r\ntwo"\r\n') == {"a": text_value("one\r\ntwo")}


def test_numbers_and_hexadecimal_pairs_become_bytes():
    body = '"a"=dword:0000abcd\r\n"b"=hex:\r\n"c"=hex:01,\\\r\n  02\r\n"d"=hex(2):61,00,00,00\r\n'
    assert values_in(body) == {"a": (4, b"\xcd\xab\0\0"), "b": (3, b""), "c": (3, b"\1\2"), "d": (2, b"a\0\0\0")}


def test_a_lone_backslash_or_quote_is_part_of_its_text():
    body = '"\\"="\\foo"\r\n""x"="""\r\n'
    assert values_in(body) == {"\\": text_value("\\foo"), '"x': text_value('"')}


def test_an_entry_with_nothing_after_its_name_has_no_data():
    assert values_in('"a"=\r\n') == {"a": None}


def test_a_text_of_length_0_is_its_terminator():
    assert values_in('@=hex(2):,00,00\r\n"a"=hex(7):,00,00\r\n') == {"": (2, b"\0\0"), "a": (7, b"\0\0")}


def test_a_64_bit_number_may_contain_another_values_text():
    body = '"a"="C:\\\\x"\r\n"b"=hex(b):C:,\\x\r\n"c"=dword:00000001\r\n\r\n[L]\r\n'
    assert values_in(body) == {"a": text_value("C:\\x"), "b": (regfile.QWORD, None), "c": (4, b"\1\0\0\0")}


@pytest.mark.parametrize("body", ['@="a"\r\n', "\r\n[K]\r\nword\r\n", "\r\n[K]"])
def test_an_invalid_entry_is_an_error(body):
    with pytest.raises(regfile.NotRead):
        regfile.parse(document(body))


def test_a_file_without_the_header_is_an_error():
    with pytest.raises(regfile.NotRead):
        regfile.parse("\ufeffREGEDIT4\r\n".encode("utf-16-le"))


HIVE = r"""WINE REGISTRY Version 2
;; All keys relative to REGISTRY\\Machine

#arch=win64

[A\\B] 1795221407
#time=1dd7950641d58fa
@="text"
"a\"\\"="\x20ac1\r\n\0\7"
"b"=dword:0000000a
"c"=hex:01,\
  02
"d"=str(7):"one\0two\0"
"e"=str(2):"%x%"
"f"=hex(b):01,00,00,00,00,00,00,00

[A\\\[C\]] 1795221407
#link
"""


def units(text):
    return text.encode("utf-16-le")


@pytest.fixture
def keys(tmp_path):
    (tmp_path / "hive").write_text(HIVE)
    return hive.parse(tmp_path / "hive", "ROOT")


def test_keys_of_a_hive_are_below_its_root_with_all_their_parents(keys):
    assert list(keys) == ["ROOT", "ROOT\\A", "ROOT\\A\\B", "ROOT\\A\\[C]"]


def test_values_of_a_hive_are_types_and_bytes(keys):
    assert keys["ROOT\\A\\B"] == {
        "": (1, units("text\0")),
        'a"\\': (1, units("\u20ac1\r\n\0\7\0")),
        "b": (4, b"\x0a\0\0\0"),
        "c": (3, b"\1\2"),
        "d": (7, units("one\0two\0\0")),
        "e": (2, units("%x%\0")),
        "f": (11, b"\1" + bytes(7)),
    }


def test_the_real_path_of_a_key_is_without_links(tmp_path):
    target = units("\\Registry\\Machine\\System\\Set 1").hex(",")
    (tmp_path / "hive").write_text('[System\\\\Set] 1\n#link\n"SymbolicLinkValue"=hex(6):%s\n\n[System\\\\Set 1\\\\Key] 1\n' % target)
    keys = hive.parse(tmp_path / "hive", "HKEY_LOCAL_MACHINE")
    for path in ("System\\Set\\Key", "System\\Set 1\\Key"):
        assert hive.real_path(keys, "HKEY_LOCAL_MACHINE\\" + path) == "HKEY_LOCAL_MACHINE\\System\\Set 1\\Key"
