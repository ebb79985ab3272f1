"""What KeyKitLive answers in a session of Wine: steps, captures, calls, type libraries and dependencies."""

import struct
import subprocess
import time

import pytest
from conftest import KEYKIT, ROOT
from liveservers import (
    ARCHITECTURES,
    CRASHING,
    DIFFERENCE,
    ENDLESS,
    FAILING,
    LEAVING,
    LINKING,
    LOADING,
    NAMING,
    PRINTING,
    SNAPSHOT,
    ask,
    asked,
    call,
    data,
    linked,
    run,
    taken,
    text,
    windows,
)

BITNESSES = pytest.mark.parametrize("bitness", [64, 32])
NOTHING = "HRESULT WINAPI DllRegisterServer(void) { return S_OK; }\n"


@pytest.fixture(scope="session", autouse=True)
def live():
    """What is out of date is built here, so that no test prints the progress of it."""
    subprocess.run([KEYKIT, "--help", "--prove"], check=True, capture_output=True)


def key(name, *values, created=False, removed=False):
    return {"key": name, "created": created, "removed": removed, "values": list(values)}


# Steps.


@BITNESSES
def test_nothing_changes_between_a_snapshot_and_the_first_difference(tmp_path, bitness):
    missing = run("regsvr32", "/s", "C:\\missing.dll")
    for options in ([], ["--classes"]):
        assert taken(tmp_path, bitness, SNAPSHOT, missing, DIFFERENCE, options=options)[2] == []


@BITNESSES
def test_created_keys_and_new_and_changed_and_removed_values_are_differences(tmp_path, bitness):
    answers = taken(
        tmp_path,
        bitness,
        run("reg", "add", "HKCU\\Software\\Old", "/v", "kept", "/d", "1"),
        run("reg", "add", "HKCU\\Software\\Old", "/v", "changed", "/d", "1"),
        run("reg", "add", "HKCU\\Software\\Old", "/v", "removed", "/d", "1"),
        SNAPSHOT,
        run("reg", "add", "HKCU\\Software\\Old", "/f", "/v", "kept", "/d", "1"),
        run("reg", "add", "HKCU\\Software\\Old", "/f", "/v", "changed", "/t", "REG_BINARY", "/d", "00ff"),
        run("reg", "delete", "HKCU\\Software\\Old", "/f", "/v", "removed"),
        run("reg", "add", "HKCU\\Software\\New\\Inner", "/ve", "/d", "2"),
        DIFFERENCE,
        DIFFERENCE,
    )
    assert [answers[step] for step in (4, 5, 6, 7)] == [[{"status": 0}]] * 4
    assert answers[8] == answers[9]
    assert answers[8] == [
        key("HKEY_CURRENT_USER\\Software\\New", created=True),
        key("HKEY_CURRENT_USER\\Software\\New\\Inner", {"name": "", **text("2")}, created=True),
        key(
            "HKEY_CURRENT_USER\\Software\\Old",
            {"name": "changed", **data(3, b"\0\xff"), "before": text("1")},
            {"name": "removed", "before": text("1")},
        ),
    ]


def test_a_removed_key_is_a_difference_with_all_below_it(tmp_path):
    answers = taken(
        tmp_path,
        64,
        run("reg", "add", "HKLM\\Software\\Old\\Inner", "/v", "a", "/d", "1"),
        SNAPSHOT,
        run("reg", "delete", "HKLM\\Software\\Old", "/f"),
        DIFFERENCE,
        SNAPSHOT,
        DIFFERENCE,
    )
    assert answers[3] == [
        key("HKEY_LOCAL_MACHINE\\Software\\Old", removed=True),
        key("HKEY_LOCAL_MACHINE\\Software\\Old\\Inner", {"name": "a", "before": text("1")}, removed=True),
    ]
    assert answers[5] == [], "the second snapshot replaces the first one"


