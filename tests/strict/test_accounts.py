"""Accounts whose registry a trace doesn't know: a result in the mode both is none of the server's, and whatever uses it
reports that. The strict host reports the current user's keys under the SID of such an account."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import regfile  # noqa: E402
import resultsigns  # noqa: E402

ACCOUNTS = {
    "of a directory": "S-1-12-1-1-2-3-4",
    "of a container": "S-1-5-93-2-1",
    "of the system": "S-1-5-18",
}
SERVERS = {bitness: ROOT / "build" / "stage" / "samples" / bitness / "thermometer.dll" for bitness in ("x64", "x86")}
PRODUCT = "6d02c83b-7944-4552-9f93-29099ad34deb"
OF_AN_ACCOUNT = "has keys of an account whose registry a trace doesn't know"
FILLERS = "has fillers (ten characters U+5555) for %d values that could not be read again"


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


def number_of_values(file):
    return sum(map(len, regfile.parse(file.read_bytes()).values()))


@pytest.fixture(scope="module", params=ACCOUNTS.values(), ids=ACCOUNTS)
def sid(request):
    return request.param


@pytest.fixture(scope="module")
def redirected(sid, tmp_path_factory):
    return captured(tmp_path_factory.mktemp("account"), sid, "keyRedir")


@pytest.fixture(scope="module")
def traced(sid, tmp_path_factory):
    return captured(tmp_path_factory.mktemp("account"), sid, "both")


def test_a_result_of_such_an_account_is_named_with_all_its_values_lost(sid, traced, redirected):
    files, said = traced
    # The system's account has the hive of the default user, whose root a trace knows.
    names_the_tree = sid == "S-1-5-18"
    for bitness, line in zip(SERVERS, said, strict=True):
        fillers = FILLERS % number_of_values(redirected[0][bitness])
        signs = [fillers, "names the temporary tree of the capture"] if names_the_tree else [OF_AN_ACCOUNT, fillers]
        words = (SERVERS[bitness], files[bitness], "; it ".join(signs))
        assert line == "keyreap: %s: %s %s; try the mode keyRedir" % words


def test_an_installer_refuses_it(sid, traced):
    files, _ = traced
    no_server = "is a key of the temporary tree" if sid == "S-1-5-18" else "is a key of an account whose registry"
    for bitness, bits in (("x64", "64"), ("x86", "32")):
        words = ["nsis", files[bitness], "--product", PRODUCT, "--server", SERVERS[bitness], "--bitness", bits]
        result = run(sid, ROOT / "keykit", "emit", *words)
        assert result.returncode == 1
        assert no_server in result.stderr
        keys = [key for key, values in regfile.parse(files[bitness].read_bytes()).items() if values]
        assert keys and all(key.lower() in result.stderr.lower() for key in keys)
        assert "S-1-" not in result.stdout and "Temporary" not in result.stdout


def test_a_build_refuses_it(sid, tmp_path):
    values = {"COMMAND": ROOT / "keyreap", "SERVER": SERVERS["x64"], "OUTPUT": tmp_path / "a.reg", "MODE": "both"}
    words = [word for name, value in values.items() for word in ("-D", "%s=%s" % (name, value))]
    result = run(sid, "cmake", *words, "-D", "ALLOW_FILLERS=ON", "-P", ROOT / "cmake" / "KeyreapCapture.cmake")
    assert result.returncode != 0
    assert list(tmp_path.iterdir()) == []
    reason = "names the temporary tree" if sid == "S-1-5-18" else "an account whose registry"
    assert reason in " ".join(result.stderr.split("CMake Error")[-1].split())


def test_a_redirection_alone_is_right_for_such_an_account(redirected):
    files, said = redirected
    assert said == []
    assert [resultsigns.signs(file.read_bytes()) for file in files.values()] == [[], []]
