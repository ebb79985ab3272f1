"""Every module of the Wine distribution gets a manifest of its capture, by which alone its classes are created wherever they are
created after an ordinary registration in the same host. ./test corpus takes all modules, every other run a few, and both report
the totals.
"""

import os
import re
import shutil
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
for folder in ("corpus", "support", "keykit"):
    sys.path.insert(0, str(ROOT / "tests" / folder))

from manifestreader import ANY, OneOf, text_of  # noqa: E402
from manifests import made_manifests, outcomes_of, totals  # noqa: E402
from registry import Registry, same  # noqa: E402
from sessions import PARTS, Sessions, built_program, chosen_targets  # noqa: E402
from targets import session_folder  # noqa: E402

# A sample has to end in seconds.
STEP = 1 if os.environ.get("KEYREAP_SAMPLE") == "1" else 50

TARGETS = [target for target in chosen_targets(STEP) if target.kind == "module"]


class Results:
    def __init__(self, folder):
        self.folder = folder
        sessions = Sessions(folder, TARGETS, "--empty-classes")
        sessions.capture("keyRedir", "keyRedir")
        self.made = made_manifests(folder / "manifests", folder / "keyRedir", TARGETS)
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            for job in [pool.submit(self.create, sessions, part) for part in PARTS]:
                job.result()
        self.outcomes = list(outcomes_of(self.made, folder / "created"))

    def create(self, sessions, part):
        programs = [built_program("registrykeeper.exe", "x64"), "%s\\%s\\KeyKitLive.exe" % (os.environ["KEYREAP_STAGE"], part[0])]
        sessions.session([], "manifest_targets.py", *programs, self.folder / "manifests", self.folder / "created", *part)


@pytest.fixture(scope="module")
def results(tmp_path_factory):
    if "KEYREAP_STAGE" not in os.environ:
        pytest.fail("Set KEYREAP_STAGE to the folder that holds x64\\KeyKitLive.exe and x86\\KeyKitLive.exe.")
    folder = tmp_path_factory.mktemp("manifests")
    found = Results(folder)
    yield found
    if "KEYREAP_REPORT" in os.environ:
        Path(os.environ["KEYREAP_REPORT"]).write_text("\n".join([*totals(found.made, found.outcomes), ""]))
    for hive in (*folder.rglob("machine"), *folder.rglob("users")):
        hive.unlink()
    shutil.rmtree(folder / "manifests")


def test_a_manifest_is_made_of_every_capture(results):
    assert [one.target.id for one in results.made if one.status not in (0, 1)] == []
    assert {one.target.id for one in results.made if bool(one.status) != bool(one.notes)} == set()


NAMED = re.compile(r"^keykit: [^\n]*?:\d+: (HKEY_.*?)(?:, default value|, value \"(.*?)\")?: (?:has|is|can|could|belongs|names|differs) ", re.M | re.S)
OWN_KEYS = ("HKEY_LOCAL_MACHINE\\SOFTWARE", "HKEY_LOCAL_MACHINE\\SOFTWARE\\CLASSES")


def test_every_entry_is_in_the_manifest_or_named(results):
    missing = []
    for one in results.made:
        entries = one.manifest.entries()
        named = {(found[1].upper(), (found[2] or "").upper()) for found in NAMED.finditer(one.notes)}
        for key, values in one.parsed.items():
            for name, value in values.items():
                text = text_of(value)
                place = key.upper().replace("HKEY_LOCAL_MACHINE\\SOFTWARE\\CLASSES", "HKEY_CLASSES_ROOT"), name.upper()
                carried = text is not None and is_said(entries.get(place), text)
                if not carried and (key.upper(), name.upper()) not in named:
                    missing.append((one.target.id, key, name, value))
    assert missing == []


def is_said(said, text):
    """Paths and numbers of the registry have more than one spelling, and a threading model too."""
    said = said if isinstance(said, OneOf) else (said,)
    return any(one is ANY or (one is not None and one.upper().rstrip("\\") == text.upper().rstrip("\\")) for one in said)


def test_what_registration_creates_a_manifest_creates(results):
    """Unless the manifest doesn't have the class, and says so."""
    left = [one for one in results.outcomes if one.is_created_registered and not one.is_created and not one.reason]
    assert left == []


def test_a_class_outside_the_manifest_has_a_reason(results):
    carried = {(one.target.id, element.get("clsid").upper()) for one in results.made for element in one.manifest.all("comClass")}
    assert [one for one in results.outcomes if bool(one.reason) == ((one.target, one.clsid) in carried)] == []


def test_every_creation_started_from_the_same_registry(results):
    for part in PARTS:
        session = session_folder(results.folder / "created", part[0], part[1])
        assert same(Registry(session / "before"), Registry(session / "after"))
