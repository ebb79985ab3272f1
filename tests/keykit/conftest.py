"""What the tests of keykit share: the program, a server's file without code, and captures."""

import struct
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
KEYKIT = ROOT / "keykit"
PROGRAM = ROOT / "build" / "tools" / "keykit"
PRODUCT = "b29a312e-eb83-43bc-a846-e0c0563b8801"
KINDS = ["wix", "wix3", "wixl", "nsis", "inno", "reg", "json"]
MACHINES = {64: 0x8664, 32: 0x014C}


def image(bitness):
    """The headers of a DLL, which are all that keykit reads of one."""
    dos = b"MZ".ljust(60, b"\0") + struct.pack("<I", 64)
    return dos + b"PE\0\0" + struct.pack("<HHIIIHH", MACHINES[bitness], 0, 0, 0, 0, 0, 0x2002)


def document(*lines):
    """A capture: lines of keys and entries, with an empty line before each key."""
    spaced = "".join(("\r\n" if line.startswith("[") else "") + line + "\r\n" for line in lines)
    return ("\ufeffWindows Registry Editor Version 5.00\r\n" + spaced).encode("utf-16-le", "surrogatepass")


@pytest.fixture(scope="session", autouse=True)
def built():
    """What is out of date is built here, so that no test prints the progress of it."""
    subprocess.run([KEYKIT, "--help"], check=True, capture_output=True)


def keykit(*words, **options):
    return subprocess.run([PROGRAM, *map(str, words)], capture_output=True, stdin=subprocess.DEVNULL, **options)


def calculator_captures(folder):
    """The captures of a server in both bitnesses. Those of 32 bits are changed: another threading model, and a key is missing."""
    files = []
    for bitness in ("x64", "x86"):
        text = (ROOT / "tests" / "endtoend" / "golden" / ("calculator-%s.reg" % bitness)).read_bytes().decode("utf-16")
        text = text.replace("{MODULE}", "Z:\\\\build\\\\%s\\\\calculator.dll" % bitness).replace("{FOLDER}", "Z:\\\\build\\\\" + bitness)
        if bitness == "x86":
            text = text.replace('"Both"', '"Apartment"')
            text = text.replace('[HKEY_CLASSES_ROOT\\Keyreap.Calculator\\CurVer]\r\n@="Keyreap.Calculator.1"\r\n\r\n', "")
        files.append(folder / ("calculator-%s.reg" % bitness))
        files[-1].write_bytes(("\ufeff" + text).encode("utf-16-le"))
    return files


class Desk:
    """A folder with a server, captured as Z:\\build\\bin\\server.dll."""

    def __init__(self, folder, bitness=64):
        self.folder = folder
        self.server = folder / "server.dll"
        self.server.write_bytes(image(bitness))

    def capture(self, *lines, name="server.reg"):
        (self.folder / name).write_bytes(document(*lines))
        return self.folder / name

    def emit(self, kind, *words):
        folder = {"reg": ["--directory", "C:\\there"]}.get(kind, [])
        server = "%s=Z:\\build\\bin\\server.dll" % self.server
        return keykit("emit", kind, *words, "--product", PRODUCT, "--server", server, *folder)


@pytest.fixture
def desk(tmp_path):
    return Desk(tmp_path)
