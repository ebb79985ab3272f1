"""The line table of DWARF 2 to 5 (.debug_line): which line of which file each address of the code is made from."""

import struct
from typing import NamedTuple

# Standard opcodes.
COPY, ADVANCE_PC, ADVANCE_LINE, SET_FILE = 1, 2, 3, 4
CONST_ADD_PC, FIXED_ADVANCE_PC = 8, 9

# Extended opcodes.
END_SEQUENCE, SET_ADDRESS = 1, 2

# What an entry of DWARF 5 contains, and in which form.
PATH, DIRECTORY = 1, 2
STRING, LINE_STRING, STRING_OFFSET = 0x08, 0x1F, 0x0E
UNSIGNED_LEB, DATA_1, DATA_2, DATA_4, DATA_8, DATA_16, BLOCK = 0x0F, 0x0B, 0x05, 0x06, 0x07, 0x1E, 0x09


class Row(NamedTuple):
    address: int
    file: str
    line: int


class Sequence(NamedTuple):
    unit: int  # counted from 0
    end: int
    rows: list  # by address; none is at or after the end


class Cursor:
    def __init__(self, data, position=0):
        self.data = data
        self.position = position

    def take(self, layout):
        value = struct.unpack_from("<" + layout, self.data, self.position)[0]
        self.position += struct.calcsize("<" + layout)
        return value

    def unsigned(self):
        value = shift = 0
        while True:
            byte = self.data[self.position]
            self.position += 1
            value |= (byte & 0x7F) << shift
            shift += 7
            if byte < 0x80:
                return value

    def signed(self):
        start = self.position
        value = self.unsigned()
        bits = 7 * (self.position - start)
        return value - (1 << bits) if self.data[self.position - 1] & 0x40 else value

    def text(self):
        end = self.data.index(b"\0", self.position)
        value = self.data[self.position : end].decode("utf-8", "replace")
        self.position = end + 1
        return value


class LineTable:
    """`sequences`, and in `units` the name of each unit: that of its source."""

    def __init__(self, lines, line_strings=b"", strings=b""):
        self.sections = {LINE_STRING: line_strings, STRING_OFFSET: strings}
        self.sequences = []
        self.units = []
        cursor = Cursor(lines)
        while cursor.position + 4 <= len(lines):
            length = cursor.take("I")
            end = cursor.position + length
            if length:
                self._unit(cursor, end)
            cursor.position = end

    def _unit(self, cursor, end):
        version = cursor.take("H")
        if not 2 <= version <= 5:
            raise ValueError("a line table of DWARF %d" % version)
        if version >= 5:
            cursor.position += 2
        header_length = cursor.take("I")
        program = cursor.position + header_length
        self.shortest = cursor.take("B")
        cursor.position += 2 if version >= 4 else 1
        self.line_base = cursor.take("b")
        self.line_range = cursor.take("B")
        self.operands = [0] + [cursor.take("B") for _ in range(cursor.take("B") - 1)]
        names = self._entries(cursor) if version >= 5 else self._old_entries(cursor)
        self.units.append(names[min(1, len(names) - 1)] if names else "")
        cursor.position = program
        while cursor.position < end:
            self._sequence(cursor, end, names)

    @staticmethod
    def _old_entries(cursor):
        """The files, whose numbers begin with 1. Folder 0 is that of the compilation, which isn't written here."""
        folders = [""]
        while name := cursor.text():
            folders.append(name)
        names = [""]
        while name := cursor.text():
            names.append(joined(folders[cursor.unsigned()], name))
            cursor.unsigned()
            cursor.unsigned()
        return names

    def _entries(self, cursor):
        folders = [entry[PATH] for entry in self._table(cursor)]
        return [joined(folders[entry.get(DIRECTORY, 0)], entry[PATH]) for entry in self._table(cursor)]

    def _table(self, cursor):
        layout = [(cursor.unsigned(), cursor.unsigned()) for _ in range(cursor.take("B"))]
        return [{kind: self._value(cursor, form) for kind, form in layout} for _ in range(cursor.unsigned())]

    def _value(self, cursor, form):
        if form == STRING:
            return cursor.text()
        if form in self.sections:
            return Cursor(self.sections[form], cursor.take("I")).text()
        if form == UNSIGNED_LEB:
            return cursor.unsigned()
        if form in (DATA_16, BLOCK):
            cursor.position += 16 if form == DATA_16 else cursor.unsigned()
            return None
        return cursor.take({DATA_1: "B", DATA_2: "H", DATA_4: "I", DATA_8: "Q"}[form])

    def _sequence(self, cursor, end, names):
        address, file, line = 0, 1, 1
        rows = []
        base = len(self.operands)
        while cursor.position < end:
            opcode = cursor.take("B")
            if opcode >= base:
                step, difference = divmod(opcode - base, self.line_range)
                address += step * self.shortest
                line += self.line_base + difference
                rows.append(Row(address, names[file], line))
            elif opcode == 0:
                size = cursor.unsigned()
                following = cursor.position + size
                extended = cursor.take("B")
                if extended == SET_ADDRESS:
                    address = cursor.take("Q" if size == 9 else "I")
                cursor.position = following
                if extended == END_SEQUENCE:
                    break
            elif opcode == COPY:
                rows.append(Row(address, names[file], line))
            elif opcode == ADVANCE_PC:
                address += cursor.unsigned() * self.shortest
            elif opcode == ADVANCE_LINE:
                line += cursor.signed()
            elif opcode == SET_FILE:
                file = cursor.unsigned()
            elif opcode == CONST_ADD_PC:
                address += (255 - base) // self.line_range * self.shortest
            elif opcode == FIXED_ADVANCE_PC:
                address += cursor.take("H")
            else:
                for _ in range(self.operands[opcode]):
                    cursor.unsigned()
        if rows:
            self.sequences.append(Sequence(len(self.units) - 1, address, distinct(rows, address)))


def joined(folder, name):
    return name if not folder or name.startswith("/") else folder + "/" + name


def distinct(rows, end):
    """One row an address: the last one, since the rows before it are of no instruction. Line 0 is no line."""
    last = {row.address: row for row in rows if row.line and row.address < end}
    return [last[address] for address in sorted(last)]
