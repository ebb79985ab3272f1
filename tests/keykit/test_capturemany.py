"""keykit capture: which files of a folder are captured, under which names, what becomes of a server that hangs or fails, what
a second run leaves out, and that nothing is left of a run, however it ends."""

import json
import os
import shutil
import signal
import subprocess
import time
from pathlib import Path

import jsonschema
import pytest
from conftest import KEYKIT, ROOT, image

SAMPLES = ROOT / "build" / "samples"
THERMOMETER = ROOT / "build" / "stage" / "samples" / "x64" / "thermometer.dll"
CHECKER = jsonschema.Draft202012Validator(json.loads((ROOT / "docs" / "capture.schema.json").read_text()))
RECORD = "keykit-capture.json"


class Desk:
    """A folder for servers and one for captures, with prefixes of Wine of its own."""

    def __init__(self, folder):
        self.folder = folder
        self.pool = folder / "pool"
        self.servers = folder / "servers"
        self.out = folder / "out"
        self.servers.mkdir()
        self.variables = {**os.environ, "KEYREAP_POOL": str(self.pool)}

    def add(self, name, file):
        place = self.servers / name
        place.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(file, bytes):
            place.write_bytes(file)
        else:
            shutil.copy(file, place)
        return place

    def command(self, *words):
        return [KEYKIT, "capture", *map(str, words), "--out", self.out, "--json", self.folder / "summary.json"]

    def capture(self, *words, status=0, mode="keyRedir"):
        result = subprocess.run(
            self.command(*words, "--mode", mode), capture_output=True, text=True, env=self.variables, cwd=self.folder, stdin=subprocess.DEVNULL
        )
        assert result.returncode == status, result.stderr
        assert result.stdout == ""
        self.lines = result.stderr.splitlines()
        self.summary = json.loads((self.folder / "summary.json").read_text())
        CHECKER.validate(self.summary)
        self.nothing_is_left()
        return {str(Path(one["capture"]).relative_to(self.out)): one["result"] for one in self.summary["servers"]}

    def alone(self, server, out, mode="keyRedir"):
        """./keyreap for the same file."""
        command = [ROOT / "keyreap", "extreg", server, out, mode]
        return subprocess.run(command, capture_output=True, text=True, env=self.variables, cwd=self.folder, stdin=subprocess.DEVNULL)

    def captures(self):
        return sorted(str(file.relative_to(self.out)) for file in self.out.rglob("*.reg"))

    def processes(self):
        found = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if str(self.pool).encode() in (process / "environ").read_bytes():
                    found.append((process / "cmdline").read_bytes())
            except OSError:
                pass
        return found

    def nothing_is_left(self):
        assert self.processes() == []
        assert [file for prefix in self.pool.iterdir() if prefix.is_dir() for file in prefix.iterdir()] == []
        assert not list(self.out.rglob("*.new"))


@pytest.fixture
def desk(tmp_path):
    return Desk(tmp_path)


# Which files of a folder


def folder_of_files(desk):
    desk.add("server.dll", THERMOMETER)
    desk.add("below/further/server.OCX", SAMPLES / "x86" / "calculator.dll")
    desk.add("library.tlb", SAMPLES / "x64" / "calculator.tlb")
    desk.add("typed.exe", SAMPLES / "x64" / "typelibone.exe")
    desk.add("plain.exe", SAMPLES / "x64" / "empty.exe")
    desk.add("helper.dll", SAMPLES / "x64" / "neighbourlib.dll")
    desk.add("cut.dll", image(64))
    desk.add("text.dll", b"MZ no image")
    desk.add("readme.txt", b"text")
    (desk.servers / "again").symlink_to(desk.servers)
    return ["below/further/server.reg", "library.reg", "server.reg", "typed.reg"]


def test_of_a_folder_the_servers_are_captured_and_no_plain_program(desk):
    servers = folder_of_files(desk)
    assert desk.capture(desk.servers) == dict.fromkeys(servers, "captured")
    assert desk.captures() == servers


def test_a_program_is_captured_if_it_is_named_or_if_programs_are(desk):
    program = desk.add("plain.exe", SAMPLES / "x64" / "empty.exe")
    desk.add("server.dll", THERMOMETER)
    assert set(desk.capture(program)) == {"plain.reg"}
    assert set(desk.capture(desk.servers, "--programs", "--resume")) == {"plain.reg", "server.reg"}


def test_a_file_is_captured_once(desk):
    server = desk.add("server.dll", THERMOMETER)
    (desk.folder / "link").symlink_to(server)
    assert desk.capture(server, desk.servers, desk.folder / "link") == {"server.reg": "captured"}


