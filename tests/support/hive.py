"""Reads the hives that Wine stores as text files, for tests."""

import re

SZ, BINARY, DWORD, LINK = 1, 3, 4, 6

# The files of a prefix's hives and the keys that they contain.
FILES = {
    "system.reg": "HKEY_LOCAL_MACHINE",
    "user.reg": "HKEY_CURRENT_USER",
    "userdef.reg": "HKEY_USERS\\.Default",
}

ESCAPE = re.compile(r"\\(x[0-9a-fA-F]{1,4}|[0-7]{1,3}|.)", re.S)
LETTERS = {"a": "\a", "b": "\b", "t": "\t", "n": "\n", "v": "\v", "f": "\f", "r": "\r", "e": "\x1b"}
KEY = re.compile(r"\[((?:[^\]\\]|\\.)*)\]")
VALUE = re.compile(r'(?:@|"((?:[^"\\]|\\.)*)")=(.*)', re.S)
TEXT = re.compile(r'(?:str\(([0-9a-f]+)\):)?"((?:[^"\\]|\\.)*)"$', re.S)
PAIRS = re.compile(r"hex(?:\(([0-9a-f]+)\))?:(.*)", re.S)


def unescaped(text):
    def unit(found):
        escape = found[1]
        if escape[0] == "x":
            return chr(int(escape[1:], 16))
        if escape[0] in "01234567":
            return chr(int(escape, 8))
        return LETTERS.get(escape, escape)

    return ESCAPE.sub(unit, text)


def parsed(form):
    """The type and bytes of a value's right side."""
    text = TEXT.match(form)
    if text:
        return int(text[1] or str(SZ), 16), (unescaped(text[2]) + "\0").encode("utf-16-le", "surrogatepass")
    if form.startswith("dword:"):
        return DWORD, int(form[len("dword:") :], 16).to_bytes(4, "little")
    pairs = PAIRS.match(form)
    return int(pairs[1] or str(BINARY), 16), bytes.fromhex(re.sub(r"[^0-9a-f]", "", pairs[2]))


def lines(path):
    """The file's lines, each joined with its continuation lines."""
    with open(path, encoding="ascii", newline="\n") as hive:
        continued = ""
        for line in hive:
            line = continued + line.rstrip("\n")
            continued = line[:-1] if line.endswith("\\") else ""
            if not continued:
                yield line


def with_parents(path):
    """The paths of a key and its ancestors; a hive doesn't list keys that contain only other keys."""
    names = path.split("\\")
    return ["\\".join(names[: count + 1]) for count in range(len(names))]


def sections(path, root):
    """The unchanged lines of the values of each key that the file lists, without those about times."""
    keys, values = {}, []
    for line in lines(path):
        if line.startswith("["):
            values = keys[root + "\\" + unescaped(KEY.match(line)[1])] = []
        elif line[:1] in ("@", '"'):
            values.append(line)
    return keys


def values_in(section):
    """The type and bytes of each value in the lines of a key, by name."""
    found = [VALUE.match(line).groups() for line in section]
    return {unescaped(name or ""): parsed(form) for name, form in found}


def parse(path, root):
    """Each key's path below `root`, with the type and bytes of its values by name."""
    keys = {}
    for name, section in sections(path, root).items():
        for parent in with_parents(name):
            keys.setdefault(parent, {})
        keys[name].update(values_in(section))
    return keys


def parse_all(folder):
    """The keys of all hives in a folder."""
    keys = {}
    for file, root in FILES.items():
        keys.update(parse(folder / file, root))
    return keys


def link_target(keys, path):
    """Where a key of HKEY_LOCAL_MACHINE leads if it is a symbolic link, or the key itself."""
    kind, data = keys.get(path, {}).get("SymbolicLinkValue", (None, b""))
    return data.decode("utf-16-le").replace("\\Registry\\Machine", "HKEY_LOCAL_MACHINE", 1) if kind == LINK else path


def real_path(keys, path):
    """The path under which the hives have a key, without links on the way."""
    real, *names = path.split("\\")
    for name in names:
        real = link_target(keys, real + "\\" + name)
    return real
