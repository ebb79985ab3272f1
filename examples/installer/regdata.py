#!/usr/bin/python3
"""Usage: regdata.py nsis|wixl NAME BITS FILE.reg FOLDER PLACE

Turns a captured .reg file into the part of an installer that writes the same entries and takes them away again, with
the target folder in the place of the build machine's.

  nsis    macros NAME_Register and NAME_Unregister for an NSIS script; PLACE is text such as '$INSTDIR\\x64'
  wixl    a component NAME for a wixl file; PLACE is the Id of a Directory
  BITS    64 or 32: the bitness of the captured server, and so the view of the registry that its entries belong to
  FOLDER  the folder that the server was captured in, as a path of this machine or of Windows

What the server wrote to HKEY_CLASSES_ROOT goes to HKEY_LOCAL_MACHINE\\Software\\Classes, for all users. An entry that the
installer can't carry, or that no server registered, ends the command with status 1 and a line that names the entry.
"""

import os
import re
import struct
import sys
import uuid
from pathlib import Path

SZ, EXPAND_SZ, BINARY, DWORD, MULTI_SZ = 1, 2, 3, 4, 7

# Replaces data that were gone when a trace's result was made.
UNREADABLE = "\u5555" * 10

# Names that no server meant: those of the tree that a capture redirects to, and the registry of an account as a part of
# the machine's, where a trace didn't know it.
TEMPORARY_TREE = re.compile(r"software\\velmoro\\tesselink\\temporary(\\|\Z)", re.I)
ACCOUNT = re.compile(r"HKEY_LOCAL_MACHINE\\S-1-", re.I)

HEADER = "Windows Registry Editor Version 5.00\r\n"
KEY = re.compile(r"\r\n\[(.*)\]\r\n")
NAME = re.compile(r'(?:@|"((?:\\?[^"\\]|\\["\\])*|[\\"])")=')
# A lone backslash or quote is not escaped, nor is one at the start of a text that contains no other.
TEXT = re.compile(r'"((?:\\?[^"\\]|\\["\\])*|[\\"][^"\\]*)"\r\n')
NUMBER = re.compile(r"dword:([0-9a-f]{8})\r\n")
# An empty text of several units has the comma of its terminator directly after the colon.
BYTES = re.compile(r"hex(?:\(([0-9a-f]+)\))?:,?((?:[0-9a-f]{2}(?:,(?:\\\r\n  )?)?)*)\r\n")

ROOTS = {
    "HKEY_CLASSES_ROOT": ("HKLM", "Software\\Classes"),
    "HKEY_LOCAL_MACHINE": ("HKLM", ""),
    "HKEY_CURRENT_USER": ("HKCU", ""),
    "HKEY_USERS": ("HKU", ""),
}


class NotCarried(Exception):
    """An entry that can't be read, or that an installer can't carry."""


class Key:
    def __init__(self, name):
        root, _, below = name.partition("\\")
        if root not in ROOTS or ACCOUNT.match(name) or TEMPORARY_TREE.search(name):
            raise NotCarried("%s: no key that a server registers" % name)
        self.name = name
        self.root, top = ROOTS[root]
        self.path = "\\".join(part for part in (top, below) if part)
        self.is_root = not below
        self.values = []


# Reading


def unescaped(text):
    return re.sub(r'\\(["\\])', r"\1", text)


def characters(data):
    return data.decode("utf-16-le", "surrogatepass")


def parsed_value(text, at):
    """The type and data of a value's text, and where the text ends."""
    found = TEXT.match(text, at)
    if found and found[1] == UNREADABLE:
        raise NotCarried("could not be read when it was captured")
    if found and TEMPORARY_TREE.search(unescaped(found[1])):
        raise NotCarried("names the temporary tree of the capture")
    if found:
        return SZ, unescaped(found[1]), found.end()
    found = NUMBER.match(text, at)
    if found:
        return DWORD, int(found[1], 16), found.end()
    found = BYTES.match(text, at)
    if found:
        kind = int(found[1] or str(BINARY), 16)
        data = bytes.fromhex(re.sub(r"[^0-9a-f]", "", found[2]))
        if kind == EXPAND_SZ:
            return kind, characters(data).split("\0")[0], found.end()
        if kind == MULTI_SZ:
            return kind, [part for part in characters(data).split("\0") if part], found.end()
        if kind == BINARY:
            return kind, data, found.end()
    raise NotCarried("of a type that an installer can't carry")


