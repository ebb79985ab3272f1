"""The stack trace of a crash without any DWARF: Wine's debug help reads names and lines from symbol files beside the images."""

import re
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
TARGETS = {"x64": "x86_64", "x86": "i686"}

FRAME = re.compile(r"\[0x[0-9a-f]{16}\]  (.+)")


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


class Capture:
    """The program fault_report and a server that faults, both with symbol files, in a folder of their own."""

    def __init__(self, bitness, folder):
        self.folder = folder
        build = ROOT / "build"
        for file in (build / bitness / "tests").glob("fault_report.*"):
            shutil.copy(file, folder)
        self.server = folder / "faultDivideByZero.dll"
        shutil.copy(build / "samples" / bitness / self.server.name, folder)
        demangler = TARGETS[bitness] + "-w64-mingw32-c++filt"
        tool = ROOT / "tools" / "symbols" / "makesymbols.py"
        command = ["/usr/bin/python3", "-B", tool, self.server, self.server.with_suffix(".pdb"), demangler]
        subprocess.run(command, check=True)
        for file in (self.server, folder / "fault_report.exe"):
            assert b".debug_" not in file.read_bytes()

    def frames(self):
        """The text of each frame of the trace."""
        session = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "wine"]
        words = [self.folder / "fault_report.exe", windows(self.server), windows(self.folder / "out.reg"), "keyRedir"]
        result = subprocess.run([*session, *words], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
        assert "[EXCEPTION_UNHANDLED] (0xc0000094) at address" in result.stdout
        return FRAME.findall(result.stdout)


@pytest.fixture(params=TARGETS)
def capture(request, tmp_path):
    return Capture(request.param, tmp_path)


def line_of(file, words):
    """The number of the one line of a source that has the words."""
    lines = (ROOT / file).read_text().splitlines()
    (number,) = [number for number, line in enumerate(lines, 1) if words in line]
    return number


def test_frames_have_names_and_lines(capture):
    frames = capture.frames()
    fault = line_of("tests/samples/faults/fault.cpp", "number = number / zero;")
    assert frames[0] == f"DllRegisterServer() -> fault.cpp:{fault}"
    named = [frame for frame in frames if frame.startswith("keyreap::")]
    assert any(frame.startswith("keyreap::RunTarget() -> target.cpp:") for frame in named)
    assert any(frame.startswith("keyreap::NativeFileRegister::RegisterTarget() -> registertarget.cpp:") for frame in named)
    (entry,) = [at for at, frame in enumerate(frames) if "::RegisterThreadEntry() -> " in frame]
    # From the fault to the thread's entry, all frames are of these two images.
    assert [frame for frame in frames[:entry] if "() -> " not in frame] == []


def test_without_its_symbol_file_an_image_has_no_names(capture):
    for file in capture.folder.glob("*.pdb"):
        file.unlink()
    frames = capture.frames()
    assert frames[0] == "-----"
    assert not any("keyreap::" in frame or ".cpp:" in frame for frame in frames)


def test_a_symbol_file_of_another_build_is_not_used(capture):
    symbols = capture.server.with_suffix(".pdb")
    data = bytearray(symbols.read_bytes())
    guid = re.search(rb"RSDS(.{16})", capture.server.read_bytes(), re.S)[1]
    place = data.index(guid)
    data[place] ^= 1
    symbols.write_bytes(data)
    assert capture.frames()[0] == "-----"
