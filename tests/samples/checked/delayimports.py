"""Enters into an image's directory the list of libraries whose loading is delayed, which GNU's linker leaves out:
delayimports.py IMAGE LIBRARY...

The descriptors that dlltool made are in the image already. Copies of them form a list in the unused end of a section."""

import struct
import sys

DIRECTORY = 13
DESCRIPTOR = 32
READABLE_DATA, CODE, WRITABLE = 0x40000040, 0x20, 0x80000000


class Image:
    def __init__(self, content):
        self.content = bytearray(content)
        header = self.number(0x3C)
        is_64 = self.content[header + 0x18 : header + 0x1A] == b"\x0b\x02"
        self.directory = header + 0x18 + (112 if is_64 else 96) + 8 * DIRECTORY
        first = header + 0x18 + struct.unpack_from("<H", self.content, header + 0x14)[0]
        count = struct.unpack_from("<H", self.content, header + 6)[0]
        self.sections = [first + 40 * index for index in range(count)]

    def number(self, place):
        return struct.unpack_from("<I", self.content, place)[0]

    def fields(self, section):
        """Virtual size, address, size in the file, place in the file."""
        return struct.unpack_from("<4I", self.content, section + 8)

    def places(self, wanted, step=1):
        """Place and address of each occurrence of bytes."""
        for section in self.sections:
            size, address, stored, start = self.fields(section)
            for place in range(start, start + min(size, stored), step):
                if self.content.startswith(wanted, place):
                    yield place, address + place - start

    def descriptor(self, library):
        for _, address in self.places(library.encode() + b"\0"):
            for place, _ in self.places(struct.pack("<II", 1, address), 4):
                return bytes(self.content[place : place + DESCRIPTOR])
        raise SystemExit("delayimports.py: the image has no descriptor of %s" % library)

    def add_list(self, data):
        for section in self.sections:
            size, address, stored, start = self.fields(section)
            flags = self.number(section + 36)
            begin = (size + 7) & ~7
            if flags & READABLE_DATA == READABLE_DATA and not flags & (CODE | WRITABLE) and begin + len(data) <= stored:
                self.content[start + begin : start + begin + len(data)] = data
                struct.pack_into("<I", self.content, section + 8, begin + len(data))
                struct.pack_into("<II", self.content, self.directory, address + begin, len(data))
                return
        raise SystemExit("delayimports.py: no section has %d unused bytes" % len(data))


def main():
    name, libraries = sys.argv[1], sys.argv[2:]
    with open(name, "rb") as file:
        image = Image(file.read())
    descriptors = [image.descriptor(library) for library in libraries]
    image.add_list(b"".join(descriptors) + bytes(DESCRIPTOR))
    with open(name, "wb") as file:
        file.write(image.content)


main()
