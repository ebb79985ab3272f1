"""The functions of an image: where each begins and ends, its readable name, and its lines."""

import bisect
import re
import subprocess
from typing import NamedTuple

from image import EXECUTABLE

# What the compiler adds to the name of a part of a function, or of a changed copy, and for a change of its library.
ADDED = re.compile(r"( \[clone [^\]]*\])+$|\.(cold|part|isra|constprop|lto_priv)(\.\d+)*$|\[abi:\w+\]")

# The number of argument bytes is a part of some names in 32 bits.
ARGUMENT_BYTES = re.compile(r"@\d+$")


class Function(NamedTuple):
    linker_name: str
    name: str
    section: int  # counted from 1
    offset: int
    size: int
    external: bool
    unit: int  # -1 if no unit has lines of it
    rows: list


def undecorated(linker_name):
    """The name before the linker's own marks were put on, in 32 bits."""
    return ARGUMENT_BYTES.sub("", linker_name)[linker_name.startswith(("_", "@")) :]


def plain_names(linker_names, is_64, demangler):
    """The names as a reader wants them: with their namespaces, without their parameters."""
    names = linker_names if is_64 else map(undecorated, linker_names)
    command = [demangler, "--no-strip-underscore", "--no-params"]
    text = "".join(name + "\n" for name in names)
    result = subprocess.run(command, input=text, stdout=subprocess.PIPE, check=True, text=True)
    return [ADDED.sub("", name) for name in result.stdout.splitlines()]


def functions_of(image, table, demangler):
    """All functions by section and offset. Each ends where the next one begins, and the last one with its section."""
    best = {}
    for symbol in image.functions():
        place = symbol.section, symbol.offset
        rank = not symbol.external, symbol.name
        if place not in best or rank < (not best[place].external, best[place].name):
            best[place] = symbol
    symbols = [best[place] for place in sorted(best)]
    names = plain_names([symbol.name for symbol in symbols], image.is_64, demangler)
    lines = LinesByAddress(table, image)
    functions = []
    for index, (symbol, name) in enumerate(zip(symbols, names)):
        section = image.sections[symbol.section - 1]
        is_last = index + 1 == len(symbols) or symbols[index + 1].section != symbol.section
        end = section.virtual_size if is_last else symbols[index + 1].offset
        unit, rows = lines.between(section.address + symbol.offset, section.address + end)
        functions.append(
            Function(symbol.name, name, symbol.section, symbol.offset, end - symbol.offset, symbol.external, unit, rows)
        )
    return functions


class LinesByAddress:
    def __init__(self, table, image):
        ranges = [
            (image.base + section.address, image.base + section.address + section.virtual_size)
            for section in image.sections
            if section.characteristics & EXECUTABLE
        ]
        self.base = image.base
        self.sequences = []
        # What the linker left out is a sequence at an address outside of the code.
        for sequence in sorted(table.sequences, key=lambda sequence: sequence.rows[0].address if sequence.rows else 0):
            if not sequence.rows or not any(start <= sequence.rows[0].address < end for start, end in ranges):
                continue
            if self.sequences and sequence.rows[0].address < self.sequences[-1].end:
                continue
            self.sequences.append(sequence)
        self.addresses = [[row.address for row in sequence.rows] for sequence in self.sequences]
        self.starts = [addresses[0] for addresses in self.addresses]

    def between(self, start, end):
        """The unit and the rows of a function from start to end; the rows' addresses are relative to the image's base."""
        start, end = start + self.base, end + self.base
        index = bisect.bisect_right(self.starts, start) - 1
        # The table of a function may begin after its first byte.
        if index < 0 or self.sequences[index].end <= start:
            index += 1
            if index == len(self.starts) or self.starts[index] >= end:
                return -1, []
        sequence = self.sequences[index]
        addresses = self.addresses[index]
        first = max(bisect.bisect_right(addresses, start) - 1, 0)
        last = bisect.bisect_left(addresses, end)
        rows = [row._replace(address=max(row.address, start) - self.base) for row in sequence.rows[first:last]]
        return (sequence.unit, rows) if rows else (-1, [])