@BITNESSES
def test_keys_have_their_physical_names_and_a_process_reads_those_of_its_bitness(tmp_path, bitness):
    names = ["HKEY_LOCAL_MACHINE\\Software\\Own", "HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Own", "HKEY_CLASSES_ROOT\\.own", "HKEY_NONE\\x"]
    answers = taken(
        tmp_path,
        bitness,
        SNAPSHOT,
        run("reg", "add", "HKLM\\Software\\Own", "/ve", "/d", "own"),
        run("reg", "add", "HKCR\\.own", "/ve", "/d", "class"),
        DIFFERENCE,
        {"step": "read", "keys": names},
    )
    node = {64: "", 32: "Wow6432Node\\"}[bitness]
    assert [answer["key"] for answer in answers[3]] == [
        "HKEY_LOCAL_MACHINE\\Software\\Classes\\.own",
        "HKEY_LOCAL_MACHINE\\Software\\%sOwn" % node,
    ]
    own, known = {"name": "", **text("own")}, {"name": "", **text("class")}
    assert answers[4] == [
        {"key": names[0], "isThere": True, "values": [own]},
        {"key": names[1], "isThere": bitness == 32, "values": [own] * (bitness == 32)},
        {"key": names[2], "isThere": True, "values": [known]},
        {"key": names[3], "isThere": False, "values": []},
    ]


@BITNESSES
def test_odd_names_and_types_are_answered(tmp_path, bitness):
    server = linked(tmp_path, bitness, "server.dll", NAMING)
    answers = taken(tmp_path, bitness, SNAPSHOT, call(server), DIFFERENCE)
    values = [{"name": "", **data(0, b"")}, {"name": '\ufffdDC00 \U0001f600"\\', **data(0x1234, b"\0\xff")}]
    assert answers[1:] == [
        [{"result": 0}, {"status": 0}],
        [key("HKEY_CURRENT_USER\\Software\\Odd/name \ufffdD800", *values, created=True)],
    ]


def test_a_link_is_answered_and_not_followed(tmp_path):
    server = linked(tmp_path, 64, "server.dll", LINKING)
    answers = taken(tmp_path, 64, SNAPSHOT, call(server), DIFFERENCE)
    target = "\\Registry\\Machine\\Software\\Microsoft".encode("utf-16-le")
    assert answers[2] == [key("HKEY_LOCAL_MACHINE\\Software\\Link", {"name": "SymbolicLinkValue", **data(6, target)}, created=True)]


@BITNESSES
def test_a_program_has_its_status_and_prints_nothing_into_the_answers(tmp_path, bitness):
    printing = linked(tmp_path, bitness, "printing.dll", PRINTING)
    answers = taken(
        tmp_path,
        bitness,
        run("cmd", "/c", "echo {} & exit 7"),
        run("regsvr32", "/s", windows(printing)),
        {"step": "run", "program": "C:\\none.exe", "line": "none"},
        {"step": "dance"},
        DIFFERENCE,
    )
    assert answers == [
        [{"status": 7}],
        [{"status": 0}],
        [{"error": 2}],
        [{"failure": "there is no such step"}],
        [{"failure": "there is no snapshot"}],
    ]


@BITNESSES
def test_a_crash_in_a_question_ends_only_that(tmp_path, bitness):
    crashing = linked(tmp_path, bitness, "crashing.dll", CRASHING)
    endless = linked(tmp_path, bitness, "endless.dll", ENDLESS)
    answers = taken(tmp_path, bitness, call(crashing), call(endless), call(crashing, "DllMain"))
    assert answers == [[{"status": 0xC0000005}], [{"status": 0xC00000FD}], [{"error": 127}, {"status": 0}]]


@BITNESSES
def test_what_a_server_prints_is_no_answer(tmp_path, bitness):
    server = linked(tmp_path, bitness, "server.dll", PRINTING)
    assert taken(tmp_path, bitness, call(server)) == [[{"result": 1}, {"status": 0}]]
    assert asked(tmp_path, bitness, call(server)["request"]) == [{"result": 1}]


