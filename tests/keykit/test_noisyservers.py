"""A real server of the Wine distribution, whose libraries write for themselves when they are loaded: from a capture by way of
its check to an installer without what they wrote."""

import json
import subprocess
from pathlib import Path

import pytest
from conftest import KEYKIT, PRODUCT, ROOT

MODULES = next(Path("/usr/lib").glob("*/wine/x86_64-windows"))
# The audio compression manager keeps here what it knows of each driver.
WRITTEN = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\AudioCompressionManager\\DriverCache"


class Captured:
    def __init__(self, folder):
        self.server = MODULES / "devenum.dll"
        self.capture = folder / "devenum.reg"
        subprocess.run([ROOT / "keyreap", "extreg", self.server, self.capture, "keyRedir"], check=True, capture_output=True)
        # Its lines and its status are about the noise as well.
        words = ["check", self.server, self.capture, "--parts", "noise"]
        subprocess.run([KEYKIT, *words], check=False, capture_output=True, stdin=subprocess.DEVNULL)
        self.noise = json.loads(self.capture.with_suffix(".check.json").read_text())["noise"]

    def emit(self, *words):
        command = [KEYKIT, "emit", "reg", self.capture, "--product", PRODUCT, "--server", self.server, "--directory", "C:\\there", *words]
        return subprocess.run(command, capture_output=True)

    def notes(self, reason):
        return ["keykit: %s: %s%s: %s" % (self.capture, entry["key"], value_of(entry), reason) for entry in self.noise]


def value_of(entry):
    value = entry.get("value")
    return "" if value is None else ', value "%s"' % value if value else ", default value"


@pytest.fixture(scope="module")
def captured(tmp_path_factory):
    return Captured(tmp_path_factory.mktemp("noisy"))


def sections(text):
    """Header and values of each key, in order."""
    parts = text.decode("utf-16").split("\r\n[")
    return [tuple(part.rstrip("\r\n").split("\r\n", 1)) for part in parts[1:]]


def test_what_the_library_wrote_is_noise(captured):
    assert captured.noise
    assert all(entry["key"].lower().startswith(WRITTEN.lower()) for entry in captured.noise)


@pytest.mark.parametrize("words", [[], ["--noise", "fail"]], ids=["unsaid", "fail"])
def test_nothing_is_written_as_long_as_nobody_decides(captured, words):
    result = captured.emit(*words)
    assert (result.returncode, result.stdout) == (2, b"")
    assert result.stderr.decode().splitlines()[1:] == captured.notes("was written by a library of the system")


def test_only_what_is_named_is_left_out(captured):
    kept, dropped = captured.emit("--noise", "keep"), captured.emit("--noise", "drop")
    assert (kept.returncode, dropped.returncode, kept.stderr) == (0, 0, b"")
    assert dropped.stderr.decode().splitlines() == captured.notes("is left out, since a library of the system wrote it")
    keys = {entry["key"] + "]" for entry in captured.noise if "value" not in entry}
    assert {entry["key"] + "]" for entry in captured.noise} == keys
    before, after = sections(kept.stdout), sections(dropped.stdout)
    assert len(before) > len(keys) and keys <= {header for header, *_ in before}
    # The capture has the key above, which needs a line of its own now.
    assert [section for section in after if section != (WRITTEN + "]",)] == [section for section in before if section[0] not in keys]
