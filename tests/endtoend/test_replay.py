"""The default mode's result for the distribution's own servers comes from the trace of the redirected registration. It
differs from the result of redirection alone only by the rules in replayrules.py."""

import json
import os
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import hive  # noqa: E402
import regfile  # noqa: E402
import replayrules  # noqa: E402
from distribution import MODULES, SYSTEM_FOLDERS  # noqa: E402

# Values that Wine sets in each new process, to that process's code pages.
SET_BY_EVERY_START = {
    "HKEY_CURRENT_USER\\Software\\Wine\\Fonts": "Codepages",
    "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Fonts": "OEMFONT.FON",
}


def captures(bitness, output):
    """Starts the session of all captures of one bitness."""
    programs = [
        os.environ["KEYREAP_STAGE"] + "\\" + bitness + "\\Keyreap.exe",
        os.environ["KEYREAP_SAMPLES"] + "\\" + bitness + "\\savehives.exe",
    ]
    script = Path(__file__).with_name("capture_modules.py")
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--requests"]
    session += ["--box", "--scripts", "--write", output]
    words = [sys.executable, script, *programs, SYSTEM_FOLDERS[bitness], output, *MODULES]
    return subprocess.Popen([*session, *words], stdin=subprocess.DEVNULL)


@pytest.fixture(scope="module")
def outputs(tmp_path_factory):
    """The output folders of capture_modules.py, by bitness."""
    for name in ("KEYREAP_STAGE", "KEYREAP_SAMPLES"):
        if name not in os.environ:
            pytest.fail("Set %s to the folder that holds a folder for each bitness." % name)
    folders = {bitness: tmp_path_factory.mktemp(bitness) for bitness in SYSTEM_FOLDERS}
    sessions = [captures(bitness, folder) for bitness, folder in folders.items()]
    for session in sessions:
        assert session.wait() == 0
    return folders


def registry(folder):
    keys = hive.parse_all(folder)
    for path, name in SET_BY_EVERY_START.items():
        keys[hive.real_path(keys, path)].pop(name, None)
    return keys


def both_files(outputs, bitness, module):
    folder = outputs[bitness] / module
    return (folder / "redirected.reg").read_bytes(), (folder / "default.reg").read_bytes()


@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_every_capture_succeeds(outputs, bitness):
    statuses = json.loads((outputs[bitness] / "statuses.json").read_text())
    assert statuses == [0] * 2 * (len(MODULES) + 1)


@pytest.mark.parametrize("module", MODULES)
@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_the_default_result_comes_from_the_trace(outputs, bitness, module):
    """The result of redirection alone always contains the four roots, that of a replay never."""
    redirected, default = both_files(outputs, bitness, module)
    roots = set(replayrules.ROOTS.values())
    assert roots <= {path.lower() for path in regfile.parse(redirected)}
    assert not roots & {path.lower() for path in regfile.parse(default)}
    assert any(regfile.parse(default).values())


@pytest.mark.parametrize("module", MODULES)
@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_the_default_result_differs_from_the_redirection_only_by_the_rules(outputs, bitness, module):
    files = both_files(outputs, bitness, module)
    assert replayrules.unexplained(*files) == []
    # These servers delete nothing and write no 64-bit numbers, so two rules suffice.
    explained = replayrules.explained(*files)
    assert set(explained) == {"keys_of_the_redirection", "implied_keys"}
    assert explained["keys_of_the_redirection"] == len(replayrules.MADE_BY_REDIRECTION)


@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_the_registry_stays_unchanged(outputs, bitness):
    before, after = (registry(outputs[bitness] / name) for name in ("before", "after"))
    assert {path: values for path, values in before.items() if after.get(path) != values} == {}
    assert {path: values for path, values in after.items() if before.get(path) != values} == {}
