"""A symbol file (PDB) for Windows' debuggers, as Microsoft's linker lays it out: the names and lines of functions, no types.

Its streams: 1 says what it is and matches it with its image, 2 and 4 have types and are empty, 3 has the modules, which are the
units of the compiler. Each module has a stream with its functions and their lines.
"""

import hashlib
import struct

from container import packed
from tables import NameTable, global_table, stream_names

PDB_VERSION = 20000404
FEATURES = 20140508
TYPES_VERSION = 20040203
FIRST_TYPE = 0x1000
MODULES_VERSION = 19990903
CONTRIBUTIONS_VERSION = 0xEFFE0000 + 19970605
# A linker of version 14.11.
LINKER = 0x8E0B
AGE = 1

S_END, S_OBJNAME, S_PUB32, S_LPROC32, S_GPROC32 = 0x0006, 0x1101, 0x110E, 0x110F, 0x1110
S_PROCREF, S_LPROCREF, S_COMPILE3 = 0x1125, 0x1127, 0x113C
PUBLIC_FUNCTION = 2
CPLUSPLUS = 1
PROCESSORS = {0x8664: 0xD0, 0x014C: 0x07}

LINES, CHECKSUMS = 0xF2, 0xF4
STATEMENT = 0x80000000
LAST_LINE = 0xFFFFFF

NO_STREAM = 0xFFFF
WITHOUT_LINES = "functions without lines"


def aligned(data):
    return data + bytes(-len(data) % 4)


def record(kind, data):
    data = aligned(struct.pack("<HH", 0, kind) + data)
    return struct.pack("<H", len(data) - 2) + data[2:]


def text(name):
    return name.encode()[:4000] + b"\0"


def subsection(kind, data):
    return struct.pack("<II", kind, len(data)) + aligned(data)


class Module:
    """The functions of one unit of the compiler, with their lines."""

    def __init__(self, name, machine):
        self.name = name
        self.files = {}
        self.symbols = struct.pack("<I", 4) + record(S_OBJNAME, bytes(4) + text(name))
        versions = struct.pack("<8H", *(0,) * 8)
        self.symbols += record(S_COMPILE3, struct.pack("<IH", CPLUSPLUS, PROCESSORS[machine]) + versions + text("-"))
        self.lines = b""

    def add(self, function, section_address):
        """Returns the offset of the function's record."""
        offset = len(self.symbols)
        kind = S_GPROC32 if function.external else S_LPROC32

        def start(end):
            sizes = struct.pack("<IIII", function.size, 0, function.size, 0)
            place = struct.pack("<IHB", function.offset, function.section, 0)
            return record(kind, struct.pack("<III", 0, end, 0) + sizes + place + text(function.name))

        self.symbols += start(offset + len(start(0))) + record(S_END, b"")
        if function.rows:
            self._add_lines(function, section_address)
        return offset

    def _add_lines(self, function, section_address):
        """Each run of lines of one file is a part of its own: not all readers follow files that alternate within a part."""
        starts = [row.address - section_address for row in function.rows]
        runs = []
        for start, row in zip(starts, function.rows):
            if not runs or runs[-1][1] != row.file:
                runs.append((start, row.file, []))
            runs[-1][2].append((start, min(row.line, LAST_LINE) | STATEMENT))
        ends = [start for start, _, _ in runs[1:]] + [function.offset + function.size]
        for (first, file, lines), end in zip(runs, ends):
            number = self.files.setdefault(file, len(self.files))
            data = b"".join(struct.pack("<II", start - first, line) for start, line in lines)
            # An entry of the files without a checksum has eight bytes.
            block = struct.pack("<III", 8 * number, len(lines), 12 + len(data)) + data
            self.lines += subsection(LINES, struct.pack("<IHHI", first, function.section, 0, end - first) + block)

    def stream(self, names):
        checksums = b"".join(struct.pack("<IHH", names.add(backslashed(file)), 0, 0) for file in self.files)
        self.line_bytes = self.lines + (subsection(CHECKSUMS, checksums) if checksums else b"")
        return self.symbols + self.line_bytes + bytes(4)


def backslashed(file):
    return file.replace("/", "\\")


