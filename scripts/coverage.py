"""Prints which lines of the rooms' sources the tests have run: coverage.py ROOT FOLDER. FOLDER has a folder for each
build, coverage-native among them, with gcov's .gcov.json.gz files of that build."""

import gzip
import json
import re
import sys
from collections import defaultdict
from pathlib import Path

ROOMS = ("etl", "extract", "hostlogger", "kit", "pe", "platform", "regfile", "registry", "regmodel", "trace")


def runs_of_lines(root, folder):
    """How often each line of each source was run, whichever program of whichever build ran it; and the names of the
    sources that the build for this machine has."""
    lines = defaultdict(lambda: defaultdict(int))
    plain = set()
    for report in folder.glob("*/*.gcov.json.gz"):
        with gzip.open(report, "rt") as stream:
            files = json.load(stream)["files"]
        for file in files:
            # The builds name their sources from the top of the tree, or with a compiler cache from the build's folder.
            name = re.sub(r"^(\.\./)+", "", file["file"])
            if name.split("/")[0] not in ROOMS:
                continue
            add_runs(lines[name], file, (root / name).read_text().splitlines())
            if report.parent.name == "coverage-native":
                plain.add(name)
    return lines, plain


def add_runs(runs, file, text):
    for line in file["lines"]:
        # The code of a lone closing brace is only what cleans up after an exception.
        if text[line["line_number"] - 1].strip() != "}":
            runs[line["line_number"]] += line["count"]


def print_share(title, sources):
    """A line for each of the sources, and one for the sum."""
    all_lines = all_run = 0
    for name, lines in sorted(sources.items()):
        missed = [str(line) for line, count in sorted(lines.items()) if count == 0]
        all_lines += len(lines)
        all_run += len(lines) - len(missed)
        left = "  not run: " + ", ".join(missed) if missed else ""
        print(f"{share(len(lines) - len(missed), len(lines))}  {len(lines):5d}  {name}{left}")
    print(f"{share(all_run, all_lines)} of {all_lines} lines {title}\n")


def share(part, whole):
    return f"{100 * part / max(whole, 1):6.1f} %"


def main(root, folder):
    lines, plain = runs_of_lines(Path(root), Path(folder))
    lines = {name: runs for name, runs in lines.items() if runs}
    print_share("of sources that need no Windows", {name: runs for name, runs in lines.items() if name in plain})
    print_share("of sources for Windows", {name: runs for name, runs in lines.items() if name not in plain})


main(*sys.argv[1:])
