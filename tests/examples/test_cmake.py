"""cmake/Keyreap.cmake: the .reg file of a server is built with the server. A small script replaces the command that
captures, so that the tests see its arguments and choose its status; the walk of the examples uses the real command."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(Small LANGUAGES CXX)
include(%s/cmake/Keyreap.cmake)
foreach(name one two)
  add_library(${name} SHARED ${name}.cpp)
endforeach()
%s
"""

# Records its arguments, writes a .reg file with the text of the file `key`, and runs the script `act` in its folder.
COMMAND = """#!/bin/bash
cd "$(dirname -- "$0")"
echo "$*" >>asked
printf '%s\\r\\n' 'Windows Registry Editor Version 5.00' '' '[HKEY_CLASSES_ROOT]' '' "$(<key)" |
    iconv -f UTF-8 -t UTF-16 >"$3"
. ./act
"""


# Stands for keykit: records its arguments, writes its verb into the file after -o or prints it, and runs the script `kit`.
KIT = """#!/bin/bash
cd "$(dirname -- "$0")"
echo "$*" >>kitted
if [[ "${@: -2:1}" == -o ]]; then echo "$1" >"${@: -1}"; else echo "$1"; fi
. ./kit
"""

PRODUCT = "b29a312e-eb83-43bc-a846-e0c0563b8801"


class Project:
    def __init__(self, folder, lines):
        self.folder = folder
        self.build = folder / "build"
        self.command = folder / "keyreap"
        (folder / "CMakeLists.txt").write_text(PROJECT % (ROOT, lines))
        (folder / "one.cpp").write_text("int one() { return 1; }\n")
        (folder / "two.cpp").write_text("int two() { return 2; }\n")
        (folder / "act").write_text("")
        (folder / "key").write_text("[HKEY_CLASSES_ROOT\\Small]\r\n@=\"x\"")
        (folder / "kit").write_text("")
        for command, text in ((self.command, COMMAND), (folder / "keykit", KIT)):
            command.write_text(text)
            command.chmod(0o755)

    def configure(self, *options):
        commands = ["-D", "KEYREAP_COMMAND=%s" % self.command, "-D", "KEYKIT_COMMAND=%s/keykit" % self.folder]
        commands += ["-D", "CMAKE_CXX_COMPILER_FORCED=ON"]  # it works, and finding that out takes most of the time
        words = ["cmake", "-S", self.folder, "-B", self.build, "-G", "Ninja", *commands, *options]
        return subprocess.run(words, capture_output=True, text=True)

    def make(self, *words):
        if not self.build.exists():
            configured = self.configure()
            assert configured.returncode == 0, configured.stderr
        return subprocess.run(["ninja", "-C", self.build, *words], capture_output=True, text=True)

    def asked(self, name="asked"):
        file = self.folder / name
        return file.read_text().splitlines() if file.exists() else []

    def touch(self, name):
        (self.folder / name).write_text((self.folder / name).read_text().replace("return ", "return 1 + "))


def project(folder, lines="keyreap_capture(one)"):
    return Project(folder, lines)


def test_a_whole_build_creates_the_reg_file(tmp_path):
    made = project(tmp_path)
    assert made.make().returncode == 0
    assert (made.build / "one.reg").read_bytes().startswith(b"\xff\xfeW\0")
    assert made.asked() == ["extreg %s/libone.so %s/one.reg.part both" % (made.build, made.build)]


def test_mode_and_output_can_be_chosen(tmp_path):
    made = project(tmp_path, "keyreap_capture(one MODE keyRedir OUTPUT ${CMAKE_SOURCE_DIR}/data/here.reg)")
    (tmp_path / "data").mkdir()
    assert made.make("one_reg").returncode == 0
    assert (tmp_path / "data" / "here.reg").exists()
    assert made.asked()[0].endswith("/data/here.reg.part keyRedir")


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


# What keykit makes of a capture

