"""What the program captures of the distribution's own servers is what regsvr32 makes of them in a prefix with no
classes, and what an import of the captured file makes there. The hives are read here as the text that they are.

What differs on purpose:
  - A hive has no HKEY_CLASSES_ROOT: what is written there lies below HKEY_LOCAL_MACHINE\\Software\\Classes.
  - A hive keeps a 32-bit server's classes below Wow6432Node, a capture under the names that the server used.
  - HKEY_LOCAL_MACHINE\\Software\\Classes stands in every capture, and so do the four roots.
  - A value that is written as it was before is in the capture, but is no change of a hive.
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

HIVES = {
    "system.reg": "HKEY_LOCAL_MACHINE",
    "user.reg": "HKEY_CURRENT_USER",
    "userdef.reg": "HKEY_USERS\\.Default",
}

# What Wine writes of itself whenever programs start and end.
WINES_OWN = (
    "hkey_current_user\\software\\wine",
    "hkey_current_user\\volatile environment",
    "hkey_local_machine\\system",
    "hkey_local_machine\\hardware",
)

SZ, EXPAND, BINARY, DWORD, MULTI = 1, 2, 3, 4, 7
LINK = 6


def registrations(bitness, output):
    """Starts the whole comparison's session for one bitness."""
    folder = SYSTEM_FOLDERS[bitness]
    programs = [os.environ["KEYREAP_STAGE"] + "\\" + bitness + "\\Keyreap.exe", folder + "\\regsvr32.exe"]
    script = Path(__file__).with_name("register_modules.py")
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--empty-classes"]
    words = [sys.executable, script, *programs, folder + "\\reg.exe", folder, output, *MODULES]
    return subprocess.Popen([*session, *words], stdin=subprocess.DEVNULL)


@pytest.fixture(scope="module")
def outputs(tmp_path_factory):
    """The folders that register_modules.py filled, by bitness."""
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe.")
    folders = {bitness: tmp_path_factory.mktemp(bitness) for bitness in SYSTEM_FOLDERS}
    sessions = [registrations(bitness, folder) for bitness, folder in folders.items()]
    for session in sessions:
        assert session.wait() == 0
    return folders


def normal_path(path, bitness):
    """A key's path as both sides of the comparison have it."""
    path = path.lower().replace("hkey_classes_root", "hkey_local_machine\\software\\classes")
    return path.replace("\\wow6432node", "") if bitness == "x86" else path


def carried(value):
    """What a captured file can hold of a value; None if it holds no data of it."""
    kind, data = value
    if kind == SZ:
        text = data.decode("utf-16-le", "surrogatepass").split("\0")[0] + "\0"
        return kind, text.encode("utf-16-le", "surrogatepass")
    return value if kind in (EXPAND, BINARY, DWORD, MULTI) else None


def normal(keys, bitness):
    """Keys under their normal paths, with values by their lower-cased names; Wine's own are left out."""
    result = {}
    # Where a hive has a key for each bitness, the 32-bit one is what a 32-bit server sees.
    for path in sorted(keys, key=lambda path: "\\wow6432node" in path.lower()):
        known = result.setdefault(normal_path(path, bitness), {})
        known.update({name.lower(): value for name, value in keys[path].items() if not value or value[0] != LINK})
    return {path: values for path, values in result.items() if not path.startswith(WINES_OWN)}


def hives(folder, bitness):
    keys = {}
    for file, root in HIVES.items():
        keys.update(hive.parse(folder / file, root))
    return normal(keys, bitness)


def captured(output, module, bitness):
    return normal(regfile.parse((output / module / "captured.reg").read_bytes()), bitness)


def missing(part, whole):
    """The keys of `part` that are not in `whole`, and those of its values that are not the same there."""
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
