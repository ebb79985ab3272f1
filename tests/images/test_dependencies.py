"""The walk over dependencies finds for the distribution's own modules what an independent listing of their import
tables contains.
"""

import json
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]

MODULES = [
    "msxml3.dll",
    "quartz.dll",
    "urlmon.dll",
    "mshtml.dll",
    "msi.dll",
    "shell32.dll",
    "windowscodecs.dll",
    "inetcomm.dll",
    "propsys.dll",
    "dbghelp.dll",
]

SYSTEM_FOLDERS = {"x64": "C:\\windows\\system32", "x86": "C:\\windows\\syswow64"}


def program(bitness):
    return "Z:" + str(ROOT / "build" / bitness / "tests" / "list_dependencies.exe").replace("/", "\\")


def walk(bitness, output):
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display"]
    script = Path(__file__).with_name("walk_modules.py")
    words = [sys.executable, script, program(bitness), SYSTEM_FOLDERS[bitness], output, *MODULES]
    return subprocess.Popen([*session, *words], stdin=subprocess.DEVNULL)


@pytest.fixture(scope="module")
def results(tmp_path_factory):
    """The results of walk_modules.py, by bitness."""
    folder = tmp_path_factory.mktemp("walks")
    sessions = [walk(bitness, folder / f"{bitness}.json") for bitness in SYSTEM_FOLDERS]
    for session in sessions:
        assert session.wait() == 0
    return {bitness: json.loads((folder / f"{bitness}.json").read_text()) for bitness in SYSTEM_FOLDERS}


def expected_names(imports, file, records):
    """The names depth first, each once. Enters the files that were found and aren't the system's."""
    known = {name.lower(): (path, system) for name, path, system in records}
    names, seen = [], set()

    def enter(path):
        for name in imports[path]:
            if name.lower() not in seen:
                seen.add(name.lower())
                names.append(name)
                found, system = known.get(name.lower(), ("", False))
                if found and not system:
                    enter(found)

    enter(file)
    return names


@pytest.mark.parametrize("module", MODULES)
@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_walk_is_that_of_the_import_listings(results, bitness, module):
    file = SYSTEM_FOLDERS[bitness] + "\\" + module
    records = results[bitness]["walks"][file]
    assert results[bitness]["imports"][file]
    assert [name for name, _, _ in records] == expected_names(results[bitness]["imports"], file, records)


@pytest.mark.parametrize("bitness", SYSTEM_FOLDERS)
def test_modules_are_found_in_the_folder_of_their_bitness(results, bitness):
    paths = [path for records in results[bitness]["walks"].values() for _, path, _ in records]
    assert len(set(paths)) > len(MODULES)
    assert {path.rsplit("\\", 1)[0].lower() for path in paths if path} == {SYSTEM_FOLDERS[bitness].lower()}