@BITNESSES
def test_a_process_that_a_server_leaves_is_not_waited_for(tmp_path, bitness):
    server = linked(tmp_path, bitness, "server.dll", LEAVING)
    begun = time.monotonic()
    output = windows(tmp_path / "a.reg")
    capture = ask("capture", server=windows(server), mode="keyRedir", outputs=[output])
    answers = taken(tmp_path, bitness, call(server), run("regsvr32", "/s", windows(server)), capture)
    assert answers[:2] == [[{"result": 0}, {"status": 0}], [{"status": 0}]]
    assert [answer.get("result", answer.get("status")) for answer in answers[2]] == [0, 0]
    assert time.monotonic() - begun < 60


def test_a_question_that_isnt_known_is_refused_with_a_status(tmp_path):
    assert taken(tmp_path, 64, ask("dance")) == [[{"status": 2}]]


DOCUMENT = "{F5078F32-C551-11D3-89B9-0000F81FE221}"


@BITNESSES
def test_a_class_is_created_once_a_step_has_registered_it(tmp_path, bitness):
    create = ask("create", classes=[{"clsid": DOCUMENT, "threadingModel": "Both"}])
    answers = taken(tmp_path, bitness, create, run("regsvr32", "/s", "msxml3.dll"), create)
    assert answers[0] == [{"clsid": DOCUMENT, "result": 0x80040154, "isRegistered": False}, {"status": 0}]
    assert answers[2] == [{"clsid": DOCUMENT, "result": 0, "isRegistered": True}, {"status": 0}]


# Captures.


@BITNESSES
def test_each_capture_is_written_and_answered(tmp_path, bitness):
    server = ROOT / "build" / "samples" / ARCHITECTURES[bitness] / "failing.dll"
    outputs = [tmp_path / "a.reg", tmp_path / "b.reg"]
    answers = asked(tmp_path, bitness, {"question": "capture", "server": windows(server), "mode": "keyRedir", "outputs": list(map(windows, outputs))}, "--classes")
    assert [(answer["capture"], answer["succeeded"], answer["result"]) for answer in answers] == [(0, True, 0x80004005), (1, True, 0x80004005)]
    documents = [file.read_bytes().decode("utf-16") for file in outputs]
    assert documents[0] == documents[1]
    assert '[HKEY_CLASSES_ROOT\\Keyreap.Failing]\r\n@="written before failing"' in documents[0]


@BITNESSES
@pytest.mark.parametrize("mode", ["keyRedir", "trace", "both"])
def test_a_capture_is_that_of_the_command_in_every_mode(tmp_path, bitness, mode):
    server = ROOT / "build" / "samples" / ARCHITECTURES[bitness] / "calculator.dll"
    outputs, expected = [tmp_path / "a.reg", tmp_path / "b.reg"], tmp_path / "expected.reg"
    subprocess.run([ROOT / "keyreap", "extreg", server, expected, mode], check=True, capture_output=True)
    request = {"question": "capture", "server": windows(server), "mode": mode, "outputs": list(map(windows, outputs))}
    answers = asked(tmp_path, bitness, request, "--classes", *["--requests"] * (mode != "keyRedir"))
    assert [answer["succeeded"] for answer in answers] == [True, True]
    assert [file.read_bytes() for file in outputs] == [expected.read_bytes()] * 2


@BITNESSES
def test_a_module_that_is_loaded_during_a_capture_is_named_unless_it_was_there(tmp_path, bitness):
    server = linked(tmp_path, bitness, "server.dll", LOADING)
    request = {"question": "capture", "server": windows(server), "mode": "keyRedir", "outputs": [windows(tmp_path / "a.reg")]}
    loaded = asked(tmp_path, bitness, request, "--classes")[0]["loaded"]
    assert [path.lower() for path in loaded if "cabinet" in path.lower()] in (["c:\\windows\\system32\\cabinet.dll"], ["c:\\windows\\syswow64\\cabinet.dll"])
    assert not [path for path in loaded if "server.dll" in path]
    again = asked(tmp_path, bitness, {**request, "preload": loaded}, "--classes")[0]["loaded"]
    assert again == []