class SymbolFile:
    def __init__(self, image, section_headers, functions, unit_names):
        self.image = image
        self.section_headers = section_headers
        self.records = bytearray()
        self.publics = []
        self.references = []
        self.contributions = []
        self.modules = []
        self._add_functions(functions, unit_names)

    def _add_functions(self, functions, unit_names):
        indices = {}
        for function in functions:
            if function.unit not in indices:
                indices[function.unit] = len(self.modules)
                name = backslashed(unit_names[function.unit]) if function.unit >= 0 else WITHOUT_LINES
                self.modules.append(Module(name, self.image.machine))
            index = indices[function.unit]
            offset = self.modules[index].add(function, self.image.sections[function.section - 1].address)
            self._contribute(function, index)
            if function.external:
                public = struct.pack("<IIH", PUBLIC_FUNCTION, function.offset, function.section) + text(function.linker_name)
                self.publics.append((function.linker_name, self._record(S_PUB32, public)))
            kind = S_PROCREF if function.external else S_LPROCREF
            reference = struct.pack("<IIH", 0, offset, index + 1) + text(function.name)
            self.references.append((function.name, self._record(kind, reference)))

    def _contribute(self, function, index):
        last = self.contributions[-1] if self.contributions else None
        if last and last[0] == function.section and last[3] == index and last[1] + last[2] == function.offset:
            last[2] += function.size
        else:
            self.contributions.append([function.section, function.offset, function.size, index])

    def _record(self, kind, data):
        offset = len(self.records)
        self.records += record(kind, data)
        return offset

    def _contribution(self, section, offset, size, index):
        characteristics = self.image.sections[section - 1].characteristics
        return struct.pack("<HHiiIHHII", section, 0, offset, size, characteristics, index, 0, 0, 0)

    def packed(self, hashed):
        """The bytes of the file, and the GUID that matches it with its image: a hash of all of both."""
        names = NameTable()
        streams = [b"", b"", types(), b"", types(), b""]

        def add(stream):
            streams.append(stream)
            return len(streams) - 1

        globals_stream = add(global_table(self.references))
        # They were added in the order of their addresses.
        addresses = struct.pack("<%dI" % len(self.publics), *(offset for _, offset in self.publics))
        public_table = global_table(self.publics)
        publics_stream = add(
            struct.pack("<IIIIHHII", len(public_table), len(addresses), 0, 0, 0, 0, 0, len(self.section_headers))
            + public_table
            + addresses
        )
        records_stream = add(bytes(self.records))
        sections_stream = add(b"".join(self.section_headers))
        module_streams = [add(module.stream(names)) for module in self.modules]
        names_stream = add(names.packed())

        parts = [
            self._module_list(module_streams),
            struct.pack("<I", CONTRIBUTIONS_VERSION) + b"".join(self._contribution(*entry) for entry in self.contributions),
            section_map(self.section_headers),
            self._file_list(),
            NameTable().packed(),
            struct.pack("<11H", *(sections_stream if place == 5 else NO_STREAM for place in range(11))),
        ]
        modules, contributions, sections, files, edits, others = map(len, parts)
        streams[3] = struct.pack("<iII", -1, MODULES_VERSION, AGE)
        streams[3] += struct.pack("<HHHHHH", globals_stream, LINKER, publics_stream, 0, records_stream, 0)
        streams[3] += struct.pack("<iiiiiIii", modules, contributions, sections, files, 0, 0, others, edits)
        streams[3] += struct.pack("<HHI", 0, self.image.machine, 0) + b"".join(parts)

        digest = hashlib.sha256(hashed)
        for stream in streams:
            digest.update(struct.pack("<I", len(stream)) + stream)
        guid = digest.digest()[:16]
        streams[1] = struct.pack("<II", PDB_VERSION, struct.unpack_from("<I", guid)[0]) + struct.pack("<I", AGE) + guid
        streams[1] += stream_names({"/LinkInfo": 5, "/names": names_stream}) + struct.pack("<I", FEATURES)
        return packed(streams), guid

    def _module_list(self, streams):
        result = b""
        for index, (module, stream) in enumerate(zip(self.modules, streams)):
            first = next(entry for entry in self.contributions if entry[3] == index)
            sizes = struct.pack("<III", len(module.symbols), 0, len(module.line_bytes))
            start = struct.pack("<I", 0) + self._contribution(*first) + struct.pack("<HH", 0, stream) + sizes
            start += struct.pack("<HHIII", len(module.files), 0, 0, 0, 0)
            result += aligned(start + text(module.name) + text(module.name))
        return result

    def _file_list(self):
        counts = [len(module.files) for module in self.modules]
        names = NameTable()
        offsets = [names.add(backslashed(file)) for module in self.modules for file in module.files]
        firsts = [sum(counts[:index]) & 0xFFFF for index in range(len(counts))]
        shorts = [len(counts), len(offsets) & 0xFFFF, *firsts, *counts]
        return aligned(struct.pack("<%dH" % len(shorts), *shorts) + struct.pack("<%dI" % len(offsets), *offsets) + names.buffer)


def types():
    """A stream of types without any."""
    empty = struct.pack("<HHII", NO_STREAM, NO_STREAM, 4, 0x3FFFF) + struct.pack("<iIiIiI", *(0,) * 6)
    return struct.pack("<IIIII", TYPES_VERSION, 56, FIRST_TYPE, FIRST_TYPE, 0) + empty


def section_map(headers):
    """The sections as segments, and one more for what has no address in the image."""
    entries = b""
    for index, header in enumerate(headers):
        (size,) = struct.unpack_from("<I", header, 8)
        (characteristics,) = struct.unpack_from("<I", header, 36)
        # Read, write and execute; a 32-bit address, a selector.
        access = sum(bit for bit, flag in ((1, 1 << 30), (2, 1 << 31), (4, 1 << 29)) if characteristics & flag)
        entries += struct.pack("<HHHHHHII", access | 0x108, 0, 0, index + 1, NO_STREAM, NO_STREAM, 0, size)
    entries += struct.pack("<HHHHHHII", 0x208, 0, 0, len(headers) + 1, NO_STREAM, NO_STREAM, 0, 0xFFFFFFFF)
    return struct.pack("<HH", len(headers) + 1, len(headers) + 1) + entries
