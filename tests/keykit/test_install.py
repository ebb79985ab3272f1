"""What keykit emits for NSIS and wixl, compiled, installed and removed in a Wine prefix. The registry is compared with the
capture."""

import subprocess
import sys

import pytest
from conftest import ROOT, Desk
from readers import SZ, text_data
from test_emit import FORMS, KEY, expected_forms

sys.path.insert(0, str(ROOT / "tests" / "support"))

import hive  # noqa: E402

# A key that existed before, as traces of programs contain some.
NEIGHBOUR = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\OLE"

# What others share: a key in which another product has a value, and an interface of the system that no system has.
SHARED = "HKEY_CLASSES_ROOT\\KeyreapShared"
OF_SYSTEM = "HKEY_CLASSES_ROOT\\Interface\\{000204FE-0000-0000-C000-000000000046}"
INSTALLED = "HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad"
CLASS = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}"

NSIS = """Unicode true
OutFile "road.exe"
InstallDir "C:\\there"
RequestExecutionLevel user
!include "road.nsh"
Section
  !insertmacro server_x64_Register
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\\uninstall.exe"
SectionEnd
Section Uninstall
  !insertmacro server_x64_Unregister
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
      <Directory Id="WindowsVolume"><Directory Id="INSTALLFOLDER" Name="there">
        <Component Id="Files" Guid="b29a312e-eb83-43bc-a846-e0c0563b8802" Win64="yes">
          <File Id="file" Source="road.nsi" KeyPath="yes"/>
        </Component>
        <?include road.wxi ?>
      </Directory></Directory>
    </Directory>
    <Feature Id="All" Level="1">
      <ComponentRef Id="Files"/><ComponentRef Id="server_x64"/><ComponentRef Id="server_x64_kept"/>
    </Feature>
  </Product>
</Wix>
"""

# wixl crashes at letters outside its code page, and doesn't carry two dollar signs.
LEFT_OUT = {"letters", "short", "dollars"}
LINES = '"two lines"="a\r\nb"'


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    """Both installers of one capture."""
    desk = Desk(tmp_path_factory.mktemp("road"))
    lines = [line for line, name, *_ in FORMS if name not in LEFT_OUT]
    shared = ["[%s]" % SHARED, '"ours"="x"', "[%s]" % OF_SYSTEM, '@="IRoad"']
    capture = desk.capture("[%s]" % KEY, *lines, LINES, "[%s]" % CLASS, '@="Road"', "[%s\\empty key]" % CLASS, "[%s]" % NEIGHBOUR, *shared, name="road.reg")
    for kind, name in [("nsis", "road.nsh"), ("wixl", "road.wxi")]:
        result = desk.emit(kind, capture, "-o", desk.folder / name)
        assert result.returncode == 0, result.stderr
    (desk.folder / "road.nsi").write_text(NSIS)
    (desk.folder / "road.wxs").write_text(WIXL)
    subprocess.run(["makensis", "-V2", "road.nsi"], check=True, cwd=desk.folder, stdout=subprocess.DEVNULL)
    subprocess.run(["wixl", "--arch", "x64", "-o", "road.msi", "road.wxs"], check=True, cwd=desk.folder)
    return desk.folder


def registry_in_steps(folder, name, install, uninstall):
    """The keys of HKLM after the installation and after the uninstallation."""
    script = """
        ended() { wineserver -w; wineserver -k; wineserver -w; cp "$WINEPREFIX/system.reg" "$1"; }
        cd "$1" && wine reg add 'HKLM\\Software\\Classes\\KeyreapShared' /v others /d y && eval "wine $3" && ended "$2.installed" &&
            eval "wine $4" && ended "$2.removed"
    """
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display"]
    words = ["bash", "-c", script, "bash", folder, name, install, uninstall]
    subprocess.run([*session, *words], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return [hive.parse(folder / (name + step), "HKEY_LOCAL_MACHINE") for step in (".installed", ".removed")]


def in_classes(key):
    return key.replace("HKEY_CLASSES_ROOT", "HKEY_LOCAL_MACHINE\\Software\\Classes")


def expected(kind):
    values = {name: value for name, value in expected_forms(kind).items() if name not in LEFT_OUT}
    return dict(values, **{"two lines": (SZ, text_data("a\r\nb"))})


@pytest.mark.parametrize(
    "kind, install, uninstall",
    [
        ("nsis", "road.exe /S", "'C:\\there\\uninstall.exe' /S"),
        ("wixl", "msiexec /i road.msi /qn", "msiexec /x road.msi /qn"),
    ],
)
def test_what_was_captured_is_installed_and_removed(folder, kind, install, uninstall):
    installed, removed = registry_in_steps(folder, kind, install, uninstall)
    assert installed[INSTALLED] == expected(kind)
    assert installed[in_classes(CLASS) + "\\empty key"] == {}
    assert installed[in_classes(SHARED)] == {"ours": (SZ, text_data("x")), "others": (SZ, text_data("y"))}
    assert [key for key in removed if key.startswith((INSTALLED, in_classes(CLASS)))] == []
    assert removed[NEIGHBOUR] != {}
    assert removed[in_classes(SHARED)] == {"others": (SZ, text_data("y"))}
    assert removed[in_classes(OF_SYSTEM)] == {"": (SZ, text_data("IRoad"))}
