"""The steps from a server's source to an installed server, as a user does them, and the mistakes that they report."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "build" / "examples"

sys.path[:0] = [str(ROOT / "tests" / folder) for folder in ("keykit", "hosts")]

import readers  # noqa: E402
import wixelements  # noqa: E402
from roots import Root, place_for_roots  # noqa: E402

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


ON_X64 = ["  64-bit: " + THERMOMETER, "  64-bit: " + JOURNAL]
ON_X86 = ["  32-bit: " + THERMOMETER, "  32-bit: " + JOURNAL]


@pytest.fixture(scope="module", autouse=True)
def walked():
    """What the walk prints. It leaves the examples in their folder. The parts of installers are made again, since the build
    doesn't know when keykit has changed."""
    for part in [part for ending in ("nsh", "iss", "wxi") for part in EXAMPLES.glob("*/*." + ending)]:
        part.unlink()
    result = subprocess.run([ROOT / "examples" / "walk.sh"], capture_output=True, text=True)
    assert result.returncode == 0, result.stdout + result.stderr
    return result.stdout.splitlines()


def test_a_capture_can_be_installed_used_and_removed(walked):
    assert walked == [
        *["keyreap-examples.exe", *ON_X64, *ON_X86, NOTHING_LEFT],
        *["x64/keyreap-examples.msi", *ON_X64, NOTHING_LEFT],
        *["x86/keyreap-examples.msi", *ON_X86, NOTHING_LEFT],
        *["x64/keyreap-examples-fragments.msi", *ON_X64, NOTHING_LEFT],
        *["x86/keyreap-examples-fragments.msi", *ON_X86, NOTHING_LEFT],
    ]


# What keykit makes of the captures

BITS = {"x64": 64, "x86": 32}

# What of a kind says the bitness.
SIGNS = {
    "wix": {64: b' Bitness="always64"', 32: b' Bitness="always32"'},
    "wix3": {64: b' Win64="yes"', 32: b' Win64="no"'},
    "wixl": {64: b' Win64="yes"', 32: b' Win64="no"'},
    "nsis": {64: b" HKLM64 ", 32: b" HKLM32 "},
    "inno": {64: b"Root: HKLM64; ", 32: b"Root: HKLM32; "},
    "json": {64: b'"bitness": 64', 32: b'"bitness": 32'},
}


def captured(arch, server, folder):
    """The capture's entries on the target machine, where the servers' folder is `folder` in an entry of its own."""
    here = "Z:" + str(EXAMPLES / arch / "bin").replace("/", "\\")
    registry = readers.regfile.parse((EXAMPLES / arch / server).with_suffix(".reg").read_bytes())
    there = {}
    for key, values in registry.items():
        path = re.sub("^HKEY_CLASSES_ROOT", r"HKEY_LOCAL_MACHINE\\Software\\Classes", key)
        for name, (kind, data) in values.items():
            text = data.decode("utf-16-le").replace("\\\\?\\", "").replace(here + "\\", readers.THERE + "\\").replace(here, folder)
            there.setdefault(path, {})[name] = (kind, text.encode("utf-16-le"))
    return there


def emitted(arch, server, kind, *words):
    words = [*words, *(["--directory", readers.THERE] if kind == "reg" else [])]
    command = [ROOT / "keykit", "emit", kind, EXAMPLES / arch / (Path(server).stem + ".reg"), "--product", "6d02c83b-7944-4552-9f93-29099ad34deb"]
    result = subprocess.run([*command, "--server", EXAMPLES / arch / "bin" / server, *words], capture_output=True)
    assert (result.returncode, result.stderr) == (0, b"")
    return result.stdout


@pytest.mark.parametrize("server", ["thermometer.dll", "journal.exe"])
@pytest.mark.parametrize("arch", BITS)
@pytest.mark.parametrize("kind", ["wix", "wix3", "wixl", "nsis", "inno", "reg", "json"])
def test_every_kind_has_exactly_what_was_captured(kind, arch, server):
    output = emitted(arch, server, kind)
    found = readers.read(kind, output, {server: server})
    folder = readers.THERE + ("\\" if kind.startswith("wix") else "")
    assert {key: values for key, values in found.items() if values} == captured(arch, server, folder)
    if kind in SIGNS:
        assert SIGNS[kind][BITS[arch]] in output and SIGNS[kind][96 - BITS[arch]] not in output


@pytest.mark.parametrize("server", ["thermometer.dll", "journal.exe"])
@pytest.mark.parametrize("arch", BITS)
@pytest.mark.parametrize("kind", ["wix", "wix3"])
def test_elements_alone_have_exactly_what_was_captured(kind, arch, server):
    found, values = wixelements.evaluated(emitted(arch, server, kind, "--native"), {server: server})
    assert found == wixelements.folded([captured(arch, server, readers.THERE + "\\")])
    assert values == set()


# Inno Setup


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


@pytest.fixture(scope="module")
def shared():
    with place_for_roots() as place:
        yield place / "shared"


@pytest.fixture(scope="module")
def inno_installer(shared):
    """What the compiler of Inno Setup makes of the examples."""
    compiler = ROOT / "build" / "innosetup" / "bin" / "ISCC.exe"
    folders = ["/DX64=" + windows(EXAMPLES / "x64"), "/DX86=" + windows(EXAMPLES / "x86"), "/O" + windows(shared)]
    session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "wine", compiler]
    script = windows(ROOT / "examples" / "installer" / "example.iss")
    result = subprocess.run([*session, *folders, "/Fexamples", script], capture_output=True, text=True, errors="replace")
    assert result.returncode == 0, result.stdout + result.stderr
    return shared / "examples.exe", result.stdout


def test_the_compiler_of_inno_setup_reads_every_line(inno_installer):
    _, printed = inno_installer
    parts = [part for arch in BITS for part in (EXAMPLES / arch).glob("*.iss")]
    lines = [line for part in parts for line in part.read_text().splitlines() if line.startswith("Root: ")]
    assert len(parts) == 4
    assert printed.count("Parsing [Registry] section, line ") == len(lines)


# Wine with a window driver for 32-bit programs, such as these installers.
TRIAL = """
    Xvfb :7 &
    export DISPLAY=:7 WINEDEBUG=-all WINEPREFIX=/root/prefix
    { wineboot -i && wineserver -w; } >/dev/null 2>&1
    bash /mnt/try-installer.sh 'Z:\\mnt\\examples.exe' 'C:\\Program Files\\Keyreap examples' 'x64\\client.exe' 'x86\\client.exe'
"""


@pytest.mark.whole
def test_an_installer_of_inno_setup_installs_and_removes_what_was_captured(inno_installer, shared):
    (shared / "try-installer.sh").write_bytes((ROOT / "examples" / "try-installer.sh").read_bytes())
    root = Root("bookworm", shared.parent / "wine32", shared, "wine", "wine64", "wine32:i386", "xvfb", foreign="i386")
    result = root.run("bash", "-c", TRIAL)
    assert (result.returncode, result.stdout.splitlines()) == (0, [*ON_X64, *ON_X86, NOTHING_LEFT]), result.stderr


# Mistakes


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
