"""What ./bench reads out of .reg files."""

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "tests" / "support"))

import regfile  # noqa: E402

# The temporary keys that stand for the roots.
TREES = {
    "HKEY_CLASSES_ROOT": "HKCR",
    "HKEY_CURRENT_USER": "HKCU",
    "HKEY_USERS": "HKU",
    "HKEY_LOCAL_MACHINE": "HKLM",
}


def lines_of(file):
    return Path(file).read_text(encoding="utf-16").splitlines()


def entries_of(file):
    """The lines that stand for a key or a value, in order; a comparison of what two writers wrote."""
    return sorted(line for line in lines_of(file) if line.startswith(("[", '"', "@")))


def list_of(file):
    """What the bare steps of a traced capture go through, by the .reg file of one: (path, names of its values) of each
    key, by its temporary path."""
    keys = []
    for path, values in regfile.parse(Path(file).read_bytes()).items():
        root, _, below = path.partition("\\")
        keys.append(("%s\\%s" % (TREES[root], below), values))
    return keys


def text_of(keys):
    return "".join("K%s\n" % path + "".join("V%s\n" % value for value in values) for path, values in keys)


def found_in(keys):
    """How many values can be read, and keys removed at their turn: those without subkeys."""
    leaves = [path for path, _ in keys if not any(other.startswith(path + "\\") for other, _ in keys)]
    return len(leaves) + sum(len(values) for _, values in keys)
