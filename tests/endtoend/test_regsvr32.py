"""A capture of the distribution's own servers contains what regsvr32 writes in a prefix without classes, and an import
of the captured file creates the same there. The tests read the hives as text files.

Deliberate differences:
  - A hive has no HKEY_CLASSES_ROOT. Its keys are below HKEY_LOCAL_MACHINE\\Software\\Classes.
  - A hive has a 32-bit server's classes below Wow6432Node, a capture has them under the names that the server used.
  - Every capture contains HKEY_LOCAL_MACHINE\\Software\\Classes and the four roots.
  - A value that is written without a change is in the capture, but doesn't change the hive.
  - Texts end at their first NUL, and types without a form of their own have no data (carried).
"""

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
from distribution import MODULES, SYSTEM_FOLDERS  # noqa: E402

# Keys that Wine itself changes when programs start and end.
KEYS_OF_WINE = (
    "hkey_current_user\\software\\wine",
    "hkey_current_user\\volatile environment",
    "hkey_local_machine\\system",
    "hkey_local_machine\\hardware",
)

SZ, EXPAND, BINARY, DWORD, MULTI = 1, 2, 3, 4, 7
LINK = 6


def registrations(bitness, output):
    """Starts the session that registers and imports all modules of one bitness."""
    folder = SYSTEM_FOLDERS[bitness]
    programs = [os.environ["KEYREAP_STAGE"] + "\\" + bitness + "\\Keyreap.exe", folder + "\\regsvr32.exe"]
    script = Path(__file__).with_name("register_modules.py")
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--empty-classes"]
    session += ["--box", "--scripts", "--write", output]
    words = [sys.executable, script, *programs, folder + "\\reg.exe", folder, output, *MODULES]
    return subprocess.Popen([*session, *words], stdin=subprocess.DEVNULL)


@pytest.fixture(scope="module")
def outputs(tmp_path_factory):
    """The output folders of register_modules.py, by bitness."""
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe.")
    folders = {bitness: tmp_path_factory.mktemp(bitness) for bitness in SYSTEM_FOLDERS}
    sessions = [registrations(bitness, folder) for bitness, folder in folders.items()]
    for session in sessions:
        assert session.wait() == 0
    return folders


def normal_path(path, bitness):
    """The form of a key's path that both sides of the comparison use."""
    path = path.lower().replace("hkey_classes_root", "hkey_local_machine\\software\\classes")
    return path.replace("\\wow6432node", "") if bitness == "x86" else path


def carried(value):
    """The part of a value that a captured file can contain; None if it contains none of its data."""
    kind, data = value
    if kind == SZ:
        text = data.decode("utf-16-le", "surrogatepass").split("\0")[0] + "\0"
        return kind, text.encode("utf-16-le", "surrogatepass")
    return value if kind in (EXPAND, BINARY, DWORD, MULTI) else None


def normal(keys, bitness):
    """Keys by their normal paths, with values by their lower-cased names, and without those of Wine itself."""
    result = {}
    # Where a hive has a key for each bitness, the 32-bit one is what a 32-bit server sees.
    for path in sorted(keys, key=lambda path: "\\wow6432node" in path.lower()):
        known = result.setdefault(normal_path(path, bitness), {})
        known.update({name.lower(): value for name, value in keys[path].items() if not value or value[0] != LINK})
    return {path: values for path, values in result.items() if not path.startswith(KEYS_OF_WINE)}


def hives(folder, bitness):
    return normal(hive.parse_all(folder), bitness)


def captured(output, module, bitness):
    return normal(regfile.parse((output / module / "captured.reg").read_bytes()), bitness)


def missing(part, whole):
    """The keys of `part` that `whole` lacks, and its values that are different or missing in `whole`."""
    result = {}
    for path, values in part.items():
        known = whole.get(path)
        wrong = {name: value for name, value in values.items() if known is None or known.get(name) != value}
        if known is None or wrong:
            result[path] = wrong
    return result


@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_captures_succeed_and_leave_only_the_product_key(outputs, bitness):
    output = outputs[bitness]
    assert json.loads((output / "statuses.json").read_text())["captured"] == [0] * len(MODULES)
    left = missing(hives(output / "captured", bitness), hives(output / "before", bitness))
    product = "hkey_current_user\\software\\velmoro"
    assert left == {product: {}, product + "\\tesselink": {}}
    assert missing(hives(output / "before", bitness), hives(output / "captured", bitness)) == {}


@pytest.mark.parametrize("module", MODULES)
@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_capture_equals_what_regsvr32_writes(outputs, bitness, module):
    output = outputs[bitness]
    result = captured(output, module, bitness)
    registered = hives(output / module / "registered", bitness)
    written = missing(registered, hives(output / "captured", bitness))
    carriable = {path: {name: carried(value) for name, value in values.items()} for path, values in written.items()}
    assert any(values for values in written.values())
    assert missing(carriable, result) == {}
    assert missing(result, registered) == {}


@pytest.mark.parametrize("module", MODULES)
@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_import_of_the_capture_equals_what_regsvr32_writes(outputs, bitness, module):
    output = outputs[bitness]
    registered = hives(output / module / "registered", bitness)
    imported = hives(output / module / "imported", bitness)
    assert missing(registered, imported) == {}
    assert missing(imported, registered) == {}
