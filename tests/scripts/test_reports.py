"""What ./keyreap prints on standard error without a terminal: nothing about a success, and one line for each pair that
failed, was skipped, or gave a file that looks as if nothing had been captured. It prints nothing on standard output."""

import os
import shutil
import subprocess

import pytest
from conftest import ROOT, run

KEYREAP = ROOT / "keyreap"
SAMPLES = ROOT / "build" / "samples"
USAGE = "usage: ./keyreap [--see FOLDER] [--env NAME] [--display] extreg FILE OUT.reg [FILE OUT.reg ...] [keyRedir|trace|both]"


@pytest.fixture(scope="module", autouse=True)
def set_up():
    assert run(KEYREAP, "extreg").returncode == 0


@pytest.fixture
def desk(tmp_path):
    shutil.copyfile(SAMPLES / "x64" / "plain.dll", tmp_path / "good.dll")
    shutil.copyfile(SAMPLES / "x86" / "plain.dll", tmp_path / "good32.dll")
    return tmp_path


def sample(desk, name, bitness="x64"):
    shutil.copyfile(SAMPLES / bitness / name, desk / name)
    return name


def said(desk, status, *words, verb="extreg", **options):
    """The lines that a run with this status prints."""
    result = run(KEYREAP, verb, *words, cwd=desk, **options)
    assert (result.returncode, result.stdout) == (status, ""), result.stderr
    lines = result.stderr.splitlines()
    assert all(line.startswith("keyreap: ") for line in lines)
    return [line.removeprefix("keyreap: ") for line in lines]


def test_a_success_says_nothing(desk):
    assert said(desk, 0, "good.dll", "a.reg", "good32.dll", "b.reg", "keyRedir") == []


def test_what_a_server_prints_goes_nowhere(ready_tree):
    result = ready_tree.run("print")
    assert (result.stdout, result.stderr) == ("", "keyreap: print: nothing was done, since the only verb is extreg\nkeyreap: %s\n" % USAGE)


# The input


def test_a_missing_file_is_named_as_it_was_spelled(desk):
    assert said(desk, 255, "./none/../none.dll", "a.reg") == ["./none/../none.dll: there is no such file"]
    assert said(desk, 255, "Z:\\none\\x.dll", "a.reg") == ["Z:\\none\\x.dll: there is no folder /none"]


@pytest.mark.parametrize("word", ["god.dll", "good.ocx", "godo.dll", "good"])
def test_a_near_miss_is_offered(desk, word):
    assert said(desk, 255, word, "a.reg") == ["%s: there is no such file; did you mean good.dll?" % word]


def test_a_near_miss_of_a_folder_is_offered(desk):
    (desk / "servers").mkdir()
    assert said(desk, 255, "server/x.dll", "a.reg") == [
        "server/x.dll: there is no folder %s; did you mean servers?" % (desk / "server")
    ]


def test_a_folder_and_other_contents_are_named(desk):
    (desk / "folder.dll").mkdir()
    (desk / "text.dll").write_text("no image")
    assert said(desk, 255, "folder.dll", "a.reg") == ["folder.dll: it is a folder"]
    assert said(desk, 255, "text.dll", "a.reg") == ["text.dll: it is neither a PE image nor a type library"]


def test_a_library_without_the_export_is_named(desk):
    name = sample(desk, "resourceonly.dll")
    assert said(desk, 255, name, "a.reg") == [name + ": it exports no DllRegisterServer, and is no program"]


def test_a_machine_that_the_host_does_not_run_is_named(desk):
    data = bytearray((desk / "good.dll").read_bytes())
    machine = int.from_bytes(data[60:64], "little") + 4
    data[machine : machine + 2] = b"\x64\xaa"
    (desk / "arm.dll").write_bytes(data)
    assert said(desk, 255, "arm.dll", "a.reg") == ["arm.dll: it is for ARM64, and this host runs x64 and x86 alone"]


@pytest.mark.parametrize("bitness", ["x64", "x86"])
def test_a_server_that_cannot_be_loaded_is_named_with_what_it_lacks(desk, bitness):
    name = sample(desk, "orphan.dll", bitness)
    assert said(desk, 255, name, "a.reg") == [name + ": needs missinglib.dll, which is nowhere; wanted by orphan.dll"]


@pytest.mark.parametrize("bitness, place", [("x64", "in lacking.dll"), ("x86", "after lacking.dll was loaded")])
def test_a_call_of_a_missing_import_is_named_with_the_import(desk, bitness, place):
    sample(desk, "lackinglib.dll", bitness)
    name = sample(desk, "lacking.dll", bitness)
    lines = said(desk, 1, name, "a.reg", "keyRedir")
    assert len(lines) == 1
    assert lines[0].startswith(name + ": call of a function that a library lacks (0x80000100)") and place in lines[0]
    assert lines[0].endswith("; needs the function LaterNumber of lackinglib.dll, which it doesn't have; wanted by lacking.dll")