def parsed_keys(data):
    """The keys of a .reg file with their values, in its order."""
    text = data.decode("utf-16")
    if not text.startswith(HEADER):
        raise NotCarried("this is no .reg file")
    keys, at = [], len(HEADER)
    while at < len(text):
        found = KEY.match(text, at)
        if found:
            keys.append(Key(found[1]))
            at = found.end()
            continue
        name = NAME.match(text, at)
        if not name or not keys:
            raise NotCarried("no entry: %r" % text[at : at + 60])
        try:
            kind, value, at = parsed_value(text, name.end())
        except NotCarried as reason:
            raise NotCarried("%s, value %r: %s" % (keys[-1].name, unescaped(name[1] or ""), reason)) from None
        keys[-1].values.append((unescaped(name[1] or ""), kind, value))
    if not any(key.values for key in keys):
        raise NotCarried("no value was captured")
    return keys


# The build machine's folder


class Folder:
    """The folder that the server was captured in, and its replacement in the installer."""

    def __init__(self, path, place, ending=""):
        """`ending` is the part of the text after the folder that `place` already contains."""
        if not re.match(r"[A-Za-z]:|\\\\", path):
            path = "Z:" + os.path.abspath(path).replace("/", "\\")
        # The system may put \\?\ before a path.
        path = r"(?:\\\\\?\\)?" + re.escape(path.rstrip("\\"))
        following = "(?:%s|(?![^\"]))" % re.escape(ending) if ending else r'(?![^\\"])'
        self.pattern = re.compile(path + following, re.I)
        self.place = place

    def applied(self, text, escaped):
        """The text with the folder replaced by the place, and everything else escaped by `escaped`."""
        return self.place.join(escaped(part) for part in self.pattern.split(text))


def above(path):
    return path.rpartition("\\")[0].lower()


def leaves_without_values(keys):
    """Keys without values and without keys below them."""
    parents = {above(key.path) for key in keys}
    return [key for key in keys if not key.values and not key.is_root and key.path.lower() not in parents]


def is_own(key, keys):
    """True if an empty key belongs to the server: it is below a key in which the server set a value."""
    with_values = {other.path.lower() for other in keys if other.values}
    path = above(key.path)
    while path and path not in with_values:
        path = above(path)
    return path != ""


def with_those_above(keys):
    """Root and path of the keys and of all keys that were created with them, the deepest first. A trace doesn't name a
    key that contains only other keys."""
    found = {}
    for key in keys:
        path = key.path
        while path:
            found.setdefault((key.root, path.lower()), (key.root, path))
            path = path.rpartition("\\")[0]
    return sorted(found.values(), key=lambda place: (-place[1].count("\\"), place))


# NSIS

LONGEST_TEXT = 1023


def nsis_text(text):
    escapes = {"$": "$$", '"': '$\\"', "\r": "$\\r", "\n": "$\\n", "\t": "$\\t"}
    return "".join(escapes.get(letter, letter) for letter in text)


def nsis_key(root, path, bits):
    """Root and path of a key; only the machine's part of the registry has two views."""
    return '%s%s "%s"' % (root, bits if root == "HKLM" else "", nsis_text(path))


def nsis_write(key, name, kind, value, bits, folder):
    if kind in (SZ, EXPAND_SZ) and len(value) > LONGEST_TEXT:
        raise NotCarried("%s, value %r: NSIS carries %d characters" % (key.name, name, LONGEST_TEXT))
    where = '%s "%s"' % (nsis_key(key.root, key.path, bits), nsis_text(name))
    if kind == SZ:
        return 'WriteRegStr %s "%s"' % (where, folder.applied(value, nsis_text))
    if kind == EXPAND_SZ:
        return 'WriteRegExpandStr %s "%s"' % (where, folder.applied(value, nsis_text))
    if kind == DWORD:
        return "WriteRegDWORD %s 0x%08x" % (where, value)
    if kind == BINARY:
        return 'WriteRegBin %s "%s"' % (where, value.hex())
    units = "".join(part + "\0" for part in value) + "\0"
    return "WriteRegMultiStr /REGEDIT5 %s %s" % (where, units.encode("utf-16-le").hex())


