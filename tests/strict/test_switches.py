"""Each switch of the strict host (scripts/host.sh) has an effect that a test notices: with all switches the test passes, and
without its switch it fails. One test is that of a whole program, run in a session of its own.

A whole run (./test strict) tries all of them; every other run one in ten.
"""

import json
import os
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
STEP = int(os.environ.get("KEYREAP_SAMPLE", "10"))

STANDARD = ("system", "creations", "outlives", "capitals")

# The host's switches, the one that is left out, the program and the test.
SWITCHES = [
    *(
        (STANDARD, switch, "endtoend_%s" % program, "*%s*/x64" % test)
        for switch, program, test in (
            ("system", "tracedprogram", "TracedProgram.ThatDoesNothing"),
            ("creations", "tracedprogram", "TracedProgram.ThatDoesNothing"),
            ("outlives", "tracedlogger", "TakenLogger.IsFreeWhenItsOwnerWasKilled"),
            ("capitals", "tracednodes", "TracedNodes.OfTheLiveRegistry"),
        )
    ),
    *(
        ((*STANDARD, switch), switch, "endtoend_host", test)
        for switch, test in (
            ("user S-1-12-1-1-2-3-4", "HostWithAnotherAccount.OfNoDomain*"),
            ("user S-1-5-93-2-1-1", "HostWithAnotherAccount.OfNoDomain*"),
            ("user S-1-5-18", "HostWithAnotherAccount.OfTheSystem*"),
            ("status 5", "HostThatRefuses.*"),
            ("status 112", "HostThatRefuses.*"),
            ("status 183", "HostThatRefuses.*"),
            ("status 1450", "HostThatRefuses.*"),
            ("lost 3", "HostThatLosesEvents.*"),
        )
    ),
]


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def failures(host, program, test, folder):
    """How many tests of this filter failed, of which there must be one."""
    report = folder / "report.json"
    words = [
        ROOT / "scripts" / "wine-session.sh",
        *("--ready", "--no-display", "--requests", "--share", folder),
        *("/usr/bin/wine", ROOT / "build" / "x64" / "tests" / ("%s.exe" % program)),
        *("--gtest_filter=%s" % test, "--gtest_output=json:%s" % windows_path(report)),
    ]
    environment = os.environ | {
        "KEYREAP_HOST": ",".join(host),
        "KEYREAP_SAMPLE": "1",
        "KEYREAP_SHARE_UNC": r"\\server\share",
        "KEYREAP_SHARE_LOCAL": windows_path(folder),
        "KEYREAP_GOLDEN": windows_path(ROOT / "tests" / "endtoend" / "golden"),
    }
    subprocess.run(words, env=environment, stdin=subprocess.DEVNULL, capture_output=True, timeout=300)
    found = json.loads(report.read_text())
    report.unlink()
    assert found["tests"] == 1
    return found["failures"]


@pytest.mark.parametrize("host, switch, program, test", SWITCHES[::STEP], ids=[row[1] for row in SWITCHES[::STEP]])
def test_a_test_fails_without_the_switch_and_passes_with_all(host, switch, program, test, tmp_path):
    assert failures(host, program, test, tmp_path) == 0
    # Without any switch the program doesn't know that the host is strict.
    without = [other for other in host if other != switch]
    assert failures(without, program, test, tmp_path) == 1
