"""The check of a release: selfcheck.cmd of the unpacked zip, run by Wine's command interpreter. `./test` runs a sample of the
suites and captures, ./test selfcheck all of them."""

import os
import re
import shutil
import struct
import subprocess
import sys
import zipfile
from fnmatch import fnmatchcase
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]

sys.path[:0] = [str(ROOT / "scripts" / "runner"), str(ROOT / "tests" / "dialog")]

from windowsession import Display  # noqa: E402

from suites import Kind, all_suites  # noqa: E402

SESSION = [ROOT / "scripts" / "wine-session.sh", "--ready"]
STEP = os.environ.get("KEYREAP_SAMPLE", "10")

# What a pack must not contain.
USER = "Plantagenet"
MACHINE = "PLANTMACHINE"
COMPANY = "Planted Company"
# As a profile's folder has the name of its user.
FOLDER = f"Planted Földer {USER} {MACHINE} {COMPANY}"
PLANTED = [USER, MACHINE, FOLDER, "Planted", "Földer", COMPANY, "plant"]

# All of x64/endtoend but the tests of captures.
OTHER_TESTS = "*CommandLine*:*Companion*:*Output*:*Share*:*CarriedLibrary*:*Length*:LongLine*:TypeLibrary*:WrongBitness*"

# Plants the names where programs find them, and checks the release beside it.
PLANT = r"""@echo off
reg add HKLM\System\CurrentControlSet\Control\ComputerName\ActiveComputerName /v ComputerName /d %(machine)s /f
reg add "HKCU\Software\%(company)s\%(user)s" /v "%(machine)s" /d "%(user)s" /f
reg add HKCU\Environment /v PLANTED /d "%(user)s" /f
set USERNAME=%(user)s
set COMPUTERNAME=%(machine)s
set PLANTED=%(user)s
call "%%~dp0selfcheck\selfcheck.cmd"
exit /b %%ERRORLEVEL%%
"""


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def laid_out(folder):
    """What the zip unpacks: the program, and what it is checked with."""
    shutil.copytree(ROOT / "build" / "stage" / "bin", folder / "bin")
    subprocess.run([ROOT / "scripts" / "selfcheck.py", ROOT, folder / "selfcheck"], check=True)
    return folder


@pytest.fixture(scope="module")
def release(tmp_path_factory):
    folder = laid_out(tmp_path_factory.mktemp("release") / "Keyreap")
    # Some tests replace the list that the check reads.
    shutil.copy(folder / "selfcheck" / "suites.txt", folder / "suites.txt")
    return folder


@pytest.fixture
def display():
    shown = Display()
    yield shown
    shown.close()


def checked(release, *words, command="selfcheck/selfcheck.cmd", session=("--requests",), environment=(), display=None):
    """The result of one check, in a session that can trace, without windows unless it has a display."""
    share = release / "share"
    share.mkdir(exist_ok=True)
    session = session if display else ("--no-display", *session)
    variables = dict(display.environment if display else os.environ, KEYREAP_SHARE_UNC=r"\\server\share", KEYREAP_SHARE_LOCAL=windows(share))
    inside = ["env", *environment, "wine", "cmd", "/c", windows(release / command), *words]
    return subprocess.run(
        [*SESSION, "--share", share, *session, *inside], env=variables, stdin=subprocess.DEVNULL, capture_output=True, text=True
    )


def packed(release):
    with zipfile.ZipFile(release / "selfcheck" / "results" / "keyreap-selfcheck.zip") as archive:
        assert archive.testzip() is None
        return {name: archive.read(name) for name in archive.namelist()}


def lines_of(release, name):
    return packed(release)[name].decode("ascii").splitlines()


def other_lists(release, captures, suites):
    """The same release with other lists of captures and suites, each a list of rows."""
    for name, rows in (("captures.txt", captures), ("suites.txt", suites)):
        (release / "selfcheck" / name).write_text("".join("\t".join(row) + "\n" for row in rows))


@pytest.fixture(scope="module")
def result(release):
    return checked(release, "--every", STEP)


def test_under_wine_all_is_as_expected(release, result):
    assert result.returncode == 0, result.stdout + result.stderr
    summary = lines_of(release, "summary.txt")
    assert [re.sub(r"\d+ tried", "N tried", line) for line in summary[1:4]] == [
        "%s.txt: N tried, 0 differ from what is expected under Wine" % name for name in ("recording", "captures", "suites")
    ]
    assert summary[0].endswith(", which is Wine")


