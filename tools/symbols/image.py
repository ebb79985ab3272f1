"""A linked image of the MinGW-w64 linker: its sections and symbols, and its bytes as they are shipped."""

import struct
from typing import NamedTuple

EXECUTABLE = 0x20000000
INITIALIZED_DATA = 0x00000040
READABLE = 0x40000000

EXTERNAL, STATIC = 2, 3
FUNCTION = 0x20

# IMAGE_FILE_LINE_NUMS_STRIPPED and IMAGE_FILE_LOCAL_SYMS_STRIPPED.
STRIPPED = 0x0004 | 0x0008

DEBUG_DIRECTORY = 6
CODEVIEW = 2
DIRECTORY_ENTRY = struct.Struct("<IIHHIIII")
RECORD_START = struct.Struct("<4s16sI")


class Section(NamedTuple):
    name: str
    virtual_size: int
    address: int  # relative to the image's base, as all addresses here
    raw_size: int
    raw_offset: int
    characteristics: int
    header: bytes


class Symbol(NamedTuple):
    name: str
    section: int  # counted from 1
    offset: int
    external: bool


def rounded(size, unit):
    return -(-size // unit) * unit


class Image:
    def __init__(self, data):
        self.data = data
        (self.headers,) = struct.unpack_from("<I", data, 0x3C)
        if data[:2] != b"MZ" or data[self.headers : self.headers + 4] != b"PE\0\0":
            raise ValueError("this is no PE image")
        fields = struct.unpack_from("<HHIIIHH", data, self.headers + 4)
        self.machine, self.section_count, _, self.symbol_offset, self.symbol_count, optional_size, _ = fields
        self.optional = self.headers + 24
        self.section_headers = self.optional + optional_size
        self.is_64 = struct.unpack_from("<H", data, self.optional)[0] == 0x20B
        self.base = struct.unpack_from("<Q" if self.is_64 else "<I", data, self.optional + (24 if self.is_64 else 28))[0]
        self.section_unit, self.file_unit = struct.unpack_from("<II", data, self.optional + 32)
        self.strings = self.symbol_offset + 18 * self.symbol_count
        self.sections = [self._section(index) for index in range(self.section_count)]

    def _section(self, index):
        header = self.data[self.section_headers + 40 * index :][:40]
        name = header[:8].rstrip(b"\0").decode()
        if name.startswith("/"):
            name = self._string(int(name[1:]))
        size, address, raw_size, raw_offset = struct.unpack_from("<IIII", header, 8)
        return Section(name, size, address, raw_size, raw_offset, struct.unpack_from("<I", header, 36)[0], header)

    def _string(self, offset):
        start = self.strings + offset
        return self.data[start : self.data.index(b"\0", start)].decode()

    def contents(self, name):
        """The bytes of the section, or none if there is no such section."""
        for section in self.sections:
            if section.name == name:
                return self.data[section.raw_offset :][: min(section.virtual_size, section.raw_size)]
        return b""

    def functions(self):
        """The symbols of code. A symbol that only marks where an object's section begins has a dot in front of its name."""
        index = 0
        while index < self.symbol_count:
            start = self.symbol_offset + 18 * index
            raw, value, number, kind, storage, auxiliary = struct.unpack_from("<8sIhHBB", self.data, start)
            index += 1 + auxiliary
            if number <= 0 or storage not in (EXTERNAL, STATIC) or not self.sections[number - 1].characteristics & EXECUTABLE:
                continue
            name = self._string(struct.unpack("<4xI", raw)[0]) if raw[:4] == bytes(4) else raw.rstrip(b"\0").decode()
            if kind == FUNCTION or not name.startswith("."):
                yield Symbol(name, number, value, storage == EXTERNAL)

    def shipped(self, symbol_file):
        """The image without DWARF and symbols, but with a record that names the symbol file. The record's GUID is zero."""
        kept = [section for section in self.sections if not section.name.startswith(".debug_")]
        if any(section.name.startswith(".debug_") for section in self.sections[: len(kept)]):
            raise ValueError("a section follows the debug information")
        end = max(section.raw_offset + section.raw_size for section in kept)
        address = rounded(max(section.address + section.virtual_size for section in kept), self.section_unit)
        offset = rounded(end, self.file_unit)
        return ShippedImage(self, kept, offset, address, symbol_file)


class ShippedImage:
    def __init__(self, image, kept, offset, address, symbol_file):
        record_size = RECORD_START.size + len(symbol_file) + 1
        entry = DIRECTORY_ENTRY.pack(
            0, 0, 0, 0, CODEVIEW, record_size, address + DIRECTORY_ENTRY.size, offset + DIRECTORY_ENTRY.size
        )
        content = entry + RECORD_START.pack(b"RSDS", bytes(16), 1) + symbol_file.encode() + b"\0"
        raw_size = rounded(len(content), image.file_unit)
        header = struct.pack(
            "<8sIIIIIIHHI", b".buildid", len(content), address, raw_size, offset, 0, 0, 0, 0, INITIALIZED_DATA | READABLE
        )
        self.section_headers = [header_with_short_name(section) for section in kept] + [header]
        self.guid_offset = offset + DIRECTORY_ENTRY.size + 4
        self.checksum_offset = image.optional + 64
        self.data = bytearray(image.data[:offset].ljust(offset, b"\0") + content.ljust(raw_size, b"\0"))

        headers = b"".join(self.section_headers)
        room = 40 * image.section_count
        if len(headers) > room:
            raise ValueError("there is no room for a section header; was the image stripped already?")
        self._put(image.section_headers, headers.ljust(room, b"\0"))
        self._put(image.headers + 6, struct.pack("<H", len(self.section_headers)))
        self._put(image.headers + 12, bytes(8))
        (flags,) = struct.unpack_from("<H", image.data, image.headers + 22)
        self._put(image.headers + 22, struct.pack("<H", flags | STRIPPED))
        initialized = sum(section.raw_size for section in kept if section.characteristics & INITIALIZED_DATA) + raw_size
        self._put(image.optional + 8, struct.pack("<I", initialized))
        self._put(image.optional + 56, struct.pack("<I", rounded(address + len(content), image.section_unit)))
        directories = image.optional + (112 if image.is_64 else 96)
        self._put(directories + 8 * DEBUG_DIRECTORY, struct.pack("<II", address, DIRECTORY_ENTRY.size))

    def _put(self, offset, value):
        self.data[offset : offset + len(value)] = value

    def with_guid(self, guid):
        self._put(self.guid_offset, guid)
        self._put(self.checksum_offset, bytes(4))
        self._put(self.checksum_offset, struct.pack("<I", checksum(self.data)))
        return bytes(self.data)


def header_with_short_name(section):
    """Names of more than eight bytes are with the symbols; without these they are cut, as the linker cuts them."""
    return section.name.encode()[:8].ljust(8, b"\0") + section.header[8:]


def checksum(data):
    """That of an image's header, whose own field is zero: the sum of all 16-bit units with the carries, and the length."""
    total = sum(struct.unpack("<%dH" % (len(data) // 2), data[: len(data) // 2 * 2])) + (data[-1] if len(data) % 2 else 0)
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total + len(data)
