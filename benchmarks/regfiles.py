"""What ./bench reads out of .reg files."""

import re
from pathlib import Path

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


def name_of(line):
    """The name of a value's line, without its quotes and escapes; that of the default value is empty."""
    return "" if line.startswith("@") else re.sub(r"\\(.)", r"\1", re.match(r'"((?:[^"\\]|\\.)*)"=', line)[1])


def keys_of(file):
    """The keys of a .reg file, each with the names of its values."""
    keys = []
    for line in lines_of(file):
        if line.startswith("["):
            keys.append((line[1:-1], []))
        elif line.startswith(('"', "@")):
            keys[-1][1].append(name_of(line))
    return keys


def list_of(file):
    """What the bare steps of a traced capture go through, by the .reg file of one: (path, names of its values) of each
    key, by its temporary path."""
    keys = []
    for path, values in keys_of(file):
        root, _, below = path.partition("\\")
        keys.append(("%s\\%s" % (TREES[root], below), values))
    return keys


def text_of(keys):
    return "".join("K%s\n" % path + "".join("V%s\n" % value for value in values) for path, values in keys)


def found_in(keys):
    """How many values can be read, and keys removed at their turn: those without subkeys."""
    parents = [path for path, _ in keys if any(other.startswith(path + "\\") for other, _ in keys)]
    return sum(len(values) for _, values in keys) + len(keys) - len(parents)
