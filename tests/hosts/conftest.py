"""What takes minutes in each release runs only in the whole run, ./test hosts. What the tests of this folder share: a place for
roots, and the package."""

import os
import subprocess
import sys
from pathlib import Path

import pytest
from roots import place_for_roots

ROOT = Path(__file__).resolve().parents[2]

sys.path.insert(0, str(ROOT / "tests" / "support"))

from wholerun import WHOLE, pytest_collection_modifyitems, pytest_configure  # noqa: E402, F401


def report(text):
    """A line that is shown after the suite's own."""
    with open(os.environ.get("KEYREAP_REPORT", "/dev/stdout"), "a", encoding="utf-8") as file:
        file.write(f"      {text}\n")


@pytest.fixture(scope="module")
def place():
    with place_for_roots() as folder:
        yield folder


@pytest.fixture(scope="module")
def package(place):
    """The Debian package of the programs that are built, in the shared folder."""
    target = place / "shared" / "keyreap.deb"
    subprocess.run([ROOT / "scripts" / "deb.sh", target], check=True, stdout=subprocess.DEVNULL)
    return target
