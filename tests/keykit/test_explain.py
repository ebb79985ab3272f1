"""keykit explain: each thing that can become of what a server does is found in a capture of a server that does it, with the
line that names the cause. A rule of the program that is switched changes the capture and the reasons alike."""

import os
import re
import shlex
import subprocess

import pytest
from conftest import KEYKIT, ROOT, keykit


SAMPLES = ROOT / "build" / "samples"
KEY = "HKEY_CLASSES_ROOT\\Keyreap.Verdicts"
OWN = r"KeyKitExplain\.exe \(\d+\)"


# Every capture of these tests: a host, a sample with the folder of its bitness, the mode and the options. All of a host are in
# one session, since a session takes longer than a capture.
MANY = "HKEY_CURRENT_USER\\Software\\KeyreapMany"
ZONE = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\TimeZoneInformation"
CHILDS = "HKCU\\Software\\KeyreapVerdicts"
PLAN = [
    ("", "x64/verdicts.dll", "keyRedir"),
    ("", "x64/verdicts.dll", "both"),
    ("", "x64/verdicts.dll", "trace"),
    ("", "x86/verdicts.dll", "trace"),
    ("", "x64/verdicts.dll", "both", "--value", "in the result", "--key", KEY),
    ("", "x64/verdicts.dll", "both", "--value", "at last", "--key", KEY),
    ("", "x64/verdicts.dll", "both", "--value", "renamed", "--key", KEY + "\\old name"),
    ("", "x64/verdicts.dll", "keyRedir", "--key", KEY + "\\new name"),
    ("", "x64/verdicts.dll", "both", "--value", "child", "--key", CHILDS),
    ("", "x64/family.exe", "both"),
    ("", "x64/empty.exe", "trace", "--key", ZONE),
    ("", "x64/thousands.dll", "both", "--key", MANY, "--key", "HKCU\\Software", "--key", "HKCR\\CLSID", "--time"),
    ("", "x64/longnames.dll", "both", "--ceiling", "1", "--value", 200 * "0", "--key", MANY),
    ("", "x64/verdicts.dll", "keyRedir", "--from-trace"),
    ("", "x64/verdicts.dll", "both", "--from-trace"),
    ("", "x64/family.exe", "keyRedir", "--from-trace"),
    ("", "x64/resourceonly.dll", "both"),
    ("", "x64/plain.dll", "both", "--key", "Software\\A"),
    ("system", "x64/empty.exe", "trace", "--key", ZONE),
]


def program(sample):
    return ROOT / "build" / "stage" / "tools" / sample.split("/")[0] / "KeyKitExplain.exe"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


PLAIN = "HKCR\\Keyreap.Plain"


def of_windows(folder, name, *words):
    """A line of a script that explains a server by the program for Windows, which starts KeyKitExplain itself."""
    program = ROOT / "build" / "stage" / "bin" / "x64" / "KeyKit.exe"
    command = shlex.join(map(str, ["wine", program, "explain", windows_path(SAMPLES / "x64" / "plain.dll"), *words]))
    file = folder / name
    return "%s >%s.out 2>%s.err && s=0 || s=$?; echo $s >%s.status\n" % (command, file, file, file)


@pytest.fixture(scope="module")
def captures(tmp_path_factory):
    """Of each planned capture the status and the lines."""
    folder = tmp_path_factory.mktemp("captures")
    found = {}
    for host in ("", "system"):
        planned = [(number, plan) for number, plan in enumerate(PLAN) if plan[0] == host]
        script = ""
        for number, (_, sample, *words) in planned:
            command = ["wine", program(sample), windows_path(folder / str(number)), words[0], windows_path(SAMPLES / sample), *words[1:]]
            script += "%s && s=0 || s=$?; echo $s >%s.status\n" % (shlex.join(map(str, command)), folder / str(number))
        if host == "":
            script += of_windows(folder, "started", "--key", PLAIN) + of_windows(folder, "refused", "--key", "Software")
        session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--requests", "--host", host]
        subprocess.run([*session, "bash", "-c", script], check=True, capture_output=True, stdin=subprocess.DEVNULL)
        for number, plan in planned:
            status = int((folder / ("%d.status" % number)).read_text())
            found[plan] = (status, (folder / str(number)).read_text().splitlines())
    for name in ("started", "refused"):
        found[name] = [(folder / (name + end)).read_bytes().decode() for end in (".status", ".out", ".err")]
    return found


def lines_about(captures, text, mode, name="x64/verdicts.dll"):
    status, lines = captures["", name, mode]
    assert status == 0
    return [line for line in lines if text in line]


def value(name, key=KEY):
    return '%s, value "%s": ' % (key, name)


