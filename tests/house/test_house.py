"""The rules of the project that a compiler doesn't check: which room includes which, what stays free of Windows, and how
files are laid out."""

import re
import subprocess
from pathlib import Path

import pytest
from project import COMMANDS, ROOT, lines_matching, text_of, tracked

# Every room and the rooms whose headers it includes. A room has the name of its folder.
ARROWS = {
    "extract": {"nativefileregister", "pe", "file", "core", "text", "os"},
    "nativefileregister": {"replay", "trace", "registry", "pe", "regfile", "file", "core", "os"},
    "replay": {"trace", "registry", "regfile", "text"},
    "trace": {"schema", "hostlogger", "etl", "text", "os"},
    "schema": {"etl", "text", "os"},
    "filter": {"hostlogger", "etl", "text"},
    "hostlogger": {"etl", "text", "os"},
    "etl": {"text", "os"},
    "registry": {"regfile", "core", "text", "os"},
    "kit": {"batch", "manifest", "emit", "lint", "check", "show", "capture", "regmodel", "pe", "text"},
    "batch": {"pe", "text"},
    "manifest": {"emit", "capture", "regmodel", "text"},
    "emit": {"capture", "regmodel", "regfile", "pe", "text"},
    "lint": {"capture", "regmodel", "regfile", "text"},
    "show": {"regmodel", "regfile", "text"},
    "capture": {"regmodel", "regfile", "text"},
    "check": {"capture", "regmodel", "text"},
    "live": {"extract", "nativefileregister", "pe", "file", "core", "text", "os"},
    "explain": {
        *("extract", "nativefileregister", "replay", "trace", "hostlogger", "etl", "regmodel", "file", "core", "text", "os")
    },
    "regmodel": {"regfile", "text"},
    "regfile": {"file", "text"},
    "pe": {"file", "core", "text", "os"},
    "file": {"core", "text", "os"},
    "core": {"errorreport", "stacktrace", "text", "os"},
    "errorreport": {"os"},
    "stacktrace": {"text", "os"},
    "text": {"os"},
    "os": set(),
}

# Where the sources of the programs and of the host's logger are.
HOUSE = ("extract", "trace", "hostlogger", "etl", "registry", "regfile", "regmodel", "kit", "pe", "platform")

# The headers of C that pure files may include; all others that end in .h belong to a system.
PLAIN_HEADERS = {"assert.h", "math.h", "stdint.h", "stddef.h", "stdio.h", "stdlib.h", "string.h", "wchar.h"}

TEST_HEADERS = ("gtest/", "gmock/")

ROOM_DECLARATION = re.compile(r"keyreap_room\(\s*(\w+)(.*?)\)", re.S)
TESTS_DECLARATION = re.compile(r"keyreap_unit_tests\(\s*(\w+)(.*?)\)", re.S)
INCLUDE = re.compile(r'^\s*#\s*include\s+(["<])([^">]+)[">]', re.M)


def lists_of(declaration):
    """The words of a declaration after its name, by keyword."""
    lists, words = {"PURE": [], "WINDOWS": [], "USES": [], "SYSTEM": []}, []
    for word in declaration.split():
        if word in lists:
            words = lists[word]
        else:
            words.append(word)
    return lists


def declarations(pattern):
    """Name, folder and lists of each declaration in a CMakeLists.txt."""
    for name in tracked("*CMakeLists.txt"):
        for found in pattern.finditer(text_of(name)):
            yield found.group(1), Path(name).parent, lists_of(found.group(2))


ROOMS = {name: (folder, lists) for name, folder, lists in declarations(ROOM_DECLARATION)}
FOLDERS = {folder: name for name, (folder, _) in ROOMS.items()}


def room_of(path):
    """The room of a file: the nearest folder above it that declares one."""
    return next((FOLDERS[folder] for folder in Path(path).parents if folder in FOLDERS), None)


def includes_of(name):
    return [(kind == '"', target) for kind, target in INCLUDE.findall(text_of(name))]


def sources_of_rooms():
    return [name for name in tracked("*.h", "*.cpp") if room_of(name) and not name.startswith("tests/")]


def pure_files():
    """The files that are declared as free of Windows, and all headers of the project that they include."""
    pending = [
        str((folder / word).as_posix())
        for pattern in (ROOM_DECLARATION, TESTS_DECLARATION)
        for _, folder, lists in declarations(pattern)
        for word in lists["PURE"]
        if word.endswith(".cpp")
    ]
    pending = [(ROOT / name).resolve().relative_to(ROOT).as_posix() for name in pending]
    reached = set()
    while pending:
        name = pending.pop()
        if name not in reached and (ROOT / name).is_file():
            reached.add(name)
            pending += [target for own, target in includes_of(name) if own]
    return sorted(reached)


def test_every_room_has_its_arrows():
    assert set(ROOMS) == set(ARROWS)


def test_arrows_form_no_cycle():
    order = {}

    def depth(room, above=()):
        assert room not in above
        if room not in order:
            order[room] = 1 + max((depth(other, above + (room,)) for other in ARROWS[room]), default=0)
        return order[room]

    for room in ARROWS:
        depth(room)


def forbidden_includes(name, targets):
    """The headers of the project that a file includes against the arrows."""
    room = room_of(name)
    return [target for target in targets if room_of(target) not in (None, room, *ARROWS[room])]


def own_includes_of(name):
    return [target for own, target in includes_of(name) if own]


def test_headers_are_included_along_the_arrows():
    wrong = [(name, target) for name in sources_of_rooms() for target in forbidden_includes(name, own_includes_of(name))]
    assert wrong == []


