#!/usr/bin/python3
"""Usage: makesymbols.py IMAGE PDB DEMANGLER

Moves the debug information of a linked image into a symbol file for Windows' debuggers: writes PDB from the symbols and the
DWARF lines of IMAGE, and writes IMAGE again without these, with a record that names PDB. DEMANGLER is the c++filt of the compiler.
The same image gives the same bytes.
"""

import os
import sys
from pathlib import Path

from functions import functions_of
from dwarflines import LineTable
from image import Image
from symbolfile import SymbolFile


def write(path, data):
    """A reader never sees half of a file."""
    new = path.with_name(path.name + ".new")
    new.write_bytes(data)
    if path.exists():
        os.chmod(new, path.stat().st_mode)
    new.replace(path)


def main():
    image_path, symbols_path = Path(sys.argv[1]), Path(sys.argv[2])
    image = Image(image_path.read_bytes())
    table = LineTable(image.contents(".debug_line"), image.contents(".debug_line_str"), image.contents(".debug_str"))
    shipped = image.shipped(symbols_path.name)
    symbols = SymbolFile(image, shipped.section_headers, functions_of(image, table, sys.argv[3]), table.units)
    data, guid = symbols.packed(bytes(shipped.data))
    write(symbols_path, data)
    write(image_path, shipped.with_guid(guid))


main()
