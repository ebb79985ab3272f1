"""examples/installer/regdata.py: converts a capture for installers. The tests install and uninstall with NSIS and
Windows Installer in a Wine prefix, and compare the registry with the .reg file."""

import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
REGDATA = ROOT / "examples" / "installer" / "regdata.py"
sys.path.insert(0, str(ROOT / "tests" / "support"))

import hive  # noqa: E402

SERVER = "HKEY_CLASSES_ROOT\\KeyreapRoad"
# A key that existed before, as traces of programs contain some.
NEIGHBOUR = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\OLE"
INSTALLED = "HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad"
SZ, EXPAND_SZ, BINARY, DWORD, MULTI_SZ = 1, 2, 3, 4, 7

# Entries in the program's form, and the name, type and data of the value that an installation must create.
ENTRIES = [
    (r'@="plain"', "", SZ, "plain\0"),
    (r'"quoted \"name\""="C:\\Temp\\ \"quoted\""', 'quoted "name"', SZ, 'C:\\Temp\\ "quoted"\0'),
    (r'"lone"="\"', "lone", SZ, "\\\0"),
    (r'"start"="\none other"', "start", SZ, "\\none other\0"),
    (r'"signs"="$0 %PATH% [x] {y} #3 & <z>"', "signs", SZ, "$0 %PATH% [x] {y} #3 & <z>\0"),
    (r'"number sign"="#3"', "number sign", SZ, "#3\0"),
    (r'"empty"=""', "empty", SZ, "\0"),
    ('"two lines"="a\r\nb"', "two lines", SZ, "a\r\nb\0"),
    (r'"path"="Z:\\build\\bin\\a.dll"', "path", SZ, "C:\\there\\a.dll\0"),
    (r'"long path"="\\\\?\\z:\\Build\\bin\\a.dll"', "long path", SZ, "C:\\there\\a.dll\0"),
    (r'"command"="\"Z:\\build\\bin\\a.exe\" /x"', "command", SZ, '"C:\\there\\a.exe" /x\0'),
    (r'"neighbour"="Z:\\build\\binary\\a.dll"', "neighbour", SZ, "Z:\\build\\binary\\a.dll\0"),
    (r'"expand"=hex(2):25,00,61,00,25,00,00,00', "expand", EXPAND_SZ, "%a%\0"),
    (r'"no expand"=hex(2):,00,00', "no expand", EXPAND_SZ, "\0"),
    (r'"multi"=hex(7):61,00,00,00,62,00,63,00,00,00,00,00', "multi", MULTI_SZ, "a\0bc\0\0"),
    (r'"number"=dword:80000010', "number", DWORD, b"\x10\0\0\x80"),
    ('"bytes"=hex:' + ",".join(["ab"] * 25) + ",\\\r\n  cd", "bytes", BINARY, b"\xab" * 25 + b"\xcd"),
]

NSIS = """Unicode true
OutFile "{0}/road.exe"
InstallDir "C:\\there"
RequestExecutionLevel user
!include "{0}/road.nsh"
Section
  !insertmacro Road_Register
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\\uninstall.exe"
SectionEnd
Section Uninstall
  !insertmacro Road_Unregister
  Delete "$INSTDIR\\uninstall.exe"
  RMDir "$INSTDIR"
SectionEnd
"""

WIXL = """<?xml version="1.0"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
  <Product Id="*" Name="Road" Version="1.0.0" Language="1033" Manufacturer="Road"
           UpgradeCode="b29a312e-eb83-43bc-a846-e0c0563b8801">
    <Package Compressed="yes" InstallerVersion="200"/>
    <Media Id="1" Cabinet="files.cab" EmbedCab="yes"/>
    <Directory Id="TARGETDIR" Name="SourceDir">
      <Directory Id="WindowsVolume"><Directory Id="THERE" Name="there">
        <Component Id="Files" Guid="b29a312e-eb83-43bc-a846-e0c0563b8802" Win64="yes">
          <File Id="file" Source="road.nsi" KeyPath="yes"/>
        </Component>
        <?include road.wxi ?>
      </Directory></Directory>
    </Directory>
    <Feature Id="All" Level="1"><ComponentRef Id="Files"/><ComponentRef Id="Road"/></Feature>
  </Product>
</Wix>
"""


def document(*lines):
    text = "\r\n".join(["Windows Registry Editor Version 5.00", "", "[%s]" % SERVER, *lines, ""])
    return text.encode("utf-16")


def regdata(*words):
    return subprocess.run([REGDATA, *words], capture_output=True, text=True)


