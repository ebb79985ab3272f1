"""The .reg file that a capture by redirection has for a registry tree. This is a second, independent statement of the
rules.

Texts are Python strings with one character for each UTF-16 unit, so a surrogate pair is two characters.
"""

NONE, SZ, EXPAND, BINARY, DWORD, MULTI, QWORD = 0, 1, 2, 3, 4, 7, 11

ROOTS = ("HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_USERS", "HKEY_LOCAL_MACHINE")

LONGEST_NAME = 260
UNITS_OF_A_LINE = 50


def units(data):
    """The whole UTF-16 units of some bytes; half a unit at the end is left out."""
    return "".join(chr(data[i] | data[i + 1] << 8) for i in range(0, len(data) // 2 * 2, 2))


def raw(text):
    """The bytes of a text's units, with no terminator."""
    return text.encode("utf-16-le", "surrogatepass")


def order(name):
    """Keys and values are enumerated by the lower-cased units of their names, a shorter name first."""
    return [ord(unit.lower()) if len(unit.lower()) == 1 else ord(unit) for unit in name]


class Key:
    def __init__(self):
        self.values = {}
        self.children = {}

    def child(self, path):
        key = self
        for name in path.split("\\"):
            key = key.children.setdefault(name, Key())
        return key

    def set(self, name, kind, data):
        self.values[name] = (kind, bytes(data))
        return self

    def text(self, name, text):
        return self.set(name, SZ, raw(text + "\0"))

    def dword(self, name, number):
        return self.set(name, DWORD, number.to_bytes(4, "little"))


def redirected_roots():
    """The four roots as a target finds them: empty except for the machine's classes."""
    roots = {name: Key() for name in ROOTS}
    roots["HKEY_LOCAL_MACHINE"].child("Software\\Classes")
    return roots


def value_text(kind, data, previous):
    """The canonical text of a value; types that have none keep the text of the previous value."""
    if not data:
        return ""
    if kind in (SZ, EXPAND):
        return units(data).split("\0")[0]
    if kind == BINARY:
        return data.hex()
    if kind == DWORD:
        return str(int.from_bytes(data[:4], "little"))
    if kind == MULTI:
        characters = units(data)
        separated = characters[:-1].replace("\0", "\n") + characters[-1:]
        return separated.split("\0")[0].replace("\n", "\r\n")
    return previous


def escaped(text):
    special = [i for i, unit in enumerate(text) if unit in '\\"']
    if special in ([], [0]):
        return text
    return "".join("\\" + unit if unit in '\\"' else unit for unit in text)


def wide_hex(text):
    taken = ["\0" if unit == "\n" else unit for unit in text if unit != "\r"]
    return ",".join(f"{ord(unit) & 255:02x},{ord(unit) >> 8:02x}" for unit in taken) + ",00,00"


def hex_pairs(text):
    lines = [text[i : i + UNITS_OF_A_LINE] for i in range(0, len(text), UNITS_OF_A_LINE)]
    pairs = (",".join(line[i : i + 2] for i in range(0, len(line), 2)) for line in lines)
    return ",\\\r\n  ".join(pairs)


def right_side(kind, text):
    if kind == SZ:
        return '"' + escaped(text) + '"'
    if kind == EXPAND:
        return "hex(2):" + wide_hex(text)
    if kind == BINARY:
        return "hex:" + hex_pairs(text)
    if kind == DWORD:
        return f"dword:{int(text or '0'):08x}"
    if kind == MULTI:
        return "hex(7):" + wide_hex(text)
    if kind == QWORD:
        return "hex(b):" + hex_pairs(text)
    return ""


def value_lines(key):
    text = ""
    for name in sorted(key.values, key=order):
        if len(name) > LONGEST_NAME:
            return  # a capture stops reading the key here, without an error
        kind, data = key.values[name]
        text = value_text(kind, data, text)
        left = '"' + escaped(name) + '"' if name else "@"
        yield left + "=" + right_side(kind, text) + "\r\n"


def key_lines(path, key):
    yield f"\r\n[{path}]\r\n"
    yield from value_lines(key)
    for name in sorted(key.children, key=order):
        yield from key_lines(path + "\\" + name, key.children[name])


def document(roots):
    """The whole file as bytes."""
    lines = ["Windows Registry Editor Version 5.00\r\n"]
    for name in ROOTS:
        lines.extend(key_lines(name, roots[name]))
    return b"\xff\xfe" + raw("".join(lines))