def test_without_a_server_the_words_are_refused(desk):
    desk.add("readme.txt", b"text")
    for word, reason in ((desk.servers, "there is no server in these folders"), ("--mode", "2 required")):
        result = subprocess.run(desk.command(word), capture_output=True, text=True, env=desk.variables)
        assert result.returncode == 2
        if word == desk.servers:
            assert result.stderr == "keykit: capture: %s\n" % reason
    assert not desk.out.exists()


# The captures


@pytest.mark.parametrize("mode", ["keyRedir", "trace", "both"])
def test_the_captures_are_those_of_keyreap_byte_by_byte(desk, mode):
    names = {"a.dll": "x64/calculator.dll", "b.dll": "x86/everytype.dll", "c.tlb": "x64/second.tlb", "d.exe": "x64/typelibone.exe"}
    for name, sample in names.items():
        desk.add(name, SAMPLES / sample)
    assert set(desk.capture(desk.servers, mode=mode).values()) == {"captured"}
    for name in names:
        expected = desk.folder / (name + ".reg")
        alone = desk.alone(desk.servers / name, expected, mode)
        assert (desk.out / name).with_suffix(".reg").read_bytes() == expected.read_bytes()
        assert alone.returncode == 0


def test_a_plain_capture_of_root_needs_no_script_and_a_failure_does(desk):
    server = desk.add("server.dll", THERMOMETER)
    desk.capture(server)
    assert bool(list(desk.pool.glob("*.lock"))) == (os.geteuid() != 0)
    desk.capture(desk.add("text.dll", b"text"), status=1)
    assert list(desk.pool.glob("*.lock"))


@pytest.mark.parametrize("name, value", [("KEYREAP_SANDBOX", "off"), ("KEYREAP_HOST", "capitals")])
def test_what_a_caller_decides_about_sessions_is_decided_here_too(desk, name, value):
    server = desk.add("server.dll", THERMOMETER)
    desk.variables[name] = value
    assert desk.capture(server) == {"server.reg": "captured"}
    assert list(desk.pool.glob("*.lock"))


def test_a_capture_keeps_its_mode_and_an_older_file_is_replaced(desk):
    server = desk.add("server.dll", THERMOMETER)
    desk.out.mkdir()
    capture = desk.out / "server.reg"
    capture.write_bytes(b"old and longer than nothing")
    capture.chmod(0o640)
    desk.capture(server)
    assert capture.read_bytes().startswith(b"\xff\xfe") and capture.stat().st_mode & 0o777 == 0o640


def test_equal_names_do_not_collide(desk):
    desk.add("x64/server.dll", SAMPLES / "x64" / "calculator.dll")
    desk.add("x86/server.dll", SAMPLES / "x86" / "calculator.dll")
    named = desk.capture(desk.servers / "x64", desk.servers / "x86")
    assert named == {"x64/server.dll.reg": "captured", "x86/server.dll.reg": "captured"}
    assert "\\x64\\server.dll".encode("utf-16-le") in (desk.out / "x64" / "server.dll.reg").read_bytes().replace(b"\\\0\\\0", b"\\\0")
    assert set(desk.capture(desk.servers)) == {"x64/server.reg", "x86/server.reg"}


def test_odd_names_are_captured(desk):
    names = ["a b", "-q", "ä'$x", "keyRedir", "two.dll", "%s", "long" * 40]
    for name in names:
        desk.add(name + ".dll", SAMPLES / "x64" / "plain.dll")
    assert desk.capture(desk.servers) == {name + ".reg": "captured" for name in names}


def test_more_sessions_than_processors_run_at_once(desk):
    for name in "abcd":
        desk.add(name + ".dll", SAMPLES / "x64" / "pausing.dll")
    result = desk.capture(desk.servers, "--jobs", 4, "--timeout", 15, status=1)
    assert set(result.values()) == {"timed out"}
    assert desk.summary["seconds"] < 2 * 15


# Failures


def test_a_failure_has_the_reason_that_keyreap_gives(desk):
    failing = [
        desk.add("lacking.dll", SAMPLES / "x64" / "lacking.dll"),
        desk.add("fault.dll", SAMPLES / "x86" / "faultReadNull.dll"),
        desk.add("text.dll", b"text"),
        desk.folder / "missing.dll",
    ]
    right = desk.add("server.dll", THERMOMETER)
    result = desk.capture(*failing, right, status=1)
    assert result.pop("server.reg") == "captured"
    assert set(result.values()) == {"failed"}
    by_server = {one["server"]: one for one in desk.summary["servers"]}
    for file in failing:
        alone = desk.alone(file, desk.out / (file.stem + ".reg"))
        assert by_server[str(file)]["status"] == alone.returncode
        assert ["keyreap: " + line for line in by_server[str(file)]["sentences"]] == alone.stderr.splitlines()
        assert alone.stderr.replace("keyreap: ", "keykit: ").splitlines()[0] in desk.lines