def nsis_register(name, bits, keys, folder):
    for key in keys:
        for value in key.values:
            yield nsis_write(key, *value, bits, folder)
    for key in leaves_without_values(keys):
        # A value that comes and goes leaves the key.
        where = '%s "%s"' % (nsis_key(key.root, key.path, bits), name)
        yield 'WriteRegStr %s ""' % where
        yield "DeleteRegValue " + where


def nsis_unregister(bits, keys):
    for key in keys:
        for value, _, _ in key.values:
            yield 'DeleteRegValue %s "%s"' % (nsis_key(key.root, key.path, bits), nsis_text(value))
    for root, path in with_those_above(keys):
        yield "DeleteRegKey /ifempty " + nsis_key(root, path, bits)


def nsis(name, bits, keys, folder):
    macros = {"Register": nsis_register(name, bits, keys, folder), "Unregister": nsis_unregister(bits, keys)}
    lines = []
    for macro, body in macros.items():
        lines += ["!macro %s_%s" % (name, macro), *("  " + line for line in body), "!macroend"]
    return "\n".join(lines) + "\n"


# wixl

LONGEST_KEY = 255


def wixl_text(text):
    """The text's form in a column of Windows Installer's type Formatted."""
    return re.sub(r"([\[\]{}])", r"[\\\1]", text)


def wxs_text(text):
    """Escapes the text for XML, and doubles a dollar sign, since a single one begins a variable."""
    escapes = {"$": "$$", "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "\r": "&#13;", "\n": "&#10;", "\t": "&#9;"}
    return "".join(escapes.get(letter, letter) for letter in text)


# wixl has no type for lists. It doesn't change a string that begins with the separator.
WIXL_TYPES = {SZ: "string", EXPAND_SZ: "expandable", DWORD: "integer", BINARY: "binary", MULTI_SZ: "string"}


def wixl_data(kind, value, folder):
    """Begins with what says the type to Windows Installer where some releases of wixl don't write it."""
    if kind == SZ:
        return folder.applied(value, wixl_text)
    if kind == EXPAND_SZ:
        return "#%" + folder.applied(value, wixl_text)
    if kind == DWORD:
        return "%d" % struct.unpack("<i", struct.pack("<I", value))
    if kind == BINARY:
        return "#x" + value.hex().upper()
    return "[~]" + "[~]".join(wixl_text(part) for part in value) + "[~]"


def wixl_value(key, name, kind, data):
    if len(key.path) > LONGEST_KEY:
        raise NotCarried("%s: Windows Installer carries %d characters" % (key.name, LONGEST_KEY))
    words = (key.root, wxs_text(key.path), wxs_text(name), WIXL_TYPES[kind], wxs_text(data))
    return '  <RegistryValue Root="%s" Key="%s" Name="%s" Type="%s" Value="%s"/>' % words


def wixl_row(key, name, kind, value, folder):
    if name in ("+", "-", "*"):
        raise NotCarried("%s: Windows Installer has a meaning of its own for a value %r" % (key.name, name))
    return wixl_value(key, wixl_text(name), kind, wixl_data(kind, value, folder))


def wixl(name, bits, keys, folder):
    guid = uuid.uuid5(uuid.NAMESPACE_URL, "keyreap:%s:%s" % (name, bits))
    win64 = "yes" if bits == "64" else "no"
    lines = ["<Include>", '<Component Id="%s" Guid="%s" Win64="%s">' % (name, guid, win64)]
    for key in keys:
        lines += [wixl_row(key, *value, folder) for value in key.values]
    # A row of this name makes a key. With an asterisk it also removes the key, with everything that is in it then.
    names = {True: "*", False: "+"}
    lines += [wixl_value(key, names[is_own(key, keys)], SZ, "") for key in leaves_without_values(keys)]
    return "\n".join(lines + ["</Component>", "</Include>", ""])


WRITERS = {"nsis": nsis, "wixl": wixl}


def main(words):
    if len(words) != 6 or words[0] not in WRITERS or words[2] not in ("64", "32"):
        sys.exit(__doc__)
    writer, name, bits, file, path, place = words
    # A Directory's property ends in a backslash.
    folder = Folder(path, place) if writer == "nsis" else Folder(path, "[%s]" % place, "\\")
    try:
        text = WRITERS[writer](name, bits, parsed_keys(Path(file).read_bytes()), folder)
    except NotCarried as reason:
        sys.exit("%s: %s" % (file, reason))
    sys.stdout.write(text)


if __name__ == "__main__":
    main(sys.argv[1:])
