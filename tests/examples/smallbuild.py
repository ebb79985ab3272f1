"""A small project with two libraries that captures them by cmake/Keyreap.cmake, and scripts in the place of the commands
that it runs."""

import subprocess
from pathlib import Path

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

# Replaces keykit. A check records its arguments, writes a check file and runs the script `check`. Any other verb records its
# arguments, writes itself into the file after -o or prints itself, and runs the script `kit`.
KIT = """#!/bin/bash
cd "$(dirname -- "$0")"
if [[ $1 == check ]]; then
    echo "$*" >>checked
    echo "$3" >"${3%.reg}.check.json"
    . ./check
    exit
fi
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
        (folder / "check").write_text("")
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
