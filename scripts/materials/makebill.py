#!/usr/bin/python3
"""Usage: makebill.py ROOT VERSION SECONDS FILE...

Writes the bill of materials of each FILE of a release, a zip or a Debian package, to FILE.spdx.json. ROOT is the checkout whose
`build` folder the release was made in, SECONDS the time of its commit. The same release gives the same bytes. A program with a
part that is neither of the project nor of a package of the distribution ends it with 1 and the reason.
"""

import sys
from pathlib import Path

from bill import Accountant
from builds import Unknown, builds_of
from distribution import Distribution
from releasefiles import contents
from spdx import document


def main():
    root, version, seconds = Path(sys.argv[1]).absolute(), sys.argv[2], int(sys.argv[3])
    accountant = Accountant(builds_of(root), Distribution())
    for path in map(Path, sys.argv[4:]):
        try:
            bill = accountant.bill_of(path, contents(path))
        except Unknown as reason:
            sys.exit("keyreap: no bill of materials can be made of %s: %s" % (path.name, reason))
        path.with_name(path.name + ".spdx.json").write_text(document(bill, version, seconds), encoding="utf-8")


main()
