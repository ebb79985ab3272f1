"""The steps from a server's source to an installed server, as a user does them, and the mistakes that they report."""

import re
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

THERMOMETER = "thermometer: 100 C are 212 F, -40 C are -40 F"
JOURNAL = "journal: 2 make 2, and 3 make 5, in another process"
NOTHING_LEFT = "  uninstalled: nothing is left"

CARELESS = """Unicode true
OutFile "{0}/careless.exe"
InstallDir "C:\\there"
RequestExecutionLevel user
Section
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\\uninstall.exe"
  {1}
SectionEnd
Section Uninstall
  Delete "$INSTDIR\\uninstall.exe"
  {2}
  RMDir "$INSTDIR"
SectionEnd
"""


def test_a_capture_can_be_installed_used_and_removed():
    result = subprocess.run([ROOT / "examples" / "walk.sh"], capture_output=True, text=True)
    assert result.returncode == 0, result.stdout + result.stderr
    assert result.stdout.splitlines() == [
        "keyreap-examples.exe",
        "  64-bit: " + THERMOMETER,
        "  64-bit: " + JOURNAL,
        "  32-bit: " + THERMOMETER,
        "  32-bit: " + JOURNAL,
        NOTHING_LEFT,
        "x64/keyreap-examples.msi",
        "  64-bit: " + THERMOMETER,
        "  64-bit: " + JOURNAL,
        NOTHING_LEFT,
        "x86/keyreap-examples.msi",
        "  32-bit: " + THERMOMETER,
        "  32-bit: " + JOURNAL,
        NOTHING_LEFT,
    ]


def trial_of(folder, install, uninstall, *clients):
    """The result of try-installer.sh for an installer that contains these lines."""
    (folder / "careless.nsi").write_text(CARELESS.format(folder, install, uninstall))
    subprocess.run(["makensis", "-V2", "-NOCD", folder / "careless.nsi"], check=True, stdout=subprocess.DEVNULL)
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display"]
    file = "Z:" + str(folder / "careless.exe").replace("/", "\\")
    trial = [ROOT / "examples" / "try-installer.sh", file, "C:\\there", *clients]
    return subprocess.run([*session, *trial], capture_output=True, text=True)


def test_what_an_uninstaller_forgets_or_removes_of_others_is_named(tmp_path):
    forgotten = [
        'WriteRegStr HKLM64 "Software\\Road" "name" "text"',
        'WriteRegStr HKCU "Software\\Road" "" "text"',
        'CreateDirectory "$WINDIR\\road"',
    ]
    result = trial_of(tmp_path, "\n  ".join(forgotten), 'DeleteRegValue HKLM64 "Software\\Classes\\.dll" ""')
    assert result.returncode == 1
    lines = [re.sub(r"^([<>]) \S*/", r"\1 ", line) for line in result.stdout.splitlines()]
    assert '> system.reg [Software\\\\Road] "name"="text"' in lines
    assert '> user.reg [Software\\\\Road] @="text"' in lines
    assert '< system.reg [Software\\\\Classes\\\\.dll] @="dllfile"' in lines
    assert "> road" in lines


def test_a_client_without_its_server_is_named(tmp_path):
    client = ROOT / "build" / "examples" / "x64" / "bin" / "client.exe"
    result = trial_of(tmp_path, 'File "%s"' % client, 'Delete "$INSTDIR\\client.exe"', "client.exe")
    assert result.returncode == 1
    assert "there is no such object" in result.stdout