def test_what_is_strange_in_a_capture_is_said(desk):
    silent = desk.add("silent.dll", SAMPLES / "x64" / "silent.dll")
    assert desk.capture(silent) == {"silent.reg": "captured"}
    assert len(desk.lines) == 1 and "is empty: no value was captured" in desk.lines[0]


@pytest.mark.parametrize("bitness", ["x64", "x86"])
def test_keys_that_wine_mixed_up_are_said(desk, bitness):
    server = desk.add("nodes.dll", SAMPLES / bitness / "viewnodes.dll")
    assert desk.capture(server) == {"nodes.reg": "captured"}
    assert len(desk.lines) == 1 and "Wine took a key below Wow6432Node for this one" in desk.lines[0]


def test_a_server_that_hangs_is_ended_and_the_others_are_captured(desk):
    hanging = desk.add("a.dll", SAMPLES / "x64" / "pausing.dll")
    desk.add("b.dll", THERMOMETER)
    desk.add("c.dll", THERMOMETER)
    result = desk.capture(desk.servers, "--timeout", 15, "--jobs", 1, status=1)
    assert result == {"a.reg": "timed out", "b.reg": "captured", "c.reg": "captured"}
    assert desk.captures() == ["b.reg", "c.reg"]
    assert desk.lines == ["keykit: %s: it didn't end within 15 s (--timeout)" % hanging]


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_an_interrupt_leaves_nothing(desk, number):
    for name in "abc":
        desk.add(name + ".dll", SAMPLES / "x64" / "pausing.dll")
    run = subprocess.Popen(desk.command(desk.servers, "--timeout", 0, "--jobs", 2), stderr=subprocess.PIPE, env=desk.variables)
    deadline = time.monotonic() + 60
    while sum(b"Keyreap.exe" in line for line in desk.processes()) < 2 and time.monotonic() < deadline:
        time.sleep(0.1)
    run.send_signal(number)
    assert run.wait(60) == -number
    assert run.stderr.read() == b""
    desk.nothing_is_left()
    assert not (desk.folder / "summary.json").exists()
    assert desk.captures() == []


# What a second run leaves out


@pytest.fixture
def captured(desk):
    """A server with a library beside it, which it needs through another one, and a server without any."""
    for name in ("neighbour.dll", "neighbourlib.dll", "plain.dll"):
        desk.add(name, SAMPLES / "x64" / name)
    assert set(desk.capture(desk.servers)) == {"neighbour.reg", "plain.reg"}
    assert set(desk.capture(desk.servers, "--resume").values()) == {"unchanged"}
    return desk


def changed(desk, *words, **options):
    return sorted(name for name, result in desk.capture(desk.servers, "--resume", *words, **options).items() if result == "captured")


def test_without_resume_all_is_captured_again(captured):
    assert set(captured.capture(captured.servers).values()) == {"captured"}


def test_a_changed_server_is_captured_again(captured):
    with open(captured.servers / "plain.dll", "ab") as file:
        file.write(b"more")
    assert changed(captured) == ["plain.reg"]


def test_a_new_time_of_a_file_is_no_change(captured):
    os.utime(captured.servers / "plain.dll")
    assert changed(captured) == []


def test_a_server_is_captured_again_if_a_library_beside_it_changed(captured):
    with open(captured.servers / "neighbourlib.dll", "ab") as file:
        file.write(b"more")
    assert changed(captured) == ["neighbour.reg"]


def test_other_words_capture_again(captured):
    assert changed(captured, mode="both") == ["neighbour.reg", "plain.reg"]


@pytest.mark.parametrize("change", [Path.unlink, lambda file: file.write_bytes(file.read_bytes()[:-2])], ids=["removed", "cut"])
def test_a_capture_that_is_not_there_as_it_was_made_is_made_again(captured, change):
    change(captured.out / "plain.reg")
    assert changed(captured) == ["plain.reg"]


def test_another_version_captures_again(captured):
    record = captured.out / RECORD
    record.write_text(record.read_text().replace('"version": "', '"version": "x'))
    assert changed(captured) == ["neighbour.reg", "plain.reg"]


def test_what_failed_is_captured_again(desk):
    server = desk.add("server.dll", b"text")
    desk.capture(server, status=1)
    shutil.copy(THERMOMETER, server)
    assert desk.capture(server, "--resume") == {"server.reg": "captured"}
    server.write_bytes(b"text")
    desk.capture(server, status=1)
    shutil.copy(THERMOMETER, server)
    assert desk.capture(server, "--resume") == {"server.reg": "captured"}


def test_a_damaged_record_counts_for_nothing(captured):
    (captured.out / RECORD).write_text("{")
    assert changed(captured) == ["neighbour.reg", "plain.reg"]
