"""What keykit makes of the captures of the corpus."""

import subprocess
from pathlib import Path

import hivereader
from sessions import base_drive
from targets import host_file

KEYKIT = Path(__file__).resolve().parents[2] / "build" / "tools" / "keykit"
PRODUCT = "b29a312e-eb83-43bc-a846-e0c0563b8801"


def emitted(kind, capture, target):
    """The bytes of a kind of installer."""
    server = "%s=%s" % (host_file(target.path, base_drive()), target.path)
    words = ["--product", PRODUCT, "--server", server, "--bitness", "64" if target.bitness == "x64" else "32"]
    result = subprocess.run([KEYKIT, "emit", kind, capture, *words], capture_output=True)
    assert result.returncode in (0, 1), result.stderr
    return result.stdout


def read_twice(results, targets, folder):
    """Reads with hivexregedit what keykit writes as .reg files. Returns the targets whose files it reads differently, and a
    line of the report."""
    reader, expected = hivereader.SecondReader(folder), {}
    for target in targets:
        capture = results.file("trace" if target.kind == "program" else "keyRedir", target)
        data = emitted("reg", capture, target)
        expected[target.id] = hivereader.with_parents(reader.add(data.removesuffix(b"\r\0\n\0")))
    found = dict(zip(expected, reader.read()))
    return [name for name in expected if expected[name] != found[name]], reader.report() + "\n"
