"""Accounts whose registry a trace doesn't know: a result in the mode both is none of the server's, and whatever uses it
reports that. The strict host reports the current user's keys under the SID of such an account."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import resultsigns  # noqa: E402

ACCOUNTS = {
    "of a directory": "S-1-12-1-1-2-3-4",
    "of a container": "S-1-5-93-2-1",
    "of the system": "S-1-5-18",
}
SERVERS = {bitness: ROOT / "build" / "stage" / "samples" / bitness / "thermometer.dll" for bitness in ("x64", "x86")}
OF_AN_ACCOUNT = "has keys of an account whose registry a trace doesn't know"
FILLERS = "has fillers (ten characters U+5555) for 16 values that could not be read again"


def run(sid, *words):
    environment = os.environ | {"KEYREAP_HOST": "strict,user %s" % sid}
    return subprocess.run([str(word) for word in words], env=environment, capture_output=True, text=True)


def captured(folder, sid, mode):
    """The .reg files of both servers, and what ./keyreap printed."""
    files = {bitness: folder / (bitness + ".reg") for bitness in SERVERS}
    pairs = [word for bitness, server in SERVERS.items() for word in (server, files[bitness])]
    result = run(sid, ROOT / "keyreap", "extreg", *pairs, mode)
    assert (result.returncode, result.stdout) == (0, "")
    return files, result.stderr.splitlines()


@pytest.fixture(scope="module", params=ACCOUNTS.values(), ids=ACCOUNTS)
def traced(request, tmp_path_factory):
    files, said = captured(tmp_path_factory.mktemp("account"), request.param, "both")
    return request.param, files, said


def test_a_result_of_such_an_account_is_named(traced):
    sid, files, said = traced
    # The system's account has the hive of the default user, whose root a trace knows.
    names_the_tree = sid == "S-1-5-18"
    signs = [FILLERS, "names the temporary tree of the capture"] if names_the_tree else [OF_AN_ACCOUNT, FILLERS]
    assert said == [
        "keyreap: %s: %s %s; try the mode keyRedir" % (SERVERS[bitness], file, "; it ".join(signs))
        for bitness, file in files.items()
    ]


def test_an_installer_refuses_it(traced):
    sid, files, _ = traced
    for bitness, bits in (("x64", "64"), ("x86", "32")):
        words = ["nsis", "Road", bits, files[bitness], SERVERS[bitness].parent, "$INSTDIR"]
        result = run(sid, ROOT / "examples" / "installer" / "regdata.py", *words)
        assert (result.returncode, result.stdout) == (1, "")
        assert "no key that a server registers" in result.stderr


def test_a_build_refuses_it(traced, tmp_path):
    sid, _, _ = traced
    values = {"COMMAND": ROOT / "keyreap", "SERVER": SERVERS["x64"], "OUTPUT": tmp_path / "a.reg", "MODE": "both"}
    words = [word for name, value in values.items() for word in ("-D", "%s=%s" % (name, value))]
    result = run(sid, "cmake", *words, "-D", "ALLOW_FILLERS=ON", "-P", ROOT / "cmake" / "KeyreapCapture.cmake")
    assert result.returncode != 0
    assert list(tmp_path.iterdir()) == []
    reason = "names the temporary tree" if sid == "S-1-5-18" else "an account whose registry"
    assert reason in " ".join(result.stderr.split("CMake Error")[-1].split())


@pytest.mark.parametrize("sid", ACCOUNTS.values(), ids=ACCOUNTS)
def test_a_redirection_alone_is_right_for_such_an_account(tmp_path, sid):
    files, said = captured(tmp_path, sid, "keyRedir")
    assert said == []
    assert [resultsigns.signs(file.read_bytes()) for file in files.values()] == [[], []]
