"""keykit emit --noise: what becomes of entries that a check has found to be a system library's. A check file is made here as
its schema says; the unit tests compare the text that keykit writes."""

import hashlib
import json
import re

import jsonschema
import pytest
import readers
from conftest import KINDS, ROOT
from readers import SZ, text_data

OWN = "HKEY_CLASSES_ROOT\\KeyreapRoad"
NOISY = "HKEY_CURRENT_USER\\Software\\Noisy"
SHARED = "HKEY_LOCAL_MACHINE\\Software\\Shared"
LINES = ["[%s]" % OWN, r'@="Z:\\build\\bin\\server.dll"', "[%s]" % NOISY, '"a"="1"', "[%s]" % SHARED, '@="2"', '"own"="3"']
NOISE = [(NOISY, None), (NOISY, "a"), (SHARED, None), (SHARED, "")]
FILES = {"server.dll": "server.dll"}
ADVICE = (
    "keykit: %s of libraries of the system and not of the server: --noise drop leaves out what they wrote, --noise keep carries it"
)
SCHEMA = json.loads((ROOT / "docs" / "check.schema.json").read_text())
CHECKER = jsonschema.Draft202012Validator(SCHEMA)


def entry_of(key, value):
    return {"key": key} if value is None else {"key": key, "value": value}


def checked(capture, noise=NOISE, parts=("whole", "noise"), **members):
    """The capture, with a check file beside it."""
    check = {
        "format": 1,
        "capture": capture.name,
        "server": "server.dll",
        "digest": hashlib.sha1(capture.read_bytes()).hexdigest(),
        "parts": list(parts),
        "findings": [],
        "noise": [entry_of(*entry) for entry in noise],
    }
    assert list(CHECKER.iter_errors(check)) == []
    capture.with_suffix(".check.json").write_text(json.dumps(dict(check, **members)))
    return capture


def named(key, value):
    return key + ("" if value is None else ', value "%s"' % value if value else ", default value")


def lines_of(capture, reason, noise):
    return ["keykit: %s: %s: %s" % (capture, named(*entry), reason) for entry in noise]


def said(result):
    return result.stderr.decode().splitlines()


def carried(kind, result):
    """The keys that the installer writes, by the last part of their names."""
    return {key.rpartition("\\")[2]: values for key, values in readers.read(kind, result.stdout, FILES).items()}


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("words", [[], ["--noise", "fail"]], ids=["unsaid", "fail"])
def test_noise_is_named_and_nothing_is_written(desk, kind, words):
    capture = checked(desk.capture(*LINES))
    result = desk.emit(kind, capture, *words, "-o", desk.folder / "out")
    assert (result.returncode, result.stdout, (desk.folder / "out").exists()) == (2, b"", False)
    assert said(result) == [ADVICE % "4 entries are", *lines_of(capture, "was written by a library of the system", NOISE)]


@pytest.mark.parametrize("kind", KINDS)
def test_noise_is_left_out_and_named(desk, kind):
    capture = checked(desk.capture(*LINES))
    result = desk.emit(kind, capture, "--noise", "drop")
    dropped = [entry for entry in NOISE if entry != (SHARED, None)]
    assert said(result) == lines_of(capture, "is left out, since a library of the system wrote it", dropped)
    assert result.returncode == 0
    keys = carried(kind, result)
    assert "Noisy" not in keys
    assert keys["Shared"] == {"own": (SZ, text_data("3"))}
    assert keys["KeyreapRoad"][""]


@pytest.mark.parametrize("kind", KINDS)
def test_noise_is_carried_if_it_is_to_be_kept(desk, kind):
    capture = desk.capture(*LINES)
    plain = desk.emit(kind, capture)
    kept = desk.emit(kind, checked(capture), "--noise", "keep")
    assert (kept.returncode, kept.stdout, kept.stderr) == (plain.returncode, plain.stdout, plain.stderr)
    assert carried(kind, kept)["Noisy"] == {"a": (SZ, text_data("1"))}


def test_a_dropped_object_is_none_of_the_json(desk):
    clsid = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}"
    capture = checked(desk.capture(*LINES, "[%s]" % clsid, '@="x"'), [(clsid, None), (clsid, "")])
    assert json.loads(desk.emit("json", capture, "--noise", "drop").stdout)["objects"] == []
    assert json.loads(desk.emit("json", capture, "--noise", "keep").stdout)["objects"] != []


def test_native_elements_have_no_noise(desk):
    clsid = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}"
    server = ["[%s\\InprocServer32]" % clsid, r'@="Z:\\build\\bin\\server.dll"', '"ThreadingModel"="Both"']
    capture = desk.capture("[%s]" % clsid, '@="x"', *server, "[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8878}]", '@="y"')
    other = clsid.replace("8877", "8878")
    result = desk.emit("wix", checked(capture, [(other, None), (other, "")]), "--noise", "drop", "--native")
    assert result.returncode == 0, result.stderr
    assert b"8877" in result.stdout and b"8878" not in result.stdout


