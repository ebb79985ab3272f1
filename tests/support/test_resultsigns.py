"""resultsigns.py finds each sign, and none in an ordinary result."""

import pytest
import resultsigns
import regfile

TREE = "Software\\Velmoro\\Tesselink\\Temporary"


def signs(key, entry='@="x"'):
    return resultsigns.signs((regfile.HEADER + "\r\n[%s]\r\n%s\r\n" % (key, entry)).encode("utf-16-le"))


@pytest.mark.parametrize(
    "key, sign",
    [
        ("HKEY_CURRENT_USER\\" + TREE, "temporary tree"),
        ("HKEY_USERS\\.DEFAULT\\" + TREE.upper() + "\\HKCR\\K", "temporary tree"),
        ("HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software", "no root"),
        ("UNKNOWN!!K", "no root"),
    ],
)
def test_a_key_that_no_server_meant_is_a_sign(key, sign):
    assert signs(key) == ["%s: %s" % (sign, key)]


def test_a_filler_and_a_text_with_the_temporary_tree_are_signs():
    assert signs("K", '"v"="%s"' % ("\u5555" * 10)) == ["filler: K: 'v'"]
    assert signs("K", '"v"="%s\\\\HKLM"' % TREE.replace("\\", "\\\\")) == ["temporary tree: K: 'v'"]


@pytest.mark.parametrize("key", ["HKEY_CURRENT_USER\\" + TREE + " files", "HKEY_USERS\\S-1-12-1-1-2-3-4", "HKEY_CLASSES_ROOT"])
def test_an_ordinary_result_has_no_sign(key):
    assert signs(key) == []
