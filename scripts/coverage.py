"""Prints which lines of the rooms' sources the tests have run: coverage.py ROOT FOLDER, where FOLDER holds gcov's
.gcov.json.gz files."""

import gzip
import json
import sys
from collections import defaultdict
from pathlib import Path

ROOMS = ("extract", "pe", "platform", "regfile", "registry", "trace")


def runs_of_lines(root, folder):
    """How often each line of each source was run, whichever program ran it."""
    lines = defaultdict(lambda: defaultdict(int))
    for report in folder.glob("*.gcov.json.gz"):
        with gzip.open(report, "rt") as stream:
            for file in json.load(stream)["files"]:
                # The builds name their sources from the top of the tree.
                if file["file"].split("/")[0] not in ROOMS:
                    continue
                text = (root / file["file"]).read_text().splitlines()
                for line in file["lines"]:
                    # A brace alone only stands for what an exception would clean up.
                    if text[line["line_number"] - 1].strip() == "}":
                        continue
                    lines[file["file"]][line["line_number"]] += line["count"]
    return lines


def main(root, folder):
    all_lines = all_run = 0
    for name, lines in sorted(runs_of_lines(Path(root), Path(folder)).items()):
        missed = [str(line) for line, count in sorted(lines.items()) if count == 0]
        all_lines += len(lines)
        all_run += len(lines) - len(missed)
        left = "  not run: " + ", ".join(missed) if missed else ""
        print(f"{100 * (len(lines) - len(missed)) / len(lines):6.1f} %  {len(lines):5d}  {name}{left}")
    print(f"{100 * all_run / all_lines:6.1f} % of {all_lines} lines")


main(*sys.argv[1:])