# What becomes of a value of the sample, and in which modes.
ALL = ("keyRedir", "both", "trace")
TRACED = ("both", "trace")
REDIRECTED = ("keyRedir", "both")
OF_VALUES = [
    (ALL, value("in the result"), ["in the result"]),
    (ALL, value("overwritten"), [r"overwritten later \(line \d+, set value by %s\)" % OWN, "in the result"]),
    (ALL, value("deleted again"), [r"deleted again \(line \d+, delete value by %s\)" % OWN,
                                   r"takes back what was made before \(line \d+, set value by %s\)" % OWN]),
    (ALL, KEY + "\\deleted key: ", [r"deleted again \(line \d+, delete key by %s\)" % OWN,
                                    r"takes back what was made before \(line \d+, create key by %s\)" % OWN]),
    (TRACED, value("renamed", KEY + "\\old name"),
     [r"in the result, but with ten filler characters in the place of its data: its key was renamed \(line \d+, rename key to \"new name\" by %s\)" % OWN]),
    (("keyRedir",), value("renamed", KEY + "\\old name"),
     [r"its key was renamed later \(line \d+, rename key to \"new name\" by %s\); the result has the new name" % OWN]),
    (TRACED[:1], KEY + '\\old name to "new name": ', ["a trace doesn't follow a renaming"]),
    (("keyRedir",), KEY + '\\old name to "new name": ', ["the result has the new name"]),
    (ALL, "CLSID\\{4F7B1C1E-8B0D-4E53-9C55-3C0E4C7B5A01}: ", ["looked for and not found: not there at all"]),
    (ALL, value("child", "HKEY_CURRENT_USER\\Software\\KeyreapVerdicts"),
     ["not in the result: by a process that isn't watched, started by %s" % OWN]),
    (("trace",), value("other view", "HKEY_LOCAL_MACHINE\\Software\\KeyreapVerdicts"),
     ["in the other view of the registry; the result has ten filler characters in the place of its data"]),
    (TRACED, value("afterwards", "HKEY_CURRENT_USER\\Software\\KeyreapVerdicts"), ["not in the result: after the trace"]),
    (("keyRedir",), value("afterwards", "HKEY_CURRENT_USER\\Software\\KeyreapVerdicts"),
     ["not in the result: it went past the redirected roots into the registry"]),
    (("both",), "SYSTEM\\CurrentControlSet\\KeyreapVerdicts: ", ["not in the result: a trace takes a control set without values for noise of the system"]),
    (("keyRedir",), "SYSTEM\\CurrentControlSet\\KeyreapVerdicts: ", ["in the result"]),
    (REDIRECTED, "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion: ",
     ["looked for and not found: the redirected roots are empty there, and the registry has it"]),
    (("trace",), value("at last"), ["in the result"]),
    (REDIRECTED, value("at last"), []),
]
CASES = [(mode, what, verdicts) for modes, what, verdicts in OF_VALUES for mode in modes]


@pytest.mark.parametrize("mode, what, verdicts", CASES)
def test_each_operation_has_its_verdict(captures, mode, what, verdicts):
    found = [line.partition(what)[2] for line in lines_about(captures, what, mode)]
    assert len(found) == len(verdicts), found
    assert all(re.fullmatch(verdict, text) for verdict, text in zip(verdicts, found)), found


def test_lines_name_the_process_and_are_in_order(captures):
    lines = lines_about(captures, "", "both")
    numbers = [int(line.split(" ", 1)[0]) for line in lines[:-1]]
    assert numbers == sorted(numbers)
    assert [line.split(" ")[1] for line in lines if "by a process that isn't watched" in line] == ["reg.exe"] * 2


def test_no_line_has_the_data_of_a_value(captures):
    assert not any("second" in line for mode in ALL for line in lines_about(captures, "", mode))


def test_a_32_bit_server_is_captured_by_the_program_of_its_bitness(captures):
    found = lines_about(captures, value("other view", "HKEY_LOCAL_MACHINE\\Software\\KeyreapVerdicts"), "trace", "x86/verdicts.dll")
    assert len(found) == 1
    assert "in the other view of the registry" in found[0]


# The story of a key, with advice.
ADVICE = [
    (KEY, "in the result", 0, "it is in the result."),
    (KEY, "at last", 1, "try the mode trace."),
    (KEY + "\\old name", "renamed", 1, "try the mode keyRedir, which has renamed keys right."),
    (CHILDS, "child", 1, "capture reg.exe ("),
]


