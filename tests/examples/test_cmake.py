"""cmake/Keyreap.cmake: the .reg file of a server is built with the server. A small script replaces the command that
captures, so that the tests see its arguments and choose its status; the walk of the examples uses the real command."""

import os
import shutil
import subprocess

import pytest
from smallbuild import COMMAND, ROOT, project


def test_a_whole_build_creates_the_reg_file(tmp_path):
    made = project(tmp_path)
    assert made.make().returncode == 0
    assert (made.build / "one.reg").read_bytes().startswith(b"\xff\xfeW\0")
    assert made.asked() == ["extreg %s/libone.so %s/one.reg.part/one.reg both" % (made.build, made.build)]


def test_mode_and_output_can_be_chosen(tmp_path):
    made = project(tmp_path, "keyreap_capture(one MODE keyRedir OUTPUT ${CMAKE_SOURCE_DIR}/data/here.reg)")
    (tmp_path / "data").mkdir()
    assert made.make("one_reg").returncode == 0
    assert (tmp_path / "data" / "here.reg").exists()
    assert made.asked()[0].endswith("/data/here.reg.part/here.reg keyRedir")


def test_the_path_of_the_output_is_a_property_of_the_target(tmp_path):
    lines = [
        "keyreap_capture(one)",
        "get_target_property(file one KEYREAP_REG_FILE)",
        "file(WRITE ${CMAKE_SOURCE_DIR}/place ${file})",
    ]
    made = project(tmp_path, "\n".join(lines))
    assert made.make().returncode == 0
    assert (tmp_path / "place").read_text() == str(made.build / "one.reg")


def test_a_server_is_captured_again_only_when_it_changed(tmp_path):
    made = project(tmp_path, "keyreap_capture(one)\nkeyreap_capture(two)")
    assert made.make().returncode == 0
    assert made.make().returncode == 0
    assert len(made.asked()) == 2
    made.touch("two.cpp")
    assert made.make().returncode == 0
    assert len(made.asked()) == 3
    assert "libtwo" in made.asked()[2]


def test_a_server_is_captured_again_when_a_file_it_depends_on_changed(tmp_path):
    (tmp_path / "server.tlb").write_text("library")
    made = project(tmp_path, "keyreap_capture(one DEPENDS ${CMAKE_SOURCE_DIR}/server.tlb)")
    assert made.make().returncode == 0
    os.utime(tmp_path / "server.tlb")
    assert made.make().returncode == 0
    assert len(made.asked()) == 2


def test_a_failed_capture_fails_the_build_and_leaves_no_file(tmp_path):
    made = project(tmp_path)
    assert made.make().returncode == 0
    (tmp_path / "act").write_text("exit 255")
    made.touch("one.cpp")
    result = made.make()
    assert result.returncode != 0
    assert "ended with 255" in result.stdout
    assert list(made.build.glob("one.reg*")) == []
    (tmp_path / "act").write_text("")
    assert made.make().returncode == 0
    assert (made.build / "one.reg").exists()


def test_the_reason_of_a_failed_capture_is_shown(tmp_path):
    made = project(tmp_path)
    (tmp_path / "act").write_text("echo 'keyreap: one.dll: it is a folder' >&2; exit 255")
    result = made.make()
    assert result.returncode != 0
    assert "ended with 255" in result.stdout and "keyreap: one.dll: it is a folder" in result.stdout


def test_a_long_reason_stays_one_line(tmp_path):
    made = project(tmp_path)
    reason = "keyreap: %s/one.dll: needs foo.dll, which is nowhere; wanted by one.dll" % (12 * "/a folder")
    (tmp_path / "act").write_text("echo '%s' >&2; exit 255" % reason)
    result = made.make()
    assert result.returncode != 0
    assert reason in result.stdout.splitlines()


def test_a_remark_about_a_capture_is_shown(tmp_path):
    made = project(tmp_path)
    (tmp_path / "act").write_text("echo 'keyreap: one.dll: a remark' >&2")
    result = made.make()
    assert result.returncode == 0
    assert "keyreap: one.dll: a remark" in result.stdout


FILLER = '[HKEY_CLASSES_ROOT\\Small]\r\n@="x"\r\n"y"="%s"' % (10 * "\u5555")


def test_fillers_fail_the_build(tmp_path):
    made = project(tmp_path)
    (tmp_path / "key").write_text(FILLER)
    result = made.make()
    assert result.returncode != 0
    assert "fillers" in result.stdout
    assert list(made.build.glob("one.reg*")) == []


def test_fillers_pass_if_they_are_allowed(tmp_path):
    made = project(tmp_path, "keyreap_capture(one ALLOW_FILLERS)")
    (tmp_path / "key").write_text(FILLER)
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert (made.build / "one.reg").exists()


STRAY = {
    "of the temporary tree": ("[HKEY_CURRENT_USER\\SOFTWARE\\Velmoro\\Tesselink\\Temporary\\HKCR]", "the temporary tree"),
    "with a text": ('"y"="software\\\\velmoro\\\\tesselink\\\\temporary\\\\HKLM"', "the temporary tree"),
    "of an account": ("[HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\Small]", "an account whose registry"),
    "without a root": ("[UNKNOWN!!Small]", "an account whose registry"),
}


