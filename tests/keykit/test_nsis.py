"""keykit emit nsis: what the compiler makes of texts that have a meaning in a script, and of data that are too long for it."""

import os
import subprocess

import pytest

KEY = "HKEY_CLASSES_ROOT\\KeyreapRoad"
PATH = r'@="Z:\\build\\bin\\server.dll"'

# The script has a symbol and the environment a variable of these names.
WITH_DOLLARS = ["x ${PRODUCT} c", "$${PRODUCT}", "$$${PRODUCT}", "${NSISDIR}", "$%ROAD%", "$$%ROAD%", "$\\n", "$\\r$\\t$", "$$\\n", '$"x', "$(^Name)",
                "$INSTDIR", "${U+41}", "$", "$$"]

SCRIPT = """Unicode true
!define PRODUCT "My App"
OutFile "road.exe"
SetCompress off
!include "road.nsh"
Section
  !insertmacro server_x64_Register
  WriteUninstaller "uninstall.exe"
SectionEnd
Section Uninstall
  !insertmacro server_x64_Unregister
SectionEnd
"""


def escaped(text):
    return text.replace("\\", "\\\\").replace('"', '\\"')


def compiled(desk, *lines):
    """How the emission and the compilation ended, and the texts in the installer."""
    emission = desk.emit("nsis", desk.capture("[%s]" % KEY, PATH, *lines), "-o", desk.folder / "road.nsh")
    (desk.folder / "road.nsi").write_text(SCRIPT)
    environment = dict(os.environ, ROAD="of the environment")
    compilation = subprocess.run(["makensis", "-V2", "road.nsi"], cwd=desk.folder, capture_output=True, env=environment)
    assert compilation.returncode == 0, compilation.stderr
    data = (desk.folder / "road.exe").read_bytes()
    return emission, {text for start in (0, 1) for text in data[start:].decode("utf-16-le", "replace").split("\0")}


def test_the_compiler_changes_no_text_with_a_dollar_sign(desk):
    lines, expected = [], set()
    for number, text in enumerate(WITH_DOLLARS):
        lines.append('"%s name %d"="%s data %d"' % (escaped(text), number, escaped(text), number))
        expected |= {"%s name %d" % (text, number), "%s data %d" % (text, number)}
    for number, text in enumerate(text for text in WITH_DOLLARS if "\\" not in text):
        lines += ["[%s\\%s key %d]" % (KEY, text, number), '"x"="y"']
        expected.add("Software\\Classes\\KeyreapRoad\\%s key %d" % (text, number))
    emission, texts = compiled(desk, *lines)
    assert (emission.returncode, emission.stderr) == (0, b"")
    assert expected - texts == set()


def test_bytes_and_lists_that_the_compiler_refuses_are_named(desk):
    def data(count):
        return ",".join(["61,00"] * (count // 2))

    lines = ['"bytes"=hex:' + data(3072), '"more bytes"=hex:' + data(3074), '"list"=hex(7):' + data(3068) + ",00,00,00,00",
             '"longer list"=hex(7):' + data(3070) + ",00,00,00,00"]
    emission, texts = compiled(desk, *lines)
    reason = "has more than the 3072 bytes that NSIS carries"
    assert emission.stderr.decode().count(reason) == 2
    assert {'value "more bytes": ' + reason, 'value "longer list": ' + reason} <= {line.split(", ", 1)[1] for line in emission.stderr.decode().splitlines()}
    assert emission.returncode == 1 and {"bytes", "list"} <= texts and not {"more bytes", "longer list"} & texts