def test_a_file_that_cant_be_captured_has_no_result(tmp_path):
    request = {"question": "capture", "server": windows(tmp_path / "none.dll"), "mode": "keyRedir", "outputs": [windows(tmp_path / "a.reg")]}
    assert asked(tmp_path, 64, request) == [{"capture": 0, "succeeded": False, "result": None, "loaded": []}]
    assert not (tmp_path / "a.reg").exists()


@BITNESSES
def test_a_crash_ends_the_captures_silently(tmp_path, bitness):
    server = linked(tmp_path, bitness, "server.dll", CRASHING)
    capture = ask("capture", server=windows(server), mode="keyRedir", outputs=[windows(tmp_path / "a.reg")])
    assert taken(tmp_path, bitness, capture) == [[{"status": 0xC0000005}]]


# Calls and type libraries.


@BITNESSES
def test_a_call_answers_with_its_result_or_with_the_error(tmp_path, bitness):
    server = linked(tmp_path, bitness, "server.dll", FAILING)
    other = linked(tmp_path, 96 - bitness, "other.dll", FAILING)
    answers = taken(tmp_path, bitness, call(server), call(server, "None"), call(tmp_path / "none.dll"), call(other))
    assert answers == [[{"result": 0x80070005}, {"status": 0}], *([{"error": error}, {"status": 0}] for error in (127, 126, 193))]


@BITNESSES
def test_a_type_library_is_registered_and_its_registration_removed(tmp_path, bitness):
    file = ROOT / "build" / "samples" / ARCHITECTURES[bitness] / "calculator.tlb"
    registers, removes = (ask("library", file=windows(file), registers=word) for word in (True, False))
    answers = taken(tmp_path, bitness, SNAPSHOT, registers, DIFFERENCE, removes, DIFFERENCE, removes, ask("library", file="C:\\none.tlb"))
    assert answers[1] == answers[3] == [{"result": 0}, {"status": 0}]
    assert any(one["key"].endswith("\\1.0\\0\\win%d" % bitness) for one in answers[2])
    assert not [one for one in answers[4] if "{" in one["key"]]
    assert answers[5][0]["result"] >= 0x80000000 and answers[6][0]["result"] == 0x80029C4A


# Dependencies.

# The linker makes no table of delayed imports, so that of one DLL is in a section of its own.
DEPENDENT = """int wanted(void);
HRESULT WINAPI DllRegisterServer(void) { return wanted(); }
asm(".section .didat,\\"dr\\"\\n.long 1\\n.rva name\\n.space 56\\nname: .asciz \\"delayed.dll\\"\\n.text");
"""
HEADERS, DIRECTORIES = 0x3C, {64: 24 + 112, 32: 24 + 96}


def depended(folder, bitness):
    """A server that needs wanted.dll, and delayed.dll when it calls that."""
    for name in ("wanted", "delayed"):
        linked(folder, bitness, name + ".dll", "int %s(void) { return 1; }\n" % name, "-Wl,--out-implib,lib%s.a" % name, exports=[name])
    server = linked(folder, bitness, "server.dll", DEPENDENT, "-L.", "-lwanted")
    image = bytearray(server.read_bytes())
    headers = struct.unpack_from("<I", image, HEADERS)[0]
    address = struct.unpack_from("<I", image, image.index(b".didat\0\0") + 12)[0]
    struct.pack_into("<II", image, headers + DIRECTORIES[bitness] + 8 * 13, address, 64)
    server.write_bytes(image)
    return server


@BITNESSES
def test_dependencies_are_named_with_their_files_and_importers(tmp_path, bitness):
    server = depended(tmp_path, bitness)
    answers = {answer["name"]: answer for answer in asked(tmp_path, bitness, {"question": "dependencies", "server": windows(server)}, "--classes")}
    for name in ("wanted.dll", "delayed.dll"):
        assert answers[name] == {"name": name, "path": windows(tmp_path / name), "bitness": bitness, "isDelayed": name == "delayed.dll", "importer": "server.dll"}
    assert answers["KERNEL32.dll"]["bitness"] == bitness
    assert answers["KERNEL32.dll"]["path"].lower().startswith("c:\\windows\\")


