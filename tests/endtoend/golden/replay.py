"""The .reg file that a capture by trace has for a registry tree. This is a second, independent statement of the rules.

The tree contains the keys that a target changed permanently, in the spelling that they first had.
"""

from document import BINARY, DWORD, MULTI, QWORD, SZ, escaped, raw, right_side, units

# The order in which the roots' keys are collected; each root is sorted by itself.
ROOTS = ("HKEY_LOCAL_MACHINE", "HKEY_CURRENT_USER", "HKEY_CLASSES_ROOT", "HKEY_USERS")

# Replaces a value that was set and can't be read any more.
FILLER = (SZ, raw("\u5555" * 10))

LOWER = {unit: unit + 32 for unit in range(ord("A"), ord("Z") + 1)}


def key_order(path):
    """A key comes directly before its subkeys."""
    return path.replace("\\", "\t").translate(LOWER)


def value_text(kind, data):
    if kind in (BINARY, QWORD):
        return data.hex()
    if kind == DWORD:
        return str(int.from_bytes(data[:4], "little")) if len(data) >= 4 else ""
    if kind == MULTI:
        return units(data)[:-1]
    return units(data).split("\0")[0]


def value_lines(key):
    for name in sorted(key.values):
        kind, data = key.values[name]
        left = '"' + escaped(name) + '"' if name else "@"
        yield left + "=" + right_side(kind, value_text(kind, data)) + "\r\n"


def written_keys(path, key):
    """A key with subkeys and no values is implied by them."""
    if key.values or not key.children:
        yield path, key
    for name, child in key.children.items():
        yield from written_keys(path + "\\" + name, child)


def document(roots):
    """The whole file as bytes."""
    lines = ["Windows Registry Editor Version 5.00\r\n"]
    for root in ROOTS:
        below = roots[root].children.items() if root in roots else ()
        written = [found for name, key in below for found in written_keys(name, key)]
        for path, key in sorted(written, key=lambda found: key_order(found[0])):
            lines.append(f"\r\n[{root}\\{path}]\r\n")
            lines.extend(value_lines(key))
    return b"\xff\xfe" + raw("".join(lines))
