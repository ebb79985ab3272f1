#!/usr/bin/python3
"""Usage: selfcheck.py ROOT FOLDER

Lays out in FOLDER what a release has to check itself with on Windows: the programs of tests and the sample servers, without
debug information, the golden files, and the list of all suites, of which each is run or has the reason why not.
"""

import fnmatch
import os
import shutil
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent / "runner"))

from suites import PRESETS, SECOND_COMPILER, STRICT_HOST, Kind, all_suites  # noqa: E402

STRIP = {"x64": "x86_64-w64-mingw32-strip", "x86": "i686-w64-mingw32-strip"}
DATA = ("selfcheck.cmd", "captures.txt", "expected.txt")
# What suites of unit tests look for in their folder.
NEIGHBOURS = ("fault_program.exe", "version_program.exe", "aligned_*.dll")
SCRIPT = "a script for Linux"
# Of the builds and hosts whose suites are not laid out.
OTHERS = {preset: "programs for Linux" for preset in PRESETS if preset not in STRIP}
OTHERS |= {preset: "the same programs, built by a second compiler" for preset in SECOND_COMPILER}
OTHERS |= {STRICT_HOST: "the programs of x64 once more, with a stricter logger of Wine's"}


def exceptions_of(file):
    lines = file.read_text(encoding="utf-8").splitlines()
    return [line.split("\t") for line in lines if line and not line.startswith("#")]


def row_of(suite, exceptions):
    """The suite's line in the list: its name, whether it is run, the reason why not, and what is left out."""
    for pattern, *rest in exceptions:
        if fnmatch.fnmatchcase(suite.name, pattern):
            return [suite.name, *rest]
    if suite.kind == Kind.PYTEST:
        return [suite.name, "not run", SCRIPT, "-"]
    if suite.kind == Kind.WINDOWS:
        return [suite.name, "run", "-", "-"]
    sys.exit("keyreap: %s is neither run on Windows nor excepted" % suite.name)


def strip(bitness, file, target):
    """A copy without debug information; a type library has none."""
    target.parent.mkdir(parents=True, exist_ok=True)
    if file.suffix == ".tlb":
        shutil.copyfile(file, target)
    else:
        # Otherwise strip would write the current time into the file.
        subprocess.run([STRIP[bitness], "-o", target, file], check=True, env=dict(os.environ, SOURCE_DATE_EPOCH="0"))


def lay_out_programs(folder, suites):
    for suite in suites:
        strip(suite.name.partition("/")[0], suite.file, folder / "tests" / (suite.name + ".exe"))


def lay_out_neighbours(root, folder):
    for bitness in STRIP:
        for file in sorted(file for name in NEIGHBOURS for file in (root / "build" / bitness / "tests").glob(name)):
            strip(bitness, file, folder / "tests" / bitness / file.name)


def lay_out_samples(root, folder):
    for bitness in STRIP:
        for file in sorted((root / "build" / "samples" / bitness).glob("*")):
            if file.suffix in (".dll", ".exe", ".tlb"):
                strip(bitness, file, folder / "samples" / bitness / file.name)


def main():
    root, folder = Path(sys.argv[1]), Path(sys.argv[2])
    suites = [suite for suite in all_suites(root, tuple(STRIP)) if not suite.host]
    rows = [row_of(suite, exceptions_of(root / "tools/selfcheck/exceptions.txt")) for suite in suites]
    rows += [[folder + "/*", "not run", reason, "-"] for folder, reason in OTHERS.items()]
    (folder / "golden").mkdir(parents=True)
    for file in (root / "tests/endtoend/golden").glob("*.reg"):
        shutil.copyfile(file, folder / "golden" / file.name)
    for name in DATA:
        shutil.copyfile(root / "tools/selfcheck" / name, folder / name)
    (folder / "suites.txt").write_text("".join("\t".join(row) + "\n" for row in rows), encoding="utf-8")
    lay_out_programs(folder, [suite for suite, row in zip(suites, rows) if row[1] == "run"])
    lay_out_neighbours(root, folder)
    lay_out_samples(root, folder)
    strip("x64", root / "build/x64/tools/selfcheck/selfcheck.exe", folder / "selfcheck.exe")


main()