@pytest.mark.parametrize("line, reason", STRAY.values(), ids=STRAY.keys())
@pytest.mark.parametrize("option", ["", "ALLOW_FILLERS"])
def test_a_capture_with_names_that_no_server_meant_fails_the_build(tmp_path, line, reason, option):
    made = project(tmp_path, "keyreap_capture(one %s)" % option)
    (tmp_path / "key").write_text('[HKEY_CLASSES_ROOT\\Small]\r\n@="x"\r\n%s\r\n@="y"' % line)
    result = made.make()
    assert result.returncode != 0
    assert reason in " ".join(result.stdout.split())
    assert list(made.build.glob("one.reg*")) == []


def test_names_that_only_resemble_those_are_captured(tmp_path):
    made = project(tmp_path)
    keys = ["HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary files", "HKEY_USERS\\S-1-12-1-1-2-3-4\\Software"]
    (tmp_path / "key").write_text("\r\n\r\n".join('[%s]\r\n@="x"' % key for key in keys))
    result = made.make()
    assert result.returncode == 0, result.stdout


@pytest.mark.parametrize("key", ["", "[HKEY_LOCAL_MACHINE\\Software]"])
def test_a_capture_without_values_fails_the_build(tmp_path, key):
    made = project(tmp_path)
    (tmp_path / "key").write_text(key)
    result = made.make()
    assert result.returncode != 0
    assert "found no value" in result.stdout
    assert list(made.build.glob("one.reg*")) == []


def test_captures_run_in_parallel(tmp_path):
    """Each capture waits for the other one. One after the other they would wait until the time limit."""
    made = project(tmp_path, "keyreap_capture(one)\nkeyreap_capture(two)")
    (tmp_path / "act").write_text("""
        touch "came.$(basename "$2")"
        for i in {1..600}; do
            [[ -e came.libone.so && -e came.libtwo.so ]] && exit 0
            sleep 0.1
        done
        exit 1
    """)
    result = made.make("-j2")
    assert result.returncode == 0, result.stdout


def test_captures_of_a_windows_build_wait_for_each_other(tmp_path):
    """The variable CMAKE_HOST_WIN32 makes the step behave as on Windows. Each capture fails if another one runs."""
    (tmp_path / "keyreap").write_text(COMMAND)
    (tmp_path / "keyreap").chmod(0o755)
    (tmp_path / "key").write_text("@=1")
    (tmp_path / "act").write_text("mkdir alone && sleep 0.5 && rmdir alone")
    environment = dict(os.environ, TEMP=str(tmp_path))

    def step(name):
        values = {
            "CMAKE_HOST_WIN32": "1",
            "COMMAND": tmp_path / "keyreap",
            "SERVER": "x",
            "OUTPUT": tmp_path / name,
            "MODE": "both",
        }
        words = [word for value in values.items() for word in ("-D", "%s=%s" % value)]
        return subprocess.Popen(["cmake", *words, "-P", ROOT / "cmake" / "KeyreapCapture.cmake"], env=environment)

    steps = [step("%d.reg" % number) for number in range(3)]
    assert [process.wait() for process in steps] == [0, 0, 0]


@pytest.mark.parametrize("words, reason", [("MODE live", "no mode live"), ("MOOD both", "unknown words")])
def test_unknown_words_are_refused(tmp_path, words, reason):
    result = project(tmp_path, "keyreap_capture(one %s)" % words).configure()
    assert result.returncode != 0
    assert reason in result.stderr


def test_the_command_of_this_tree_is_found(tmp_path):
    made = project(tmp_path)
    words = ["cmake", "-S", tmp_path, "-B", made.build, "-G", "Ninja"]
    assert subprocess.run(words, capture_output=True).returncode == 0
    cache = (made.build / "CMakeCache.txt").read_text()
    assert "KEYREAP_COMMAND:FILEPATH=%s/keyreap" % ROOT in cache.replace("/cmake/..", "")


ASKING = """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES NONE)
find_package(Keyreap %s)
message(STATUS "found: ${Keyreap_FOUND}")
include(${Keyreap_DIR}/Keyreap.cmake)
message(STATUS "included")
"""


@pytest.fixture
def without_command(tmp_path):
    """The CMake files where there is no command beside them: those of the unpacked zip on Linux."""
    shutil.copytree(ROOT / "cmake", tmp_path / "Keyreap" / "cmake")
    return tmp_path / "Keyreap" / "cmake"


def asked_for(folder, words, *options):
    (folder / "CMakeLists.txt").write_text(ASKING % words)
    command = ["cmake", "-S", folder, "-B", folder / "build", "-G", "Ninja", *options]
    return subprocess.run(command, capture_output=True, text=True)


def test_without_a_command_the_package_counts_as_not_found(tmp_path, without_command):
    result = asked_for(tmp_path, "", "-D", "Keyreap_DIR=%s" % without_command)
    assert "found: 0" in result.stdout and "included" not in result.stdout
    reason = "there is no command that captures in %s/..; KEYREAP_COMMAND names another one" % without_command
    words = " ".join(result.stderr.split())
    assert reason in words


def test_without_a_command_a_required_package_fails_the_configuration(tmp_path, without_command):
    result = asked_for(tmp_path, "REQUIRED", "-D", "Keyreap_DIR=%s" % without_command)
    assert result.returncode != 0 and "found:" not in result.stdout
    assert "there is no command that captures" in " ".join(result.stderr.split())


def test_the_package_of_this_tree_has_its_command(tmp_path):
    result = asked_for(tmp_path, "REQUIRED HINTS %s/cmake" % ROOT)
    assert result.returncode == 0, result.stderr
    assert "found: 1" in result.stdout
    assert "KEYREAP_COMMAND:FILEPATH=%s/keyreap" % ROOT in (tmp_path / "build" / "CMakeCache.txt").read_text().replace("/cmake/..", "")