def test_every_suite_is_run_or_has_a_reason(release, result):
    lines = lines_of(release, "suites.txt")
    run = {line.split()[1].rstrip(":") for line in lines if line.startswith("ok ")}
    reasons = dict(re.match(r"not run (\S+): (.+)", line).groups() for line in lines if line.startswith("not run"))
    assert run and not run & reasons.keys()
    for suite in all_suites(ROOT):
        assert suite.name in run or any(fnmatchcase(suite.name, pattern) for pattern in reasons), suite.name
    if STEP == "1":
        assert "not in the sample of this run" not in reasons.values()


def test_the_samples_are_captured_in_every_mode_and_bitness(release, result):
    names = [line.split()[1:4] for line in lines_of(release, "captures.txt")]
    assert {bitness for bitness, _, _ in names} == {"x64", "x86"}
    assert {mode.rstrip(":") for _, _, mode in names} == {"keyRedir", "trace", "both"}
    rows = [line.split("\t") for line in (release / "selfcheck/captures.txt").read_text().splitlines() if line[0] != "#"]
    assert len(names) == -(-len(rows) * 6 // int(STEP))


def test_the_recording_has_kinds_of_all_events_and_the_events_of_the_samples(release, result):
    lines = lines_of(release, "recording.txt")
    kinds = [line for line in lines if re.fullmatch(r"    \d+ of type \d+ version 2 pointer size 8 payload \d+", line)]
    assert len(kinds) > 10
    for bitness in ("x64", "x86"):
        assert any(re.fullmatch("    %s type 14 status 00000000 key \\d+ name number" % bitness, line) for line in lines)
    assert any(re.fullmatch(r"    key \d+ is \\REGISTRY\\Machine\\Software\\Wow6432Node\\KeyreapWriting", line) for line in lines)


def test_the_registry_has_nothing_of_the_samples_afterwards(release):
    """The recording's sample writes to the live registry, and this server writes when it is unloaded."""
    other_lists(release, [["lifetime.dll", "lifetime.reg", "lifetime-traced.reg", "-"]], [])
    places = [r"HKCU\Software", r"HKLM\Software", r"HKLM\Software\Wow6432Node", r"HKU\.DEFAULT\Software"]
    queries = ["reg query %s\\Keyreap%s" % (place, sample) for place in places for sample in ("Writing", "Lifetime")]
    lines = ['call "%~dp0selfcheck\\selfcheck.cmd"', *queries, r"reg query HKCU\Environment"]
    (release / "search.cmd").write_text("".join(line + "\r\n" for line in lines))
    found = checked(release, command="search.cmd")
    assert "captures.txt: 6 tried, 0 differ" in found.stdout
    assert re.findall(r"^HKEY_.*", found.stdout, re.M) == [r"HKEY_CURRENT_USER\Environment"]


def test_a_logger_that_cannot_be_started_is_reported(release):
    other_lists(release, [["plain.dll", "plain.reg", "-", "plain.reg"]], [])
    assert checked(release, session=()).returncode == 1
    recording = lines_of(release, "recording.txt")
    assert recording[-1] == "DIFFERS status of the start: 50, expected 0"
    assert len(lines_of(release, "captures.txt")) == 6


# All of x64/endtoend_faults but one fault of a 64-bit program. Only these have windows under Wine.
OTHER_FAULTS = "*x86*:*Write*:*Execute*:*Divide*:*Illegal*:*Stack*:*Abort*:*Throw*:*Elsewhere*:*Ending*:*Share*:*List*"


def test_crash_dialogs_are_closed(release, display):
    other_lists(release, [], [["x64/endtoend_faults", "run", "takes long", OTHER_FAULTS]])
    assert checked(release, session=("--requests",), display=display).returncode == 0
    assert lines_of(release, "suites.txt")[0] == "ok      x64/endtoend_faults: 1 passed, 0 failed, status 0"
    assert lines_of(release, "summary.txt")[-1] == "crash dialogs closed: 1"


@pytest.mark.parametrize("words", [["--every"], ["--every", "0"], ["--each", "2"], ["a", "b", "c"]])
def test_other_words_are_refused(release, words):
    found = checked(release, *words, session=())
    assert (found.returncode, found.stderr.strip()) == (2, "usage: selfcheck [--every N]")


@pytest.fixture(scope="module")
def planted(tmp_path_factory, release):
    """A release that finds much to report, on a machine with names that must not be reported."""
    folder = tmp_path_factory.mktemp("planted") / FOLDER
    shutil.copytree(release, folder)
    (folder / "plant.cmd").write_text((PLANT % {"user": USER, "machine": MACHINE, "company": COMPANY}).replace("\n", "\r\n"))
    other_lists(
        folder,
        [["selfpath.dll", *["plain.reg"] * 3], ["typelibnone.exe", *["writing-traced.reg"] * 3]],
        [["x64/endtoend", "run", "takes long", OTHER_TESTS], ["x64/missing", "run", "-", "-"]],
    )
    # The test that fails shows the path of its sample.
    golden = folder / "selfcheck" / "golden" / "calculator-x64.reg"
    golden.write_bytes(golden.read_bytes().replace("{MODULE}".encode("utf-16-le"), "X{MODULE}".encode("utf-16-le")))
    found = checked(folder, command="plant.cmd", environment=("USER=" + USER,))
    assert found.returncode == 1, found.stdout + found.stderr
    return folder


def test_what_differs_is_reported(planted):
    captures, suites = "\n".join(lines_of(planted, "captures.txt")), "\n".join(lines_of(planted, "suites.txt"))
    assert captures.count("DIFFERS") == 12
    assert "further key [HKEY_CLASSES_ROOT\\?]" in captures
    assert "DIFFERS x64/endtoend: " in suites
    assert "DIFFERS x64/missing: 0 passed, 0 failed, error 2" in suites
    assert "    not run %s: takes long" % OTHER_TESTS in suites
    assert "    failed Samples/Capture.OfAWholeServerContainsItsClassItsProgIdAndItsTypeLibrary/x64" in suites
    assert re.search(r"^    tests/endtoend/capture_test.cpp:\d+: Failure$", suites, re.M)


def forms_of(name):
    """A name as bytes that may be in a file, in any case: texts are compared in lower case."""
    return {name.lower().encode(coding) for coding in ("utf-8", "utf-16-le", "utf-16-be", "cp1252")}


def lowered(data):
    """The bytes with all letters in lower case, whichever of these codings they have."""
    return {data.decode(coding, "replace").lower().encode(coding, "replace") for coding in ("cp1252", "utf-8", "utf-16-le")}


def texts_of(data):
    return lowered(data) | lowered(data[1:])


def test_the_names_of_the_machine_were_there_to_be_found(planted):
    logs = planted / "selfcheck" / "results" / "logs"
    assert b"Planted F" in (logs / "x64_endtoend.txt").read_bytes()
    assert FOLDER in (logs / "capture.reg").read_bytes().decode("utf-16")


@pytest.mark.parametrize("name", PLANTED)
def test_the_pack_has_no_name_of_the_machine(planted, name):
    pack = (planted / "selfcheck" / "results" / "keyreap-selfcheck.zip").read_bytes()
    for place, data in {"the file": pack, **packed(planted)}.items():
        assert not any(form in text for form in forms_of(name) for text in texts_of(data)), place


def test_the_pack_has_no_variable_and_no_path(planted):
    text = "\n".join(data.decode("ascii") for data in packed(planted).values())
    for word in ("USERNAME", "Z:\\", "C:\\", "/tmp", str(ROOT), "\\Users\\", "HKEY_CURRENT_USER\\Environment"):
        assert word.lower() not in text.lower(), word


def time_stamp(image):
    (header,) = struct.unpack_from("<I", image, 0x3C)
    return struct.unpack_from("<I", image, header + 8)[0]


def image_base(image):
    (header,) = struct.unpack_from("<I", image, 0x3C)
    is_64_bit = struct.unpack_from("<H", image, header + 24)[0] == 0x20B
    return struct.unpack_from("<Q" if is_64_bit else "<I", image, header + (48 if is_64_bit else 52))[0]


def test_the_addresses_of_samples_do_not_depend_on_the_folder_of_the_build(release):
    samples = [file for file in (release / "selfcheck" / "samples").rglob("*.dll")]
    assert {image_base(file.read_bytes()) for file in samples} == {0x180000000, 0x10000000}


def test_what_is_laid_out_has_no_time_and_no_folder_of_this_machine(release):
    programs = [file for kind in ("*.exe", "*.dll") for file in (release / "selfcheck").rglob(kind)]
    assert len(programs) > 150
    for file in programs:
        image = file.read_bytes()
        assert time_stamp(image) == 0, file
        assert os.fsencode(ROOT) not in image, file


def test_every_exception_is_that_of_a_suite():
    suites = [suite.name for suite in all_suites(ROOT, ("x64", "x86"))]
    rows = [line.split("\t") for line in (ROOT / "tools/selfcheck/exceptions.txt").read_text().splitlines()]
    for pattern, run, reason, left_out in (row for row in rows if not row[0].startswith("#")):
        assert any(fnmatchcase(name, pattern) for name in suites), pattern
        assert run in ("run", "not run") and len(reason) > 10 and (left_out != "-") == (run == "run"), pattern


def test_every_suite_that_needs_the_request_log_is_excepted(release):
    rows = [line.split("\t") for line in (release / "suites.txt").read_text().splitlines()]
    run = {row[0] for row in rows if row[1] == "run"}
    assert run and not [suite.name for suite in all_suites(ROOT) if suite.kind == Kind.REQUESTS and suite.name in run]