ENDINGS = {"wix": "wxs", "wix3": "wix3.wxs", "wixl": "wxi", "nsis": "nsh", "inno": "iss", "reg": "installer.reg", "json": "json"}


def test_each_kind_of_installer_gets_a_file_beside_the_capture(tmp_path):
    made = project(tmp_path, "keyreap_capture(one EMIT %s PRODUCT %s)" % (" ".join(ENDINGS), PRODUCT))
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert all((made.build / ("one." + ending)).read_text() == "emit\n" for ending in ENDINGS.values())
    words = "emit %s {0}/one.reg --product %s --server {0}/libone.so -o {0}/one.%s.part/one.%s"
    expected = [(words % (kind, PRODUCT, ending, ending)).format(made.build) for kind, ending in ENDINGS.items()]
    assert sorted(made.asked("kitted")) == sorted(expected)


def test_the_servers_folder_has_a_name_for_a_kind(tmp_path):
    lines = 'keyreap_capture(one EMIT wix nsis PRODUCT %s DIRECTORY "nsis=$INSTDIR\\\\x64" wix3=OTHER)' % PRODUCT
    made = project(tmp_path, lines)
    assert made.make().returncode == 0
    wix, nsis = sorted(made.asked("kitted"), key=lambda words: "nsis" in words)
    assert "--directory" not in wix and "--directory $INSTDIR\\x64 -o" in nsis


def test_another_folder_has_a_name_for_a_kind_and_the_product_a_scope(tmp_path):
    words = 'SCOPE user REPLACE "wix=C:\\\\windows=WindowsFolder" "wix=C:\\\\data=DATA" "nsis=C:\\\\windows=$WINDIR"'
    made = project(tmp_path, "keyreap_capture(one EMIT wix nsis PRODUCT %s %s)" % (PRODUCT, words))
    assert made.make().returncode == 0
    wix, nsis = sorted(made.asked("kitted"), key=lambda words: "nsis" in words)
    assert "--scope user --replace C:\\windows=WindowsFolder --replace C:\\data=DATA -o" in wix
    assert "--scope user --replace C:\\windows=$WINDIR -o" in nsis


def test_a_manifest_and_the_findings_are_files_beside_the_capture(tmp_path):
    made = project(tmp_path, "keyreap_capture(one MANIFEST LINT OUTPUT there.reg)")
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert ((made.build / "there.classes.manifest").read_text(), (made.build / "there.lint").read_text()) == ("manifest\n", "lint\n")
    words = "{0}/there.reg --server {0}/libone.so".format(made.build)
    assert sorted(made.asked("kitted")) == ["lint %s" % words, "manifest %s -o %s/there.classes.manifest.part/there.classes.manifest" % (words, made.build)]


def test_the_paths_of_the_files_are_a_property_of_the_target(tmp_path):
    lines = ["keyreap_capture(one EMIT wix PRODUCT %s LINT)" % PRODUCT, "get_target_property(files one KEYREAP_KIT_FILES)"]
    made = project(tmp_path, "\n".join([*lines, 'file(WRITE ${CMAKE_SOURCE_DIR}/places "${files}")']))
    assert made.make("one_kit").returncode == 0
    assert (tmp_path / "places").read_text() == "{0}/one.wxs;{0}/one.lint".format(made.build)


def test_the_files_are_made_again_only_when_the_capture_changed(tmp_path):
    made = project(tmp_path, "keyreap_capture(one EMIT wix PRODUCT %s MANIFEST LINT)" % PRODUCT)
    assert made.make().returncode == 0 and made.make().returncode == 0
    assert len(made.asked("kitted")) == 3
    made.touch("one.cpp")
    assert made.make().returncode == 0
    assert len(made.asked("kitted")) == 6


