"""Usage, inside a Wine session: walk_modules.py PROGRAM FOLDER OUTPUT MODULE...

PROGRAM is list_dependencies.exe, FOLDER the folder of the modules, both as Windows paths. Writes to OUTPUT, as JSON,
the list of PROGRAM for each module, and the imports of every file that a walk enters, as the tools of this machine
report them.
"""

import json
import os
import pathlib
import re
import struct
import subprocess
import sys

DRIVE = pathlib.Path(os.environ["WINEPREFIX"]) / "drive_c"
DELAY_IMPORTS = 13


def host_path(path):
    """The file of drive C: that a Windows path names. Wine's own files have lower case names."""
    return DRIVE / path[3:].replace("\\", "/").lower()


def walks(program, output, files):
    """Each file's dependencies, as the program lists them: name, path and whether it is a system file."""
    listing = output.with_suffix(".txt")
    windows_path = "Z:" + str(listing).replace("/", "\\")
    subprocess.run(["wine", program, windows_path, *files], check=True, timeout=120, stdin=subprocess.DEVNULL)
    result = {}
    for line in listing.read_text(encoding="utf-8").splitlines():
        if line.startswith("\t"):
            name, path, system = line[1:].split("\t")
            records.append((name, path, system == "1"))
        else:
            records = result[line] = []
    return result


def linked(file):
    words = ["x86_64-w64-mingw32-objdump", "-p", file]
    text = subprocess.run(words, check=True, capture_output=True, text=True).stdout
    return re.findall(r"^\tDLL Name: (.*)$", text, re.MULTILINE)


def delayed(file):
    """The names in the delay import table, which objdump doesn't show."""
    data = file.read_bytes()
    nt = struct.unpack_from("<I", data, 60)[0]
    count, optional_size = struct.unpack_from("<H12xH", data, nt + 6)
    optional = nt + 24
    directories = optional + (112 if struct.unpack_from("<H", data, optional)[0] == 0x20B else 96)
    sections = [struct.unpack_from("<4I", data, optional + optional_size + 40 * i + 8) for i in range(count)]

    def place(rva):
        return next(raw + rva - start for _, start, size, raw in sections if start <= rva < start + size)

    def text(rva):
        return data[place(rva) : data.index(b"\0", place(rva))].decode("ascii")

    table = struct.unpack_from("<I", data, directories + 8 * DELAY_IMPORTS)[0]
    names = []
    while table and (rva := struct.unpack_from("<I", data, place(table) + 4 + 32 * len(names))[0]):
        names.append(text(rva))
    return names


def main(program, folder, output, *modules):
    output = pathlib.Path(output)
    files = [folder + "\\" + module for module in modules]
    listed = walks(program, output, files)
    entered = {path for records in listed.values() for _, path, system in records if path and not system}
    imports = {path: linked(host_path(path)) + delayed(host_path(path)) for path in entered.union(files)}
    output.write_text(json.dumps({"walks": listed, "imports": imports}))


main(*sys.argv[1:])
