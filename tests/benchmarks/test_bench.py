"""The programs that ./bench measures with build and run, and all that they measure has the right result. How long
anything takes doesn't matter here."""

import re
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]

MEASURES = [
    "one server, `keyRedir`; regsvr32",
    "one server, `both`; regsvr32",
    "start and end of the program; regsvr32",
    "the same, with a request log; regsvr32",
    "bare steps of `keyRedir`; regsvr32",
    "bare steps of `both`; regsvr32",
    "one server, `both`; bare steps",
    "20 values in one key, `both`; bare steps",
    "40 values in one key, `trace`; bare steps",
    "60 values in one key, `both`; bare steps",
    "one server, x64, `both`, after a request log; reading of the log",
    "one server, x86, `both`, after a request log; in a new session",
    "2 servers, each in a session, `keyRedir`; `./keyreap` for each",
    "the same, each; regsvr32 in a session of its own",
    "the same, processor time of each; 150 ms",
    "2 servers, each; regsvr32",
    "bare steps of 2 servers, each; regsvr32",
    "one capture; export, register, export",
    "harvest; reg export",
    "writer; reg export",
    "replay of 1,000 events, 1 % ours, each; read",
    "replay of 2,000 events, 10 % ours, each; read",
    "1,000 operations; hash map",
    "SHA-1; OpenSSL",
    "memory, 2,000 events, 1 % ours; operations and names",
]


@pytest.fixture(scope="module")
def table():
    """The columns of each row, by the measure in its first one."""
    result = subprocess.run([ROOT / "bench", "--quick"], stdin=subprocess.DEVNULL, capture_output=True, text=True)
    # A part with a wrong result ends the run with another status.
    assert result.returncode == 0, result.stderr
    rows = [[word.strip() for word in line.strip("|").split("|")] for line in result.stdout.splitlines() if "|" in line]
    assert rows[0] == ["measure", "ours", "other", "ratio", "aim"]
    return {row[0]: row[1:] for row in rows[2:]}


@pytest.mark.parametrize("measure", MEASURES)
def test_both_sides_are_measured(table, measure):
    begin, _, end = measure.partition("; ")
    rows = [row for name, row in table.items() if name.startswith(begin) and name.endswith("; " + end)]
    assert rows
    for figure in (figure for row in rows for figure in row[:3]):
        assert float(re.match(r"[\d.,e-]+", figure)[0].replace(",", "")) > 0


def test_small_sizes_are_not_compared_with_the_aims(table):
    assert not any("missed" in row[-1] for row in table.values())
