"""The reading of .reg files for ./bench."""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests" / "support"))

import regfile  # noqa: E402

# The temporary keys that replace the roots.
TREES = {
    "HKEY_CLASSES_ROOT": "HKCR",
    "HKEY_CURRENT_USER": "HKCU",
    "HKEY_USERS": "HKU",
    "HKEY_LOCAL_MACHINE": "HKLM",
}


def lines_of(file):
    return Path(file).read_text(encoding="utf-16").splitlines()


def entries_of(file):
    """The lines of keys and values, in order: for a comparison of two files."""
    return sorted(line for line in lines_of(file) if line.startswith(("[", '"', "@")))


def list_of(file):
    """The keys for the bare steps of a traced capture, from the .reg file of one: the temporary path and the names of
    the values of each key."""
    keys = []
    for path, values in regfile.parse(Path(file).read_bytes()).items():
        root, _, below = path.partition("\\")
        keys.append(("%s\\%s" % (TREES[root], below), values))
    return keys


def text_of(keys):
    return "".join("K%s\n" % path + "".join("V%s\n" % value for value in values) for path, values in keys)


def found_in(keys):
    """The number of values that can be read and of keys that can be removed at their turn: those without subkeys."""
    leaves = [path for path, _ in keys if not any(other.startswith(path + "\\") for other, _ in keys)]
    return len(leaves) + sum(len(values) for _, values in keys)
