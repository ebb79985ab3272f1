#!/usr/bin/python3
"""Usage: makezip.py ZIP SECONDS TOP FOLDER

Packs the files of FOLDER into ZIP below the folder TOP. The bytes depend on nothing but names and contents: names
are sorted, every file has the same time (SECONDS since 1970, UTC) and the same mode.
"""

import sys
import time
import zipfile
from pathlib import Path


def entry(name, seconds):
    info = zipfile.ZipInfo(name, time.gmtime(seconds)[:6])
    info.compress_type = zipfile.ZIP_DEFLATED
    info.create_system = 3  # Unix: the upper half of the attributes is a mode
    info.external_attr = 0o100644 << 16
    return info


def main():
    target, seconds, top, folder = sys.argv[1], int(sys.argv[2]), sys.argv[3], Path(sys.argv[4])
    files = sorted(file.relative_to(folder).as_posix() for file in folder.rglob("*") if file.is_file())
    with zipfile.ZipFile(target, "w") as archive:
        for name in files:
            archive.writestr(entry(top + "/" + name, seconds), (folder / name).read_bytes(), compresslevel=6)


main()
