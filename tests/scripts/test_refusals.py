"""What ./keyreap refuses before Wine starts, with 125 and one sentence: arguments that Windows would resolve to a
different file, files that a run would destroy, and a place in which no run can begin."""

import os
import re
import shutil
import signal
import socket
import subprocess

import pytest
from conftest import ROOT, processes_of, run, until, windows

KEYREAP = ROOT / "keyreap"
SAMPLES = ROOT / "build" / "samples"


@pytest.fixture(scope="module", autouse=True)
def set_up():
    assert run(KEYREAP, "extreg").returncode == 0


@pytest.fixture
def desk(tmp_path):
    """A folder with two servers."""
    folder = tmp_path / "desk"
    folder.mkdir()
    shutil.copyfile(SAMPLES / "x64" / "plain.dll", folder / "a.dll")
    shutil.copyfile(SAMPLES / "x86" / "plain.dll", folder / "b.dll")
    return folder


def listing(folder):
    return {entry.name: entry.lstat().st_mtime_ns for entry in folder.iterdir()}


def assert_refused(desk, named, *words, **options):
    """The arguments are refused in one sentence that begins with the argument `named`."""
    before = listing(desk)
    pool = desk.parent / "pool"
    environment = dict(os.environ, KEYREAP_POOL=str(pool), **options)
    command = [os.fsencode(word) for word in (KEYREAP, "extreg", *words, "keyRedir")]
    result = subprocess.run(command, cwd=desk, env=environment, stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
    said = result.stderr.decode().splitlines()
    assert (result.returncode, result.stdout, len(said)) == (125, b"", 1), said
    assert said[0].startswith("keyreap: %s: " % named), said
    assert listing(desk) == before
    assert not pool.exists(), "a session was begun"


@pytest.mark.parametrize("name", ["aux.reg", "AUX.reg", "nul", "con", "Com1.x", "lpt9.reg", "prn .reg", "conout$", "com¹"])
def test_an_output_named_like_a_device_is_refused(desk, name):
    assert_refused(desk, name, "a.dll", name)
    assert_refused(desk, windows(desk / name), "a.dll", windows(desk / name))


def test_an_input_named_like_a_device_is_refused(desk):
    (desk / "a.dll").rename(desk / "aux.dll")
    assert_refused(desk, "aux.dll", "aux.dll", "a.reg")


@pytest.mark.parametrize("name", ["old.reg.", "old.reg ", "old.reg. .", "new."])
def test_an_output_that_ends_in_a_dot_or_blank_is_refused(desk, name):
    (desk / "old.reg").write_text("of another run")
    assert_refused(desk, name, "a.dll", name)


def test_an_input_that_ends_in_a_dot_is_refused(desk):
    shutil.copyfile(desk / "b.dll", desk / "a.dll.")
    assert_refused(desk, "a.dll.", "a.dll.", "a.reg")


@pytest.mark.parametrize("there, name", [("out.reg", "OUT.reg"), ("ÄÖ.reg", "äö.reg")])
def test_an_output_that_differs_only_by_case_is_refused(desk, there, name):
    (desk / there).write_text("of another run")
    assert_refused(desk, name, "a.dll", name)
    assert_refused(desk, windows(desk / name), "a.dll", windows(desk / name))


def test_a_folder_that_differs_only_by_case_is_refused(desk):
    (desk / "out").mkdir()
    assert_refused(desk, "OUT/a.reg", "a.dll", "OUT/a.reg")


def test_an_input_that_differs_only_by_case_is_refused(desk):
    assert_refused(desk, "A.dll", "A.dll", "a.reg")


def test_bytes_that_are_no_utf8_are_refused(desk):
    assert_refused(desk, "caf\\xe9.reg", "a.dll", b"caf\xe9.reg")
    assert_refused(desk, "caf\\xe9.dll", b"caf\xe9.dll", "a.reg")


@pytest.mark.parametrize("name", ["/dev/stdout", "/dev/stderr", "/dev/fd/1", "/proc/self/fd/2", "Z:\\dev\\stdout", "stream"])
def test_a_descriptor_of_the_caller_is_refused(desk, name):
    (desk / "stream").symlink_to("/dev/stdout")
    assert_refused(desk, name, "a.dll", name)
    assert_refused(desk, "/dev/stdin", "/dev/stdin", "a.reg")


@pytest.mark.parametrize("name", ["/proc/self/cwd/a.reg", "/proc/self/root/x.reg", "/proc/thread-self/cwd/a.reg", "its/a.reg"])
def test_a_path_into_the_callers_own_process_is_refused(desk, name):
    (desk / "its").symlink_to("/proc/self/cwd")
    assert_refused(desk, name, "a.dll", name)


def test_devices_and_pipes_are_refused(desk):
    os.mkfifo(desk / "pipe")
    with socket.socket(socket.AF_UNIX) as end:
        end.bind(str(desk / "socket"))
    for name in ("pipe", "socket", "/dev/null"):
        assert_refused(desk, name, "a.dll", name)
        assert_refused(desk, name, name, "a.reg")


def spellings(file):
    """Other names of a file."""
    (file.parent / "soft").symlink_to(file.name)
    os.link(file, file.parent / "hard")
    (file.parent / "there").symlink_to(".")
    whole = windows(file)
    return [
        *(file.name, "./" + file.name, "../desk/" + file.name, "there/" + file.name, "soft", "hard"),
        *(whole, whole.replace("\\", "/"), "\\\\?\\" + whole, "\\\\.\\" + whole, whole.upper(), whole.lower()),
    ]


@pytest.mark.parametrize("number", range(12))
def test_an_output_that_is_an_input_is_refused_by_any_name(desk, number):
    name = spellings(desk / "b.dll")[number]
    assert_refused(desk, name, "a.dll", name, "b.dll", "b.reg")
    # An argument is missing.
    assert_refused(desk, name, "a.dll", name, "both.reg")


@pytest.mark.parametrize("number", range(12))
def test_one_output_for_two_pairs_is_refused_by_any_name(desk, number):
    (desk / "old.reg").write_text("of another run")
    name = spellings(desk / "old.reg")[number]
    assert_refused(desk, name, "a.dll", "old.reg", "b.dll", name)


@pytest.mark.parametrize("name", ["new.reg", "./new.reg", "NEW.REG", "there/new.reg", "dangling"])
def test_one_output_that_is_not_there_yet_is_refused_for_two_pairs(desk, name):
    (desk / "there").symlink_to(".")
    (desk / "dangling").symlink_to("new.reg")
    assert_refused(desk, name, "a.dll", "new.reg", "b.dll", name)


def test_one_output_on_a_drive_of_the_run_is_refused_for_two_pairs(desk):
    assert_refused(desk, "C:\\x.reg", "a.dll", "C:\\x.reg", "b.dll", "C:\\x.reg")
    assert_refused(desk, "c:\\X.reg", "a.dll", "C:\\x.reg", "b.dll", "c:\\X.reg")


@pytest.mark.parametrize("start", [b"MZ", b"MSFT"])
def test_an_output_that_is_a_program_or_library_is_refused(desk, start):
    (desk / "other").write_bytes(start + bytes(100))
    assert_refused(desk, "other", "a.dll", "other")


@pytest.mark.parametrize("name", ['x" y" ".reg', 'Z:\\x".reg', 'C:\\a"b\\x.reg', "a<b", "a|b", "a*", "ab:c.reg", "a\x1fb"])
def test_a_character_that_no_windows_path_has_is_refused(desk, name):
    assert_refused(desk, name.replace("\x1f", "\\x1f"), "b.dll", name)
    assert_refused(desk, name.replace("\x1f", "\\x1f"), name, "b.reg")


@pytest.mark.parametrize("start", ["\\\\.\\unix", "\\\\?\\unix", "\\\\.\\GLOBALROOT", "\\\\?\\\\\\.\\unix"])
def test_a_device_prefix_without_a_drive_is_refused(desk, start):
    name = start + str(desk / "b.dll").replace("/", "\\")
    assert_refused(desk, name, "a.dll", name)
    assert_refused(desk, name, name, "a.reg")


def test_words_relative_to_a_folder_that_windows_cannot_name_are_refused(desk):
    """Windows would take the folder's name for two."""
    odd = desk / "odd\\name"
    odd.mkdir()
    (desk / "odd" / "name").mkdir(parents=True)
    shutil.copyfile(desk / "a.dll", odd / "a.dll")
    assert_refused(odd, "a.dll", "a.dll", "a.reg")
    assert_refused(odd, "a.reg", desk / "a.dll", "a.reg")


def test_words_relative_to_a_removed_folder_are_refused(desk):
    (desk / "gone").mkdir()
    script = 'cd "$1/gone" && rmdir "$1/gone" && exec "$2" extreg "$1/a.dll" "$3" keyRedir'
    result = run("/bin/bash", "-c", script, "bash", desk, KEYREAP, "lost.reg")
    assert result.returncode == 125
    assert "keyreap: lost.reg: is counted from the current folder, which was removed" in result.stderr
    (desk / "gone").mkdir()
    result = run("/bin/bash", "-c", script, "bash", desk, KEYREAP, desk / "a.reg")
    assert result.returncode == 0 and (desk / "a.reg").exists()


def test_more_words_than_a_command_line_holds_are_refused(desk):
    words = [word for number in range(900) for word in ("b.dll", "a-name-that-is-neither-long-nor-short-%d.reg" % number)]
    assert_refused(desk, "b.dll", *words)


@pytest.mark.parametrize("start", [b"\x7fELF", b"#!/bin/sh\ntouch started\n", b"anything else"])
def test_what_the_host_would_execute_is_refused(desk, start):
    (desk / "program").write_bytes(start)
    (desk / "program").chmod(0o755)
    assert_refused(desk, "program", "program", "a.reg")
    assert not (desk / "started").exists()


@pytest.mark.parametrize("start", [b"\x7fELF", b"#!/bin/sh\n"])
def test_a_program_of_the_host_is_refused_without_the_right_to_execute_it(desk, start):
    (desk / "program.dll").write_bytes(start)
    assert_refused(desk, "program.dll", "program.dll", "a.reg")


def test_batch_files_and_type_libraries_are_left_to_the_program(desk):
    (desk / "x.CMD").write_text("exit 0\n")
    (desk / "x.CMD").chmod(0o755)
    shutil.copyfile(SAMPLES / "x64" / "second.tlb", desk / "x.tlb")
    (desk / "x.tlb").chmod(0o755)
    assert run(KEYREAP, "extreg", "x.tlb", "x.reg", cwd=desk).returncode == 0
    assert run(KEYREAP, "extreg", "x.CMD", "y.reg", cwd=desk).returncode != 125


# Places in which no run can begin


def one_sentence(result):
    assert (result.returncode, result.stdout, len(result.stderr.splitlines())) == (125, "", 1), result.stderr
    return result.stderr


@pytest.mark.parametrize("size", ["0", "-1", "many", "1.5", "99999999999999999999"])
def test_a_pool_without_prefixes_is_named(desk, size):
    result = run(KEYREAP, "extreg", "a.dll", "a.reg", cwd=desk, env=dict(os.environ, KEYREAP_POOL_SIZE=size))
    assert "KEYREAP_POOL_SIZE is '%s'" % size in one_sentence(result)


@pytest.mark.parametrize("limit", [20, 64, 200])
def test_few_descriptors_are_enough_or_named(desk, limit):
    script = 'ulimit -n %d && "$1" extreg a.dll a.reg keyRedir' % limit
    result = run("/bin/bash", "-c", script, "bash", KEYREAP, cwd=desk)
    if result.returncode != 0:
        assert "files can be open at once" in one_sentence(result)


def test_a_low_limit_that_may_be_raised_is_raised(desk):
    result = run("/bin/bash", "-c", 'ulimit -S -n 64 && "$1" extreg a.dll a.reg keyRedir', "bash", KEYREAP, cwd=desk)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


@pytest.mark.parametrize("path", ["", "/nowhere", None])
def test_a_path_without_the_standard_folders_is_enough(desk, path):
    environment = {name: value for name, value in os.environ.items() if name != "PATH"}
    if path is not None:
        environment["PATH"] = path
    result = run(KEYREAP, "extreg", "a.dll", "a.reg", "keyRedir", cwd=desk, env=environment)
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


@pytest.mark.parametrize("number", [signal.SIGQUIT, signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_signal_ends_the_run_and_all_that_it_started(ready_tree, number):
    process = ready_tree.start("wait")
    prefix = ready_tree.build / "wine" / "pool" / "1"
    until(lambda: len(processes_of(prefix)) > 3)
    process.send_signal(number)
    said, complaint = process.communicate(timeout=60)
    assert (complaint, said, process.returncode) == ("", "", -number)
    assert processes_of(prefix) == []


def test_the_usage_names_what_a_refused_word_is_not():
    assert re.search(r"extreg FILE OUT\.reg", run(KEYREAP).stderr)