CONTROLS = """
#include <windows.h>
extern "C" __declspec(dllimport) void Foreign();
extern "C" __declspec(dllexport) long __stdcall DllRegisterServer() { Foreign(); return 0; }
"""


def test_control_characters_of_a_foreign_file_reach_no_terminal(desk):
    (desk / "controls.cpp").write_text(CONTROLS)
    (desk / "lib.def").write_text("LIBRARY controlling.dll\nEXPORTS\nForeign\n")
    subprocess.run(["x86_64-w64-mingw32-dlltool", "-d", "lib.def", "-l", "lib.a"], cwd=desk, check=True)
    command = ["x86_64-w64-mingw32-g++-posix", "-shared", "-static", "controls.cpp", "lib.a", "-o", "controls.dll"]
    subprocess.run(command, cwd=desk, check=True)
    image = (desk / "controls.dll").read_bytes()
    assert image.count(b"controlling.dll\0") == 1
    (desk / "controls.dll").write_bytes(image.replace(b"controlling.dll\0", b"con\x1b[2J\ning.dll\0"))
    lines = said(desk, 255, "controls.dll", "a.reg", "keyRedir")
    assert len(lines) == 1 and lines[0].isprintable() and "con?[2J?ing.dll, which is nowhere" in lines[0]


# The output


def test_a_missing_output_folder_is_named(desk):
    assert said(desk, 255, "good.dll", "no/a.reg") == [
        "good.dll: no/a.reg can't be written: there is no folder %s" % (desk / "no")
    ]


def test_an_output_that_is_a_folder_is_named(desk):
    (desk / "a.reg").mkdir()
    assert said(desk, 255, "good.dll", "a.reg") == ["good.dll: a.reg can't be written: it is a folder"]


def test_an_output_that_is_lost_with_the_run_is_named(desk):
    assert said(desk, 0, "good.dll", "C:\\x.reg", "keyRedir") == [
        "good.dll: C:\\x.reg went with the run's own drive; name a file of this machine"
    ]


def test_files_on_no_drive_of_this_machine_are_named(desk):
    drives = "in a run, only C: of its own and Z: for this machine"
    assert said(desk, 255, "D:\\x.dll", "a.reg") == ["D:\\x.dll: there is no drive D: " + drives]
    assert said(desk, 255, "\\\\server\\share\\x.dll", "a.reg") == ["\\\\server\\share\\x.dll: there is no share " + drives]
    assert said(desk, 255, "good.dll", "d:\\a.reg") == ["good.dll: d:\\a.reg can't be written: there is no drive d: " + drives]
    assert said(desk, 255, "C:\\x.dll", "a.reg") == ["C:\\x.dll: it is not on the run's own drive, or could not be registered"]
    lines = said(desk, 255, "good.dll", "C:\\no\\a.reg")
    assert len(lines) == 1 and lines[0].endswith(", or C:\\no\\a.reg could not be written")


def test_a_path_that_no_file_can_have_is_named(desk):
    (desk / "loop").symlink_to("loop")
    name = 300 * "x"
    assert said(desk, 255, "good.dll", "loop") == ["good.dll: loop can't be written: its links lead in a circle"]
    assert said(desk, 255, "good.dll", name) == ["good.dll: %s can't be written: its name is too long" % name]
    assert said(desk, 255, "loop/x.dll", "a.reg") == ["loop/x.dll: %s is no folder" % (desk / "loop")]
    assert said(desk, 255, "good.dll", "good32.dll/a.reg") == [
        "good.dll: good32.dll/a.reg can't be written: %s is no folder" % (desk / "good32.dll")
    ]
    assert said(desk, 255, "good.dll", name + "/a.reg") == [
        "good.dll: %s/a.reg can't be written: there is no folder %s" % (name, desk / name)
    ]


def in_namespace(mount, desk, *words):
    """The lines of a run for which `mount` has been done, and 255 as its status."""
    private = ["unshare", "-m"] if os.geteuid() == 0 else ["unshare", "-rm"]
    script = mount + ' && cd "$1" && shift && exec "$@"'
    result = run(*private, "bash", "-ec", script, "bash", desk, KEYREAP, "extreg", *words)
    assert (result.returncode, result.stdout) == (255, ""), result.stderr
    return [line.removeprefix("keyreap: ") for line in result.stderr.splitlines()]