@BITNESSES
def test_missing_dependencies_and_those_of_another_bitness_are_named(tmp_path, bitness):
    server = depended(tmp_path, bitness)
    (tmp_path / "delayed.dll").unlink()
    linked(tmp_path, 96 - bitness, "wanted.dll", NOTHING)
    answers = {answer["name"]: answer for answer in asked(tmp_path, bitness, {"question": "dependencies", "server": windows(server)}, "--classes")}
    assert (answers["delayed.dll"]["path"], answers["delayed.dll"]["bitness"]) == ("", 0)
    assert answers["wanted.dll"]["bitness"] == 96 - bitness


def test_dependencies_need_the_systems_classes(tmp_path):
    server = linked(tmp_path, 64, "server.dll", NOTHING)
    assert asked(tmp_path, 64, {"question": "dependencies", "server": windows(server)}) == [{"failure": "CollectDependencies", "error": 3}]


# Another user, and another computer.


def seen(folder, *options):
    """What programs of a session see of its user and computer."""
    names = ["HKEY_CURRENT_USER\\Volatile Environment", "HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"]
    set_step = {"step": "run", "program": "C:\\windows\\system32\\cmd.exe", "line": "cmd /c set > %s & dir /b C:\\users > %s" % tuple(map(windows, (folder / "set", folder / "users")))}
    answers = taken(folder, 64, SNAPSHOT, set_step, {"step": "read", "keys": names}, options=options)
    variables = dict(line.split("=", 1) for line in (folder / "set").read_text().splitlines())
    hives = " ".join(bytes.fromhex(value["data"]).decode("utf-16-le") for answer in answers[2] for value in answer["values"])
    return variables, (folder / "users").read_text().split(), hives


@pytest.mark.parametrize("isolation", ["mounts", "copies"])
def test_another_user_has_another_profile_and_only_in_that_session(tmp_path, monkeypatch, isolation):
    monkeypatch.setenv("KEYREAP_ISOLATION", isolation)
    monkeypatch.setenv("KEYREAP_POOL", str(tmp_path / "pool"))
    variables, users, hives = seen(tmp_path, "--user", "Ann.B")
    assert (variables["USERNAME"], variables["USERPROFILE"]) == ("Ann.B", "C:\\users\\Ann.B")
    assert variables["TEMP"].startswith("C:\\users\\Ann.B\\") and variables["APPDATA"].startswith("C:\\users\\Ann.B\\")
    assert sorted(users) == ["Ann.B", "Public"] and "keyreap" not in hives and "Ann.B\\Desktop" in hives
    variables, users, _ = seen(tmp_path)
    assert (variables["USERNAME"], sorted(users)) == ("keyreap", ["Public", "keyreap"])


def test_another_computer_has_another_name_and_only_in_that_session(tmp_path):
    assert seen(tmp_path, "--computer", "other-2")[0]["COMPUTERNAME"] == "OTHER-2"
    assert seen(tmp_path)[0]["COMPUTERNAME"] != "OTHER-2"


@pytest.mark.parametrize("option, name", [("--user", "a/b"), ("--user", ""), ("--user", "a&b"), ("--computer", "a_b"), ("--computer", "a" * 16)])
def test_names_that_dont_fit_are_refused(tmp_path, option, name):
    result = subprocess.run([ROOT / "scripts" / "live.sh", "x64", tmp_path / "none", option, name], capture_output=True)
    assert (result.returncode, result.stdout) == (125, b"") or (name == "" and result.returncode != 0)


def test_a_system_that_refuses_another_computers_name_is_named(tmp_path):
    (tmp_path / "unshare").write_text("#!/bin/sh\nexit 1\n")
    (tmp_path / "unshare").chmod(0o755)
    words = [ROOT / "scripts" / "live.sh", "x64", tmp_path / "none", "--computer", "other"]
    result = subprocess.run(words, capture_output=True, env={"PATH": "%s:/usr/bin:/bin" % tmp_path})
    assert result.returncode == 125 and b"--computer" in result.stderr
