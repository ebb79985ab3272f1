"""regdump, and with it the reader of the room regmodel, finds in each golden file what an independent reader finds."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import regfile  # noqa: E402

REGDUMP = ROOT / "build" / "native" / "tools" / "regdump"
GOLDEN = sorted((ROOT / "tests" / "endtoend" / "golden").glob("*.reg"))


def run(*words):
    assert REGDUMP.exists(), "build it: ninja -C build/native regdump"
    return subprocess.run([REGDUMP, *words], capture_output=True, text=True)


def unescaped(field):
    return re.sub(r"\\u([0-9a-f]{4})", lambda found: chr(int(found[1], 16)), field)


def whole(text):
    """The text with surrogate pairs as characters."""
    return text.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "surrogatepass")


def value_of(word, kind, data, note):
    """The entry as the independent reader represents it."""
    if word == "other text":
        return int(kind), None
    if "a value after the equals sign" in note:
        return None
    return int(kind), bytes.fromhex(data)


def independent(data):
    """A REG_QWORD of a harvest is another value's text, even if it looks like bytes."""
    keys = regfile.parse(data)
    if next(iter(keys), None) == "HKEY_CLASSES_ROOT":
        for values in keys.values():
            values.update({name: (regfile.QWORD, None) for name, value in values.items() if value and value[0] == regfile.QWORD})
    return keys


def parsed(lines):
    keys, values = {}, None
    for line in lines:
        word, name, *fields = line.split("\t")
        if word == "key":
            values = keys.setdefault(whole(unescaped(name)), {})
        else:
            values[whole(unescaped(name))] = value_of(word, *fields)
    return keys


@pytest.mark.parametrize("file", GOLDEN, ids=lambda file: file.name)
def test_both_readers_find_the_same_entries(file):
    result = run(file)
    assert result.returncode == 0, result.stderr
    assert parsed(result.stdout.splitlines()) == independent(file.read_bytes())


@pytest.mark.parametrize("file", GOLDEN, ids=lambda file: file.name)
def test_a_file_that_is_written_again_is_the_same(file, tmp_path):
    result = run("--rewrite", file, tmp_path / "a.reg")
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")
    assert (tmp_path / "a.reg").read_bytes() == file.read_bytes()


def test_every_kind_of_line_is_printed(tmp_path):
    file = tmp_path / "a.reg"
    file.write_bytes(b'REGEDIT4\r\n\r\n[-A]\r\n\r\n[B\\C\r\nD]\r\n@=-\r\n"n"="x\\\\"\r\n"d"=\r\n')
    assert run(file).stdout.splitlines() == [
        "deleted key\tA",
        "key\tB\\u005cC\\u000d\\u000aD",
        "deletion\t\t0\t\t",
        "value\tn\t1\t78005c000000\t",
        "damaged\td\t0\t\ta value after the equals sign",
        "ambiguous\t5\tread as a key whose name has a line break, and not as a key without its bracket",
    ]


def test_what_is_no_part_of_a_registration_is_marked(tmp_path):
    file = tmp_path / "a.reg"
    lines = [
        "Windows Registry Editor Version 5.00",
        "",
        "[HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR]",
        '@="%s"' % ("\u5555" * 10),
        "",
        "[HKEY_LOCAL_MACHINE\\S-1-12-1-1\\Software]",
        "",
    ]
    file.write_bytes("\r\n".join(lines).encode("utf-16"))
    assert [line.split("\t")[::2] for line in run(file).stdout.splitlines()] == [
        ["key", "of the temporary tree"],
        ["filler", "1", ""],
        ["key", "without a root"],
    ]


def test_a_malformed_file_ends_with_its_place(tmp_path):
    file = tmp_path / "a.reg"
    file.write_bytes(b"REGEDIT4\r\n\r\n[A]\r\n@=1\r\n")
    result = run(file)
    assert (result.returncode, result.stdout) == (1, "")
    assert result.stderr == "a.reg:4:3: expected a text in quotes, dword:, hex:, hex(n): or a minus sign\n"


@pytest.mark.parametrize("words, status", [((), 2), (("a", "b"), 2), (("no such file",), 1), (("--rewrite", "a"), 2), (("--rewrite", "no such file", "a"), 1)])
def test_other_arguments_and_missing_files_have_statuses(words, status):
    assert run(*words).returncode == status