def test_a_write_protected_output_folder_is_named(desk):
    (desk / "out").mkdir()
    lines = in_namespace('mount -t tmpfs -o ro none "$1/out"', desk, "good.dll", "out/a.reg", "keyRedir")
    assert lines == ["good.dll: out/a.reg can't be written: its folder %s is write-protected" % (desk / "out")]


@pytest.mark.parametrize("fill", [0, 4096])
def test_a_full_disk_is_named(desk, fill):
    (desk / "out").mkdir()
    name = sample(desk, "everytype.dll")
    mount = 'mount -t tmpfs -o size=4k none "$1/out" && head -c %d /dev/zero >"$1/out/fill"' % fill
    mount = mount if fill else 'mount -t tmpfs -o size=4k none "$1/out"'
    lines = in_namespace(mount, desk, name, "out/a.reg", "good.dll", "b.reg", "keyRedir")
    assert lines == [
        "%s: out/a.reg can't be written: no space is left in %s" % (name, desk / "out"),
        "good.dll: skipped, since %s failed" % name,
    ]


# Which pair it was


def test_later_pairs_are_named_as_skipped_in_the_programs_order(desk):
    # The 64-bit images come first. A file of an earlier run doesn't count as written.
    (desk / "d.reg").write_text("of another run")
    words = ["good32.dll", "a.reg", "good.dll", "b.reg", "none.dll", "c.reg", "good32.dll", "d.reg"]
    assert said(desk, 255, *words, "keyRedir") == [
        "none.dll: there is no such file",
        "good32.dll: skipped, since none.dll failed",
    ]
    assert (desk / "a.reg").exists() and (desk / "b.reg").exists()
    name = sample(desk, "orphan.dll")
    lines = said(desk, 255, "good32.dll", "a.reg", name, "b.reg", "good.dll", "c.reg", "keyRedir")
    assert [line.split(":")[0] for line in lines] == ["good32.dll", name, "good.dll"]
    assert lines[0] == "good32.dll: skipped, since %s failed" % name
    assert lines[2] == "good.dll: skipped, since %s failed" % name


def test_a_crash_has_the_line_of_its_pair(desk):
    name = sample(desk, "faultReadNull.dll")
    assert said(desk, 5, "good.dll", "a.reg", name, "b.reg", "good32.dll", "c.reg", "keyRedir") == [
        name + ": access violation (0xC0000005) in faultReadNull.dll",
        "good32.dll: skipped, since %s failed" % name,
    ]


def test_a_crash_in_the_companion_has_the_line_of_its_pair(desk):
    name = sample(desk, "faultReadNull.dll", "x86")
    assert said(desk, 5, "good32.dll", "a.reg", name, "b.reg", "good.dll", "c.reg", "keyRedir") == [
        name + ": access violation (0xC0000005) in faultReadNull.dll"
    ]


ENDING = """
#include <windows.h>
extern "C" __declspec(dllexport) long __stdcall DllRegisterServer() { ExitProcess(0); }
"""


def test_a_file_that_was_not_written_is_no_success(desk):
    (desk / "ending.cpp").write_text(ENDING)
    command = ["x86_64-w64-mingw32-g++-posix", "-shared", "-static", "ending.cpp", "-o", "ending.dll"]
    subprocess.run(command, cwd=desk, check=True)
    (desk / "b.reg").write_text("of another run")
    assert said(desk, 125, "good.dll", "a.reg", "ending.dll", "b.reg", "good32.dll", "c.reg", "keyRedir") == [
        "ending.dll: b.reg was not written, although the program ended with 0: the server ended its process",
        "good32.dll: skipped, since ending.dll failed",
    ]
    assert (desk / "b.reg").read_text() == "of another run"


# Successes that look like failures


@pytest.mark.parametrize("mode, other", [("keyRedir", "trace"), ("both", "keyRedir"), ("trace", "keyRedir")])
def test_an_empty_capture_is_named_with_the_mode_to_try(desk, mode, other):
    name = sample(desk, "silent.dll")
    assert said(desk, 0, name, "a.reg", mode) == ["%s: a.reg is empty: no value was captured; try the mode %s" % (name, other)]


FLEETING = """
#include <windows.h>
extern "C" __declspec(dllexport) long __stdcall DllRegisterServer() {
    HKEY key;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\\\Fleeting", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    RegSetValueExW(key, L"value", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4);
    RegCloseKey(key);
    return RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"Software\\\\Fleeting");
}
"""