@pytest.mark.parametrize("words", [[], ["--noise", "fail"], ["--noise", "keep"], ["--noise", "drop"]], ids=" ".join)
def test_a_check_that_found_none_changes_nothing(desk, words):
    capture = desk.capture(*LINES)
    plain = desk.emit("reg", capture)
    result = desk.emit("reg", checked(capture, []), *words)
    assert (result.returncode, result.stdout, result.stderr) == (plain.returncode, plain.stdout, plain.stderr)


def unchecked(desk):
    return desk.capture(*LINES)


def checked_for_others(desk):
    return checked(desk.capture(*LINES), [], ["whole", "result", "fillers"])


@pytest.mark.parametrize("make", [unchecked, checked_for_others])
def test_what_nobody_has_checked_is_carried_unless_a_word_is_said(desk, make):
    capture = make(desk)
    for words in ([], ["--noise", "fail"]):
        result = desk.emit("reg", capture, *words)
        assert result.returncode == 0 and carried("reg", result)["Noisy"]
    for word in ("keep", "drop"):
        result = desk.emit("reg", capture, "--noise", word)
        assert (result.returncode, result.stdout) == (2, b"")
        assert said(result) == ["keykit: %s: --noise: no check says what is noise in it; 'keykit check SERVER CAPTURE' makes one" % capture]


def test_each_capture_has_a_check_of_its_own(desk):
    first = checked(desk.capture(*LINES, name="a.reg"), NOISE[:1])
    second = checked(desk.capture("[%s]" % NOISY, '"b"="1"', name="b.reg"), [(NOISY, "b")])
    result = desk.emit("reg", first, second)
    reason = "was written by a library of the system"
    assert said(result) == [ADVICE % "2 entries are", *lines_of(first, reason, NOISE[:1]), *lines_of(second, reason, [(NOISY, "b")])]
    result = desk.emit("reg", first, second, "--noise", "drop")
    assert carried("reg", result)["Noisy"] == {"a": (SZ, text_data("1"))}
    second.with_suffix(".check.json").unlink()
    assert said(desk.emit("reg", first, second)) == [ADVICE % "1 entry is", *lines_of(first, reason, NOISE[:1])]
    assert desk.emit("reg", first, second, "--noise", "drop").returncode == 2


def test_a_check_of_another_capture_is_refused(desk):
    capture = checked(desk.capture(*LINES))
    desk.capture(*LINES, '"new"="4"')
    for words in ([], *(["--noise", word] for word in ("keep", "drop", "fail"))):
        result = desk.emit("reg", capture, *words)
        assert (result.returncode, result.stdout) == (2, b"")
        assert said(result) == ["keykit: %s/server.check.json: it is of another capture; check the capture again" % desk.folder]


DAMAGED = {"no JSON": "{", "empty": "", "of another format": '{"format": 2}', "a list": "[]", "deep": "[" * 100000}


@pytest.mark.parametrize("text", DAMAGED.values(), ids=DAMAGED.keys())
def test_a_damaged_check_is_refused(desk, text):
    capture = desk.capture(*LINES)
    capture.with_suffix(".check.json").write_text(text)
    result = desk.emit("reg", capture)
    assert (result.returncode, result.stdout) == (2, b"")
    assert re.fullmatch(r"keykit: .*/server\.check\.json: it .*; check the capture again\n", result.stderr.decode())


def test_a_check_file_that_cannot_be_read_is_refused(desk):
    capture = desk.capture(*LINES)
    capture.with_suffix(".check.json").mkdir()
    result = desk.emit("reg", capture)
    assert (result.returncode, said(result)) == (2, ["keykit: %s/server.check.json: the check file can't be read" % desk.folder])


def test_noise_that_is_not_in_the_capture_is_refused(desk):
    stray = [(NOISY, "none")]
    capture = checked(desk.capture(*LINES), stray)
    result = desk.emit("reg", capture, "--noise", "drop")
    assert (result.returncode, result.stdout) == (2, b"")
    assert said(result) == [
        *lines_of(capture, "is noise by the check file, and isn't in the capture", stray),
        "keykit: %s: --noise: its noise can't be left out" % capture,
    ]


def test_another_word_is_refused(desk):
    assert desk.emit("reg", checked(desk.capture(*LINES)), "--noise", "lose").returncode == 2


def test_what_keykit_writes_of_a_check_is_as_its_schema_says():
    source = (ROOT / "tests" / "unit" / "kit" / "checkfile_test.cpp").read_text()
    check = json.loads(re.search(r'R"json\((.*?)\)json"', source, re.S)[1])
    assert list(CHECKER.iter_errors(check)) == []
    assert check["noise"] and check["findings"] and check["created"]
    for broken in ({"format": 2}, {"parts": ["all"]}, {"noise": [{"value": ""}]}, {"findings": [{"rule": "K101", "sentence": "x"}]}):
        assert len(list(CHECKER.iter_errors(dict(check, **broken)))) == 1, broken
