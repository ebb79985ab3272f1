"""A second reader of .reg files, which shares nothing with keykit: hivexregedit imports them into the file of a hive, and writes
what the hive has then. Several files are read at once, each below a key of its own. What hivexregedit can't read is left out
and counted by the reason."""

import os
import re
import struct
import subprocess
from collections import Counter

import regfile

# Without these layers of Perl, hivexregedit takes each byte for a letter.
ENVIRONMENT = dict(os.environ, PERL5OPT="-CSD")

NO_CELL = 0xFFFFFFFF

MOST_LINES = 100

HALF_CHARACTER = re.compile("[\ud800-\udfff]")
NO_CHARACTER = re.compile("[\ufdd0-\ufdef\ufffe\uffff]")

KEY_LINE = re.compile(r"\[\\(\d+)(?:\\(.*))?\]")
VALUE_LINE = re.compile(r'(?:@|"((?:[^"\\]|\\["\\])*)")=(?:dword:([0-9a-f]{8})|hex\(([0-9a-f]+)\):([0-9a-f,]*))')


def empty_hive():
    """The file of a hive that has a root alone."""
    security = struct.pack("<2sHIIII", b"sk", 0, 0x80, 0x80, 1, 20) + struct.pack("<BBHIIII", 1, 0, 0x8000, 0, 0, 0, 0)
    root = struct.pack("<2sHQ10I", b"nk", 0x2C, 0, 0, NO_CELL, 0, 0, NO_CELL, NO_CELL, 0, NO_CELL, 0x80, NO_CELL)
    root += struct.pack("<IIIIIHH", 0, 0, 0, 0, 0, 4, 0) + b"root"
    cells = cell(root, 0x60) + cell(security, 0x40)
    cells += struct.pack("<i", 0x1000 - 0x20 - len(cells)).ljust(0x1000 - 0x20 - len(cells), b"\0")
    page = struct.pack("<4sIIQQI", b"hbin", 0, 0x1000, 0, 0, 0) + cells
    head = struct.pack("<4sIIQIIIIIII", b"regf", 1, 1, 0, 1, 3, 0, 1, 0x20, 0x1000, 1).ljust(0x1FC, b"\0")
    checksum = 0
    for (number,) in struct.iter_unpack("<I", head):
        checksum ^= number
    return (head + struct.pack("<I", checksum)).ljust(0x1000, b"\0") + page


def cell(content, size):
    """A cell in use, at a place that the pointers above have as a literal."""
    return struct.pack("<i", -size) + content.ljust(size - 4, b"\0")


def refusal(text):
    """Why hivexregedit can't read an entry; none if it can."""
    if "\n" in text.replace("\\\r\n", "").removesuffix("\r\n"):
        return "has a line break in a text, and hivexregedit reads line by line"
    if HALF_CHARACTER.search(text):
        return "has half a character, which UTF-8 doesn't have"
    if NO_CHARACTER.search(text):
        return "has a number that is no character, and Perl replaces it"
    return None


def readable(text):
    """An entry's text in lines as hivexregedit reads them. Its time grows with the square of their number, so more of them are joined here."""
    lines = text.removesuffix("\r\n").split("\\\r\n")
    return "\\\n".join(lines) if len(lines) <= MOST_LINES else "".join(line.strip(" ") for line in lines)


def sections(data):
    """The keys of a .reg file, each with the names and the texts of its entries."""
    text = data.decode("utf-16-le", "surrogatepass")
    at, found = len(regfile.HEADER), []
    while at < len(text):
        header = regfile.KEY.match(text, at)
        if header:
            found.append((header[1], []))
            at = header.end()
            continue
        end = regfile.parse_value(text, at, {})
        found[-1][1].append((regfile.unescaped(regfile.NAME.match(text, at)[1] or ""), text[at:end]))
        at = end
    return found


def with_parents(keys):
    """The keys and all those above them, which a hive has as well."""
    parents = {key[: found.start()] for key in keys for found in re.finditer(r"\\", key)}
    return {**{parent: {} for parent in parents}, "": {}, **keys}


class SecondReader:
    """Takes files with `add`, and reads all of them with `read`."""

    def __init__(self, folder):
        self.folder = folder
        self.left_out = Counter()
        self.compared = 0
        self.lines = ["Windows Registry Editor Version 5.00", ""]
        self.keys = set()
        self.files = 0

    def add(self, data):
        """The bytes of a file. Returns what the file has by the tests' own reader, without what is left out."""
        expected = regfile.parse(data)
        self.lines += ["[%d]" % self.files, ""]
        for key, found in sections(data):
            if refusal(key):
                self.left_out["a key that " + refusal(key)] += 1 + len(found)
                del expected[key]
                continue
            self.add_key("%d\\%s" % (self.files, key))
            for name, text in found:
                if refusal(text):
                    self.left_out["an entry that " + refusal(text)] += 1
                    del expected[key][name]
                else:
                    self.lines.append(readable(text))
            self.lines.append("")
        self.files += 1
        self.compared += sum(map(len, expected.values()))
        return expected

    def report(self):
        left_out = ["%d left out: %s" % (count, reason) for reason, count in sorted(self.left_out.items())]
        return "; ".join(["hivexregedit: %d values of %d files compared" % (self.compared, self.files), *left_out])

    def add_key(self, path):
        """hivexregedit makes a key only below one that is there."""
        parts = path.split("\\")
        for length in range(2, len(parts)):
            parent = "\\".join(parts[:length])
            if parent.lower() not in self.keys:
                self.keys.add(parent.lower())
                self.lines += ["[%s]" % parent, ""]
        self.keys.add(path.lower())
        self.lines.append("[%s]" % path)

    def read(self):
        """What the hive has of each file, in the order of `add`: type and bytes by name, by key."""
        hive, file = self.folder / "hive", self.folder / "merged.reg"
        hive.write_bytes(empty_hive())
        file.write_text("\n".join(self.lines) + "\n", encoding="utf-8", newline="")
        subprocess.run(["hivexregedit", "--merge", hive, file], check=True, env=ENVIRONMENT)
        output = subprocess.run(["hivexregedit", "--export", hive, "\\"], check=True, env=ENVIRONMENT, capture_output=True)
        return self.exported(output.stdout.decode("utf-8"))

    def exported(self, text):
        registries, values = [{} for _ in range(self.files)], None
        for line in text.split("\n")[2:]:
            key, value = KEY_LINE.fullmatch(line), VALUE_LINE.fullmatch(line)
            if key:
                values = registries[int(key[1])].setdefault(key[2] or "", {})
            elif value:
                name, number, kind, digits = value.groups()
                data = int(number, 16).to_bytes(4, "little") if number else bytes.fromhex(digits.replace(",", ""))
                values[regfile.unescaped(name or "")] = (regfile.DWORD if number else int(kind, 16), data)
            else:
                assert line in ("", "[\\]"), line
        return registries