def refused(folder, writer, entry):
    (folder / "refused.reg").write_bytes(document(entry))
    result = regdata(writer, "Road", "64", folder / "refused.reg", "/build", "x")
    assert (result.returncode, result.stdout) == (1, "")
    return result.stderr


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    """Both installers of one .reg file."""
    made = tmp_path_factory.mktemp("road")
    lines = [entry for entry, *_ in ENTRIES] + ["", "[%s\\empty key]" % SERVER, "", "[%s]" % NEIGHBOUR]
    (made / "road.reg").write_bytes(document(*lines))
    words = ["Road", "64", made / "road.reg", "/build/bin"]
    for writer, place, name in [("nsis", "$INSTDIR", "road.nsh"), ("wixl", "THERE", "road.wxi")]:
        result = regdata(writer, *words, place)
        assert result.returncode == 0, result.stderr
        (made / name).write_text(result.stdout)
    (made / "road.nsi").write_text(NSIS.format(made))
    (made / "road.wxs").write_text(WIXL)
    subprocess.run(["makensis", "-V2", "-NOCD", made / "road.nsi"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["wixl", "--arch", "x64", "-o", made / "road.msi", made / "road.wxs"], check=True, cwd=made)
    return made


def registry_in_steps(folder, name, install, uninstall):
    """The keys of HKLM after the installation and after the uninstallation."""
    script = """
        ended() { wineserver -w; wineserver -k; wineserver -w; cp "$WINEPREFIX/system.reg" "$1"; }
        cd "$1" && eval "wine $3" && ended "$2.installed" && eval "wine $4" && ended "$2.removed"
    """
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display"]
    words = ["bash", "-c", script, "bash", folder, name, install, uninstall]
    subprocess.run([*session, *words], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return [hive.parse(folder / (name + step), "HKEY_LOCAL_MACHINE") for step in (".installed", ".removed")]


def expected():
    return {
        name: (kind, data if kind in (BINARY, DWORD) else data.encode("utf-16-le")) for _, name, kind, data in ENTRIES
    }


@pytest.mark.parametrize(
    "name, install, uninstall",
    [
        ("nsis", "road.exe /S", "'C:\\there\\uninstall.exe' /S"),
        ("wixl", "msiexec /i road.msi /qn", "msiexec /x road.msi /qn"),
    ],
)
def test_what_was_captured_is_installed_and_removed(folder, name, install, uninstall):
    installed, removed = registry_in_steps(folder, name, install, uninstall)
    assert installed[INSTALLED] == expected()
    assert installed[INSTALLED + "\\empty key"] == {}
    assert [key for key in removed if key.startswith(INSTALLED)] == []
    assert removed[NEIGHBOUR] != {}


@pytest.mark.parametrize("writer", ["nsis", "wixl"])
@pytest.mark.parametrize("entry", ['"odd"=hex(b):01,02,03,04,05,06,07,08', '"odd"=', '"odd"="%s"' % ("\u5555" * 10)])
def test_an_entry_that_no_installer_can_represent_is_named(tmp_path, writer, entry):
    assert "%s, value 'odd'" % SERVER in refused(tmp_path, writer, entry)


@pytest.mark.parametrize("writer", ["nsis", "wixl"])
@pytest.mark.parametrize(
    "key",
    [
        "HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink\\Temporary\\HKCR",
        "HKEY_USERS\\.DEFAULT\\SOFTWARE\\velmoro\\Tesselink\\temporary",
        "HKEY_LOCAL_MACHINE\\S-1-12-1-1-2-3-4\\Software\\K",
        "UNKNOWN!!Software\\K",
        "-HKEY_CLASSES_ROOT\\K",
    ],
)
def test_a_key_that_no_server_registers_is_named(tmp_path, writer, key):
    assert "%s: no key" % key in refused(tmp_path, writer, '@="x"\r\n\r\n[%s]' % key)


def test_a_text_with_the_temporary_tree_is_named(tmp_path):
    text = "HKCU\\Software\\Velmoro\\Tesselink\\Temporary\\HKLM".replace("\\", "\\\\")
    assert "value 'where': names the temporary tree" in refused(tmp_path, "nsis", '"where"="%s"' % text)


def test_a_file_without_a_value_is_refused(tmp_path):
    assert "no value was captured" in refused(tmp_path, "nsis", "\r\n[%s\\empty key]" % SERVER)


def test_a_text_too_long_for_nsis_is_named(tmp_path):
    assert "value 'long'" in refused(tmp_path, "nsis", '"long"="%s"' % ("x" * 1024))


def test_a_value_with_a_name_that_windows_installer_takes_for_an_instruction_is_named(tmp_path):
    assert "'+'" in refused(tmp_path, "wixl", '"+"="x"')


@pytest.mark.parametrize("path", [".", "../bin", "\\\\server\\share\\bin", "C:\\bin"])
def test_the_folder_is_a_path_of_this_machine_or_of_windows(tmp_path, path):
    place = tmp_path / "bin"
    place.mkdir()
    written = path if "\\" in path else "Z:" + str(place).replace("/", "\\")
    (place / "x.reg").write_bytes(document('"path"="%s\\\\a.dll"' % written.replace("\\", "\\\\")))
    words = [REGDATA, "nsis", "Road", "64", "x.reg", path, "$INSTDIR"]
    result = subprocess.run(words, capture_output=True, text=True, cwd=place)
    assert '"path" "$INSTDIR\\a.dll"' in result.stdout


def test_an_invalid_file_is_refused(tmp_path):
    (tmp_path / "none.reg").write_bytes("REGEDIT4\r\n".encode("utf-16"))
    assert "no .reg file" in regdata("nsis", "Road", "64", tmp_path / "none.reg", "/build", "x").stderr