@pytest.mark.parametrize("room, other", [(room, other) for room in ARROWS for other in sorted(ARROWS[room])])
def test_an_include_against_an_arrow_is_reported(room, other):
    files = {place: [name for name in sources_of_rooms() if room_of(name) == place] for place in (room, other)}
    header = next(name for name in files[room] if name.endswith(".h"))
    assert forbidden_includes(files[other][0], [header]) == [header]


def test_rooms_declare_exactly_the_rooms_that_they_include():
    included = {room: set() for room in ROOMS}
    for name in sources_of_rooms():
        included[room_of(name)] |= {room_of(target) for target in own_includes_of(name)} - {None, room_of(name)}
    assert {room: set(lists["USES"]) for room, (_, lists) in ROOMS.items()} == included
    assert included == ARROWS


def test_every_folder_is_a_room():
    folders = {Path(name).parent for name in tracked(*("%s/*.cpp" % top for top in HOUSE))}
    assert folders == set(FOLDERS)


def test_the_lines_of_every_room_are_counted():
    rooms = re.search(r"^ROOMS = \((.*)\)$", text_of("scripts/coverage.py"), re.M)[1]
    assert set(re.findall(r"\w+", rooms)) == set(HOUSE)


def test_own_headers_are_named_from_the_top():
    wrong = []
    for name in sources_of_rooms():
        wrong += ["%s includes %s" % (name, target) for own, target in includes_of(name) if own and not (ROOT / target).is_file()]
    assert wrong == []


def test_every_source_of_a_room_is_built():
    declared = "\n".join(text_of(name) for name in tracked("*CMakeLists.txt"))
    assert [name for name in sources_of_rooms() if name.endswith(".cpp") and Path(name).name not in declared] == []


def test_pure_files_include_no_system_header():
    assert pure_files()
    wrong = []
    for name in pure_files():
        wrong += [
            "%s includes %s" % (name, target)
            for own, target in includes_of(name)
            if not own and target.endswith(".h") and target not in PLAIN_HEADERS and not target.startswith(TEST_HEADERS)
        ]
    assert wrong == []


def test_pure_files_take_a_wide_character_for_one_unit():
    assert lines_matching(r"sizeof\s*\(\s*wchar_t\s*\)", pure_files()) == []


def test_nothing_runs_before_the_error_mode_is_set():
    assert re.search(r"^int wmain\(.*\) \{\n\s*(.*)\n", text_of("extract/main.cpp"), re.M)[1] == "keyreap::SuppressErrorBoxes();"


# The functions that the system calls. No exception leaves them; the worker's entry alone lets it go to the filter.
CALLED_BY_THE_SYSTEM = {
    ("RegisterThreadEntry", "extract/nativefileregister/nativefileregister.cpp"),
    ("AppendResourceId", "extract/nativefileregister/typelibstaging.cpp"),
    ("Routine", "platform/core/errorreport/errorreportdialog.cpp"),
    ("OnUnhandledException", "platform/core/unhandledexception.cpp"),
    ("EndAtException", "kit/live/crash.cpp"),
    ("NoteModule", "kit/live/loadedmodules.cpp"),
    ("Examine", "tools/selfcheck/dialogcloser.cpp"),
    ("CountEvent", "tools/selfcheck/recording.cpp"),
    ("ContinueAfterBuffer", "tools/selfcheck/recording.cpp"),
    ("PassEvent", "trace/tracereadersystem.cpp"),
    ("PassBuffer", "trace/tracereadersystem.cpp"),
}

CALLBACK = re.compile(r"^[^/\n]*\b(?:WINAPI|CALLBACK|APIENTRY|__stdcall)\s+(?:\w+::)*(\w+)\(", re.M)


def test_the_functions_that_the_system_calls_are_known():
    names = [name for name in tracked("*.cpp") if not name.startswith(("tests/", "benchmarks/", "examples/"))]
    assert {(function, name) for name in names for function in CALLBACK.findall(text_of(name))} == CALLED_BY_THE_SYSTEM


def test_headers_are_guarded_by_pragma_once():
    assert [name for name in tracked("*.h") if "#pragma once" not in text_of(name)] == []


def test_sources_are_formatted():
    names = tracked("*.cpp", "*.h")
    result = subprocess.run(["clang-format", "--dry-run", "-Werror", *names], cwd=ROOT, capture_output=True, text=True)
    assert result.returncode == 0, result.stderr


def test_scripts_pass_the_shell_checker():
    names = tracked(*COMMANDS, "*.sh")
    result = subprocess.run(["shellcheck", "-x", "-P", ".", *names], cwd=ROOT, capture_output=True, text=True)
    assert result.returncode == 0, result.stdout


@pytest.mark.parametrize("name", tracked(*COMMANDS, "*.sh"))
def test_scripts_are_executable_exactly_when_they_are_commands(name):
    is_command = text_of(name).startswith("#!")
    assert bool((ROOT / name).stat().st_mode & 0o100) == is_command


def test_scripts_name_no_addresses_and_no_machine():
    names = tracked(*COMMANDS, "*.sh", "*.cmake", "*CMakeLists.txt", "CMakePresets.json")
    assert lines_matching(r"https?://|(^|[\s\"'=:])/(home|root|wo" r"rk)/", names) == []


def test_nothing_is_left_unfinished():
    names = [name for name in tracked("*.cpp", "*.h", "*.sh", "*CMakeLists.txt", *COMMANDS)]
    assert lines_matching(r"\b(TO" r"DO|FIX" r"ME|XX" r"X|HA" r"CK)\b", names) == []


def test_no_test_is_disabled():
    names = [name for name in tracked("tests/*")]
    assert lines_matching(r"GTEST_" r"SKIP|DISAB" r"LED_|pytest\.(mark\.)?(sk" r"ip|xf" r"ail)", names) == []
