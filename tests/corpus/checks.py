"""Checks captures of the corpus, each with the command that users run."""

import json
import os
import subprocess
from concurrent.futures import ThreadPoolExecutor

from sessions import ROOT, base_drive
from targets import host_file


def run_check(target, capture, *words):
    """The report of a check, as it is in the check file."""
    server = "%s=%s" % (host_file(target.path, base_drive()), target.path)
    command = [ROOT / "keykit", "check", server, capture, "--json", *words]
    done = subprocess.run(command, capture_output=True, stdin=subprocess.DEVNULL, text=True)
    if done.returncode not in (0, 1):
        return {"refused": done.stderr.strip().splitlines()[-1:], "status": done.returncode}
    report = json.loads(done.stdout)
    assert report == json.loads(capture.with_suffix(".check.json").read_text()), target.id
    assert done.returncode == (1 if report["findings"] else 0), target.id
    return report


def run_checks(targets, file_of, *words):
    """The reports by the targets' ids, made as many at once as there are cores."""
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        reports = pool.map(lambda target: run_check(target, file_of(target), *words), targets)
        return {target.id: report for target, report in zip(targets, reports)}