def test_fillers_are_named_with_the_mode_to_try(desk):
    (desk / "fleeting.cpp").write_text(FLEETING)
    command = ["x86_64-w64-mingw32-g++-posix", "-shared", "-static", "fleeting.cpp", "-o", "fleeting.dll"]
    subprocess.run(command, cwd=desk, check=True)
    assert said(desk, 0, "fleeting.dll", "a.reg", "trace") == [
        "fleeting.dll: a.reg has fillers (ten characters U+5555) for 1 value that could not be read again; try the mode keyRedir"
    ]


def remarks(desk, mode, *lines):
    """What is remarked about a result with these lines."""
    text = "\r\n".join(["\ufeffWindows Registry Editor Version 5.00", "", *lines, ""])
    (desk / "a.reg").write_bytes(text.encode("utf-16-le"))
    check = ROOT / "build" / "tools" / "capturecheck"
    result = run(check, "report", "plain", 1, "native -", "extreg", "good.dll", "a.reg", mode, 0, cwd=desk)
    records = result.stdout.split("\0")
    return [text for kind, text in zip(records[::2], records[1::2]) if kind == "say"]


TREE = "Software\\Velmoro\\Tesselink\\Temporary"
ACCOUNT = "[HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\%s]"
OF_AN_ACCOUNT = "has keys of an account whose registry a trace doesn't know"


def test_names_of_the_temporary_tree_are_named_with_the_mode_to_try(desk):
    said = ["good.dll: a.reg names the temporary tree of the capture; try the mode keyRedir"]
    assert remarks(desk, "both", "[HKEY_CURRENT_USER\\%s\\HKCR]" % TREE, "@=1") == said
    assert remarks(desk, "both", "[HKEY_CURRENT_USER\\%s]" % TREE, "@=1") == said
    assert remarks(desk, "both", "[HKEY_CLASSES_ROOT\\K]", '@="%s\\\\HKLM"' % TREE.replace("\\", "\\\\")) == said


def test_keys_of_an_account_that_a_trace_does_not_know_are_named_with_the_mode_to_try(desk):
    said = ["good.dll: a.reg %s; try the mode keyRedir" % OF_AN_ACCOUNT]
    assert remarks(desk, "trace", "[HKEY_CLASSES_ROOT\\K]", "@=1", "", ACCOUNT % "Software\\K") == said


def test_all_signs_of_a_result_are_in_one_remark(desk):
    said = ["good.dll: a.reg %s; it has fillers (ten characters U+5555) for 1 value that could not be read again; try the mode keyRedir"]
    assert remarks(desk, "both", ACCOUNT % (TREE + "\\HKCR\\K"), '@="%s"' % ("\u5555" * 10)) == [said[0] % OF_AN_ACCOUNT]


# Words


def test_help_is_the_usage():
    for word in ("--help", "-h"):
        result = run(KEYREAP, word)
        assert (result.returncode, result.stdout, result.stderr) == (0, "", "keyreap: %s\n" % USAGE)


def test_no_words_are_the_usage_too():
    result = run(KEYREAP)
    assert (result.returncode, result.stdout, result.stderr) == (255, "", "keyreap: %s\n" % USAGE)


@pytest.mark.parametrize("verb", ["EXTREG", "--version", "capture"])
def test_another_verb_is_named(desk, verb):
    lines = said(desk, 0, "good.dll", "a.reg", verb=verb)
    assert lines[0].startswith(verb + ": nothing was done") and lines[1:] == [USAGE]


@pytest.mark.parametrize("words", [[], ["keyRedir"], ["good.dll"]])
def test_words_without_a_pair_are_named(desk, words):
    lines = said(desk, 0, *words)
    assert lines[0].startswith("%s: nothing was done" % (words or ["extreg"])[0]) and lines[1:] == [USAGE]


def test_an_unknown_mode_is_named_with_what_it_was_taken_for(desk):
    assert said(desk, 0, "good.dll", "a.reg", "keyredirect") == [
        "keyredirect: taken for a mode, but the modes are keyRedir, trace or both; the mode is both",
        USAGE,
    ]


def test_a_pair_cut_short_is_named(desk):
    lines = said(desk, 0, "good.dll", "a.reg", "good32.dll")
    assert lines[0].startswith("good32.dll: left out, since no file to write comes after it") and lines[1:] == [USAGE]


def test_an_output_named_like_a_mode_is_named(desk):
    assert said(desk, 0, "good.dll", "keyRedir") == ["keyRedir: taken for the file to write for good.dll, not for a mode", USAGE]


def test_a_word_that_begins_with_a_dash_is_named(desk):
    lines = said(desk, 0, "good.dll", "-o", "keyRedir")
    assert lines == ["-o: taken for a file, since there are no options", USAGE]