def test_an_entry_that_an_installer_does_not_get_fails_the_build_and_leaves_no_file(tmp_path):
    made = project(tmp_path, "keyreap_capture(one EMIT wix PRODUCT %s)" % PRODUCT)
    (tmp_path / "kit").write_text("echo 'keykit: one.reg:4: HKEY_CLASSES_ROOT: is in a root itself' >&2; exit 1")
    result = made.make()
    assert result.returncode != 0
    assert "keykit: one.reg:4: HKEY_CLASSES_ROOT: is in a root itself" in result.stdout.splitlines()
    assert "keykit emit ended with 1" in " ".join(result.stdout.split())
    assert list(made.build.glob("one.wxs*")) == []


@pytest.mark.parametrize("option, name", [("MANIFEST", "one.classes.manifest"), ("LINT", "one.lint")])
def test_a_finding_is_shown_and_fails_no_build(tmp_path, option, name):
    made = project(tmp_path, "keyreap_capture(one %s)" % option)
    (tmp_path / "kit").write_text("echo 'a remark' >&2; exit 1")
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert "a remark" in result.stdout and (made.build / name).exists()


@pytest.mark.parametrize("act", ["exit 2", "kill -9 $$"])
@pytest.mark.parametrize("option", ["MANIFEST", "LINT"])
def test_a_keykit_that_fails_fails_the_build_and_leaves_no_file(tmp_path, option, act):
    made = project(tmp_path, "keyreap_capture(one %s)" % option)
    (tmp_path / "kit").write_text(act)
    assert made.make().returncode != 0
    assert list(made.build.glob("one.%s*" % option.lower())) == []


def test_what_lint_prints_is_shown(tmp_path):
    made = project(tmp_path, "keyreap_capture(one LINT)")
    (tmp_path / "kit").write_text("echo 'one.reg: K007 CLSID: a finding'; exit 1")
    result = made.make()
    assert "one.reg: K007 CLSID: a finding" in result.stdout.splitlines()
    assert "K007" in (made.build / "one.lint").read_text()


REFUSED = {
    "EMIT wix": "EMIT needs PRODUCT",
    "EMIT msix PRODUCT %s" % PRODUCT: "there is no kind msix",
    "PRODUCT %s" % PRODUCT: "are for EMIT",
    "LINT DIRECTORY wix=X": "are for EMIT",
}


@pytest.mark.parametrize("words", REFUSED)
def test_words_of_keykit_that_say_nothing_are_refused(tmp_path, words):
    result = project(tmp_path, "keyreap_capture(one %s)" % words).configure()
    assert result.returncode != 0
    assert REFUSED[words] in " ".join(result.stderr.split())


def test_without_keykit_its_words_are_refused(tmp_path):
    result = project(tmp_path, "keyreap_capture(one LINT)").configure("-D", "KEYKIT_COMMAND=")
    assert result.returncode != 0
    assert "there is no keykit" in result.stderr
    assert project(tmp_path, "keyreap_capture(one)").configure("-D", "KEYKIT_COMMAND=").returncode == 0


def test_the_keykit_of_this_tree_makes_parts_of_installers(tmp_path):
    """A library for Windows, and keykit itself; the capture is made up."""
    made = project(tmp_path, "keyreap_capture(one EMIT wix nsis PRODUCT %s)" % PRODUCT)
    path = "Z:%s" % str(made.build / "libone.dll").replace("/", "\\")
    (tmp_path / "key").write_text('[HKEY_CLASSES_ROOT\\Small]\r\n@="%s"' % path.replace("\\", "\\\\"))
    subprocess.run([ROOT / "keykit", "--help"], check=True, capture_output=True)
    options = ["CMAKE_TOOLCHAIN_FILE=%s/cmake/mingw.cmake" % ROOT, "KEYREAP_TARGET=x86_64", "KEYKIT_COMMAND=%s/keykit" % ROOT]
    configured = made.configure(*(word for option in options for word in ("-D", option)))
    assert configured.returncode == 0, configured.stderr
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert 'Value="[#libone.dll]" KeyPath="yes"' in (made.build / "one.wxs").read_text()
    assert '"$INSTDIR\\libone.dll"' in (made.build / "one.nsh").read_text()