@pytest.mark.parametrize("key, name, status, advice", ADVICE)
def test_a_key_has_a_story_and_advice(captures, key, name, status, advice):
    found, lines = captures["", "x64/verdicts.dll", "both", "--value", name, "--key", key]
    assert found == status
    assert advice in lines[-1]
    key = key.replace("HKCU", "HKEY_CURRENT_USER")
    assert all(key.startswith(re.search(r'(HKEY_[^:,]*?)(?: to "|[:,])', line)[1]) for line in lines)


def test_a_new_name_leads_to_the_renaming(captures):
    status, lines = captures["", "x64/verdicts.dll", "keyRedir", "--key", KEY + "\\new name"]
    assert status == 0
    assert any(line.endswith('rename key %s\\old name to "new name": the result has the new name' % KEY) for line in lines)
    assert lines[-1] == KEY + "\\new name: it is in the result."


def test_a_missing_entry_leads_to_what_the_server_looked_for_last(captures):
    _, lines = captures["", "x64/verdicts.dll", "both", "--value", "at last", "--key", KEY]
    assert "only in the registry, is HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion" in lines[-1]


# Rules of the program


def captured(name, host, folder):
    """The text of a capture at this host."""
    file = folder / ("%s.reg" % (host or "usual"))
    environment = {"PATH": "/usr/bin:/bin", "KEYREAP_HOST": host}
    subprocess.run([ROOT / "keyreap", "extreg", SAMPLES / name, file, "trace"], check=True, capture_output=True, env=environment)
    return file.read_bytes().decode("utf-16")


@pytest.mark.parametrize("host, verdict", [("", "not in the result: noise of the system"), ("system", "in the result")])
def test_a_switched_rule_changes_the_capture_and_the_reasons(captures, tmp_path, host, verdict):
    _, lines = captures[host, "x64/empty.exe", "trace", "--key", ZONE]
    found = [line.split(": ", 2)[2] for line in lines if 'value "TimeZoneKeyName": ' in line]
    assert found == [verdict]
    assert ('"TimeZoneKeyName"=' in captured("x64/empty.exe", host, tmp_path)) == (verdict == "in the result")


def test_the_program_of_a_server_is_watched_and_its_child_is_not(captures):
    lines = lines_about(captures, "HKEY_CURRENT_USER\\Software\\KeyreapFamily", "both", "x64/family.exe")
    found = [line.split(": ")[-1] for line in lines if "\\Shared, value" in line]
    assert found[0] == "in the result"
    assert re.fullmatch(r"by a process that isn't watched, started by family\.exe \(\d+\)", found[1])


# The story from the trace alone, as on Windows


def entries_with_verdicts(captures, name, *words):
    """Which entry has which verdict: of each line about a value of the sample what follows the process, without numbers."""
    status, lines = captures[("", name, *words)]
    assert status == 0
    found = [line.split(": ", 1)[1] for line in lines if ", value" in line and "Keyreap" in line]
    return [re.sub(r"\d+", "N", line) for line in found]


def renamed(lines):
    return [line for line in lines if "old name" in line]


@pytest.mark.parametrize("mode, lost", [("keyRedir", "not in the result, for no reason known here"), ("both", "it could not be read when the result was made")])
def test_a_trace_has_what_the_request_log_has_but_for_renamings(captures, mode, lost):
    logged = entries_with_verdicts(captures, "x64/verdicts.dll", mode)
    traced = entries_with_verdicts(captures, "x64/verdicts.dll", mode, "--from-trace")
    assert len(traced) > 5
    # The trace ends before the process does.
    expected = [line for line in logged if line not in renamed(logged) and "after the trace" not in line]
    assert [line for line in traced if line not in renamed(traced)] == expected
    assert [line.endswith(lost) for line in renamed(traced)] == [True]


def test_a_trace_has_times_and_names_of_processes(captures):
    _, lines = captures["", "x64/verdicts.dll", "both", "--from-trace"]
    changes = [line for line in lines if KEY in line or "KeyreapVerdicts" in line]
    assert all(re.match(r"\d+ \d+ ms (KeyKitExplain|reg)\.exe \(\d+\): ", line) for line in changes), changes
    times = [int(line.split(" ")[1]) for line in changes]
    assert times == sorted(times)


def test_a_program_has_the_kernel_logger_for_its_own_trace(captures):
    """keyRedir would trace around the capture, and a program is traced by the session."""
    lines = entries_with_verdicts(captures, "x64/family.exe", "keyRedir", "--from-trace")
    assert lines[0].endswith('\\Shared, value "parent": in the result')
    assert lines[1].endswith("by a process that isn't watched, started by family.exe (N)")


# Many operations


