"""Reads the .reg files that the program writes, for tests: the keys with their values, in the spelling of the file."""

import re

HEADER = "\ufeffWindows Registry Editor Version 5.00\r\n"

KEY = re.compile(r"\r\n\[(.*)\]\r\n")
# A lone backslash or quote at the start of a name or text has no backslash before it.
NAME = re.compile(r'@=|"((?:[^"\\]|\\["\\])*|["\\][^"\\]*)"=')
TEXT = re.compile(r'"((?:[^"\\]|\\["\\])*|["\\][^"\\]*)"\r\n')
NUMBER = re.compile(r"dword:([0-9a-f]{8})\r\n")
PAIRS = re.compile(r"hex(?:\(([0-9a-f]+)\))?:((?:[0-9a-f]{2}(?:,(?:\\\r\n  )?[0-9a-f]{2})*)?)\r\n")
EMPTY = re.compile(r"hex\(([27])\):,00,00\r\n")
NOTHING = re.compile(r"\r\n")
# A harvest writes a REG_QWORD with pieces of the previous value's text.
STALE = re.compile(r"hex\(b\):.*?\r\n(?=\r\n\[|@=|\"|\Z)", re.S)

SZ, BINARY, DWORD, QWORD = 1, 3, 4, 11


class NotRead(Exception):
    """The file contains something that is not an entry."""


def unescaped(text):
    return re.sub(r'\\(["\\])', r"\1", text)


def parsed_text(found):
    return SZ, (unescaped(found[1]) + "\0").encode("utf-16-le", "surrogatepass")


def parsed_number(found):
    return DWORD, int(found[1], 16).to_bytes(4, "little")


def parsed_pairs(found):
    return int(found[1] or str(BINARY), 16), bytes.fromhex(re.sub(r"[^0-9a-f]", "", found[2]))


def parsed_empty(found):
    """A text of length 0 consists of a comma and the terminator."""
    return int(found[1]), b"\0\0"


def parsed_nothing(_):
    return None


def parsed_stale(_):
    return QWORD, None


FORMS = [
    (TEXT, parsed_text),
    (NUMBER, parsed_number),
    (PAIRS, parsed_pairs),
    (EMPTY, parsed_empty),
    (NOTHING, parsed_nothing),
    (STALE, parsed_stale),
]


def parse(data):
    """The values of each key, by the key's path: type and bytes by name. An entry without data is None; bytes are None
    where the file has another value's text instead."""
    text = data.decode("utf-16-le", "surrogatepass")
    if not text.startswith(HEADER):
        raise NotRead("the header")
    keys, values, at = {}, None, len(HEADER)
    while at < len(text):
        key = KEY.match(text, at)
        if key:
            values = keys.setdefault(key[1], {})
            at = key.end()
        else:
            at = parse_value(text, at, values)
    return keys


def parse_value(text, at, values):
    name = NAME.match(text, at)
    if not name or values is None:
        raise NotRead(text[at : at + 100])
    for form, parsed in FORMS:
        found = form.match(text, name.end())
        if found:
            values[unescaped(name[1] or "")] = parsed(found)
            return found.end()
    raise NotRead(text[at : at + 100])