def test_three_keys_of_ten_thousand_operations_take_less_than_two_seconds(captures):
    """By the processor's time, since the machine may be busy with other tests."""
    lines = next(found[1] for plan, found in captures.items() if "--time" in plan)
    operations, seconds = re.match(r"(\d+) operations, explained in .* busy for ([\d.]+)$", lines[-1]).groups()
    assert int(operations) > 10_000
    assert float(seconds) < 2
    assert sum(line.endswith(": in the result") for line in lines) >= 10_000


def test_the_ceiling_of_the_log_cuts_the_oldest_operations_off(captures):
    status, lines = next(found for plan, found in captures.items() if "--ceiling" in plan)
    assert status == 1
    assert lines[-2].endswith('value "%s": not in the result: cut off by the ceiling of the log' % (200 * "0"))
    assert lines[-1].endswith("try the mode keyRedir, which needs no log.")


# The command


def explain(name, *words):
    """Status, lines and messages of the whole command."""
    result = subprocess.run([KEYKIT, "explain", SAMPLES / name, *words], capture_output=True, stdin=subprocess.DEVNULL, text=True)
    return result.returncode, result.stdout.splitlines(), result.stderr


def test_the_command_takes_the_bitness_of_the_server():
    key = "HKCR\\Keyreap.Plain"
    status, lines, messages = explain("x86/plain.dll", "--mode", "keyredir", "--key", key, "--value", "")
    assert (status, messages) == (0, "")
    assert lines[-1] == "HKEY_CLASSES_ROOT\\Keyreap.Plain, default value: it is in the result."


def test_a_key_that_is_not_in_the_result_has_the_status_1():
    status, lines, messages = explain("x64/plain.dll", "--key", "HKCR\\Keyreap.Other")
    assert (status, messages) == (1, "")
    assert lines == ["HKEY_CLASSES_ROOT\\Keyreap.Other: it is not in the result; nothing was done to it; check its spelling."]


def test_a_server_that_ends_the_process_has_a_sentence():
    status, lines, messages = explain("x64/faultReadNull.dll")
    assert (status, lines) == (2, [])
    assert "the server ended the program that captures it: access violation (0xC0000005)" in messages


def test_a_server_that_registers_nothing_has_a_sentence(captures):
    status, lines = captures["", "x64/resourceonly.dll", "both"]
    assert status == 2
    assert lines == [windows_path(SAMPLES / "x64" / "resourceonly.dll") + ": it can't be registered, so there is no result"]


def test_a_key_needs_a_root(captures):
    status, lines = captures["", "x64/plain.dll", "both", "--key", "Software\\A"]
    assert status == 2
    assert "does not begin with a root" in lines[0]


def report(tmp_path, text, status, **variables):
    """Status, output and messages of what the script makes of a session's end."""
    (tmp_path / "output").write_text(text)
    environment = dict(os.environ, KEYREAP_UNPLACED="", **variables)
    command = [ROOT / "scripts" / "explain.sh", "--report", tmp_path / "output", str(status)]
    result = subprocess.run(command, capture_output=True, stdin=subprocess.DEVNULL, text=True, env=environment)
    return result.returncode, result.stdout, result.stderr


def test_a_story_that_ends_too_early_is_not_printed(tmp_path):
    crash = "access violation (0xC0000005)"
    status, output, messages = report(tmp_path, "1 a line\n", 5, KEYREAP_CRASH=crash)
    assert (status, output) == (2, "")
    assert "the server ended the program that captures it: " + crash in messages


def test_a_whole_story_is_printed_with_its_status(tmp_path):
    assert report(tmp_path, "1 a line\n", 0) == (0, "1 a line\n", "")
    assert report(tmp_path, "1 a line\n", 1) == (1, "1 a line\n", "")


def test_a_value_needs_a_key():
    result = keykit("explain", SAMPLES / "x64" / "plain.dll", "--value", "a", env={})
    assert result.returncode == 2
    assert b"--key" in result.stderr


def test_the_program_for_windows_starts_the_one_that_explains(captures):
    status, output, _ = captures["started"]
    assert (status, output.splitlines()[-1]) == ("0\n", "HKEY_CLASSES_ROOT\\Keyreap.Plain: it is in the result.")
    assert "\r" not in output


def test_the_program_for_windows_passes_a_refusal_on(captures):
    status, output, messages = captures["refused"]
    assert (status, output) == ("2\n", "")
    assert "keykit: explain: --key: 'Software' does not begin with a root" in messages


def test_a_file_that_is_no_server_is_refused(tmp_path):
    result = keykit("explain", tmp_path / "missing.dll")
    assert result.returncode == 2
    assert b"the server's file can't be read" in result.stderr


def test_the_program_alone_knows_no_session():
    result = keykit("explain", SAMPLES / "x64" / "plain.dll", env={})
    assert result.returncode == 2
    assert b"./keykit explain" in result.stderr
