"""The symbol file that tools/symbols makes of a linked image, read by LLVM's tools, against what binutils read in the image."""

import random
import re
import shutil
import struct
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
TOOL = ROOT / "tools" / "symbols" / "makesymbols.py"
TARGETS = {"x64": "x86_64", "x86": "i686"}

sys.path.insert(0, str(TOOL.parent))

from container import BLOCK, packed


def output(*command, given=None):
    words = [str(word) for word in command]
    # llvm-pdbutil prints what follows a section's name of eight letters, too.
    options = {"text": True, "errors": "replace"}
    return subprocess.run(words, input=given, stdout=subprocess.PIPE, check=True, **options).stdout


def tool(bitness, name):
    return f"{TARGETS[bitness]}-w64-mingw32-{name}"


def make_symbols(bitness, image, symbols):
    output("/usr/bin/python3", "-B", TOOL, image, symbols, tool(bitness, "c++filt"))


class Example:
    """The program example.cpp: as it was linked, as it is shipped, and its symbol file."""

    def __init__(self, bitness, folder, *options):
        self.bitness = bitness
        self.linked = folder / "linked.exe"
        self.shipped = folder / "example.exe"
        self.symbols = folder / "example.pdb"
        source = Path(__file__).with_name("example.cpp")
        options = ["-std=c++20", "-O2", "-gdwarf-4", "-static", "-Wl,--no-insert-timestamp", *options]
        output(tool(bitness, "g++-posix"), *options, f"-ffile-prefix-map={source.parent}/=folder/", source, "-o", self.linked)
        shutil.copy(self.linked, self.shipped)
        make_symbols(bitness, self.shipped, self.symbols)

    def dump(self, *words):
        return output("llvm-pdbutil", "dump", *words, self.symbols)

    def functions(self):
        """Address and name of each function of our own, in the order of the addresses, and of the function after it."""
        lines = output(tool(self.bitness, "nm"), "--numeric-sort", "--demangle", self.linked).splitlines()
        rows = [line.split(" ", 2) for line in lines if re.match(r"\w+ [Tt] ", line)]
        return [(int(address, 16), name) for address, _, name in rows if not name.startswith(".")]

    def own_ranges(self):
        functions = self.functions()
        for (start, name), (end, _) in zip(functions, functions[1:]):
            if re.match(r"example::|(int )?example::Sum|_?Called|_?main$", name):
                yield start, end, name


@pytest.fixture(scope="module", params=TARGETS)
def example(request, tmp_path_factory):
    return Example(request.param, tmp_path_factory.mktemp(request.param))


def symbolized(image, addresses):
    """Function, file and line of each address as the symbol file beside the image has them."""
    given = "".join("%#x\n" % address for address in addresses)
    words = ["--functions=short", "--no-inlines", "--output-style=GNU", "--obj=" + str(image)]
    lines = [line for line in output("llvm-symbolizer", *words, given=given).splitlines() if line]
    return [(name, *place.replace("\\", "/").split(":")[-2:]) for name, place in zip(lines[::2], lines[1::2])]


def test_functions_have_names_with_namespaces_and_without_parameters(example):
    names = {row[0] for row in symbolized(example.shipped, [start for start, _, _ in example.own_ranges()])}
    assert {"example::Window::Doubled", "example::(anonymous namespace)::Hidden", "Called", "main"} <= names
    assert not any(mark in name for name in names for mark in ("@", "[", ")("))


def test_every_function_is_in_the_symbol_file(example):
    text = example.dump("-symbols")
    there = {int(offset) for offset in re.findall(r"S_[GL]PROC32.*\n.*addr = 0001:(\d+)", text)}
    text_start = next(
        int(line.split()[3], 16) for line in output(tool(example.bitness, "objdump"), "-h", example.linked).splitlines() if " .text " in line
    )
    wanted = {address - text_start for address, _ in example.functions()}
    assert wanted <= there


def assert_same_lines(example):
    addresses = [address for start, end, _ in example.own_ranges() for address in range(start, end)]
    given = "".join("%#x\n" % address for address in addresses)
    lines = output(tool(example.bitness, "addr2line"), "-e", example.linked, given=given).splitlines()
    expected = [tuple(line.split(" ")[0].rsplit(":", 1)) for line in lines]
    found = [row[1:] for row in symbolized(example.shipped, addresses)]
    # Between two functions there are bytes without a line. For a debugger they belong to the function before.
    pairs = [(wanted, seen) for wanted, seen in zip(expected, found) if wanted[1] not in ("?", "0")]
    assert len(pairs) > 100
    assert [(wanted[0].split("/")[-1], wanted[1]) for wanted, _ in pairs] == [(seen[0].split("/")[-1], seen[1]) for _, seen in pairs]


def test_lines_are_those_of_the_dwarf_table(example):
    assert_same_lines(example)


@pytest.mark.parametrize("bitness", TARGETS)
@pytest.mark.parametrize("version", [3, 5])
def test_lines_are_those_of_a_table_of_another_version(bitness, version, tmp_path):
    other = Example(bitness, tmp_path, f"-gdwarf-{version}")
    units = output(tool(bitness, "objdump"), "--dwarf=rawline", other.linked).split("DWARF Version:")
    assert [unit.split()[0] for unit in units[1:] if "example.cpp" in unit] == [str(version)]
    assert_same_lines(other)


def test_a_reader_finds_functions_by_their_names(example):
    names = ["example::Window::Doubled", "example::(anonymous namespace)::Hidden", "Called", "mainCRTStartup"]
    text = example.dump("-globals", *[f"-global-name={name}" for name in names])
    assert sorted(re.findall(r"S_L?PROCREF.*`(.*)`", text)) == sorted(names)


def test_the_readers_of_all_parts_accept_the_file(example):
    text = example.dump("-all")
    assert "Has conflicting types: false" in text
    assert "`folder\\example.cpp`" in text
    assert "\nfolder\\example.cpp (no checksum)" in text
    assert re.search(r"S_PUB32.*\n?.*`_+ZNK7example6Window7DoubledEv`", text)
    assert re.search(r"S_PROCREF.*`example::Window::Doubled`", text)


def record(image):
    """GUID, age and file name of the record in the image."""
    text = output("llvm-readobj", "--coff-debug-directory", image)
    guid = re.search(r"PDBGUID: \((.*)\)", text)[1]
    age = int(re.search(r"PDBAge: (\d+)", text)[1])
    return bytes.fromhex(guid.replace(" ", "")), age, re.search(r"PDBFileName: (.*)", text)[1]


def identity(symbols):
    """GUID and age of the symbol file."""
    text = output("llvm-pdbutil", "dump", "-summary", symbols)
    first, second, third, *rest = re.search(r"GUID: \{(.*)\}", text)[1].split("-")
    start = struct.pack("<IHH", int(first, 16), int(second, 16), int(third, 16))
    return start + bytes.fromhex("".join(rest)), int(re.search(r"Age: (\d+)", text)[1])


def test_the_image_names_the_symbol_file_that_matches_it(example):
    assert record(example.shipped) == (*identity(example.symbols), "example.pdb")


@pytest.mark.parametrize("bitness", TARGETS)
def test_the_program_names_the_symbol_file_beside_it(bitness):
    folder = ROOT / "build" / "stage" / "bin" / bitness
    assert record(folder / "Keyreap.exe") == (*identity(folder / "Keyreap.pdb"), "Keyreap.pdb")
    text = output("llvm-pdbutil", "dump", "-symbols", "-l", folder / "Keyreap.pdb")
    assert "`keyreap::NativeFileRegister::RegisterTarget`" in text
    assert "extract\\nativefileregister\\registertarget.cpp (no checksum)" in text


def test_the_same_image_gives_the_same_bytes(example, tmp_path):
    shutil.copy(example.linked, tmp_path / "example.exe")
    make_symbols(example.bitness, tmp_path / "example.exe", tmp_path / "example.pdb")
    for file in (example.shipped, example.symbols):
        assert (tmp_path / file.name).read_bytes() == file.read_bytes()


def test_another_program_has_another_guid(example, tmp_path):
    other = Example(example.bitness, tmp_path, "-O1")
    assert record(other.shipped)[0] != record(example.shipped)[0]


def test_the_image_is_the_linked_one_without_its_debug_information(example):
    objdump = tool(example.bitness, "objdump")
    linked = re.findall(r"^ +\d+ (\S+) +(\w+) +(\w+)", output(objdump, "-h", example.linked), re.M)
    shipped = re.findall(r"^ +\d+ (\S+) +(\w+) +(\w+)", output(objdump, "-h", example.shipped), re.M)
    # A name has room for eight letters.
    assert [(row[0][:8], *row[1:]) for row in linked if not row[0].startswith(".debug_")] == shipped[:-1]
    assert shipped[-1][0] == ".buildid"
    for name, *_ in linked[: len(shipped) - 1]:
        files = ((name, example.linked), (name[:8], example.shipped))
        first, second = [output(objdump, "-s", "-j", section, file).splitlines()[4:] for section, file in files]
        assert first == second
    assert "no symbols" in output(objdump, "-t", example.shipped)
    assert b".debug_" not in example.shipped.read_bytes()[:4096]


def header_checksum(data):
    """As a program computes it that adds the units one by one."""
    (place,) = struct.unpack_from("<I", data, 0x3C)
    place += 24 + 64
    total = 0
    for offset in range(0, len(data), 2):
        unit = 0 if place <= offset < place + 4 else int.from_bytes(data[offset : offset + 2], "little")
        total += unit
        total = (total & 0xFFFF) + (total >> 16)
    return struct.unpack_from("<I", data, place)[0], total + len(data)


def test_the_header_has_the_checksum_and_the_sizes_of_the_image(example):
    data = example.shipped.read_bytes()
    there, expected = header_checksum(data)
    assert there == expected
    text = output("llvm-readobj", "--file-headers", "--sections", example.shipped)
    size = int(re.search(r"SizeOfImage: (\d+)", text)[1])
    ends = [
        int(address, 16) + int(length, 16)
        for length, address in re.findall(r"VirtualSize: (0x\w+)\n\s*VirtualAddress: (0x\w+)", text)
    ]
    assert size == -(-max(ends) // 4096) * 4096
    initialized = [int(size) for size in re.findall(r"RawDataSize: (\d+)(?:(?!Section {).)*IMAGE_SCN_CNT_INITIALIZED_DATA", text, re.S)]
    assert len(initialized) > 3
    assert int(re.search(r"SizeOfInitializedData: (\d+)", text)[1]) == sum(initialized)


def test_the_header_says_that_the_image_has_no_symbols(example):
    text = output("llvm-readobj", "--file-headers", example.shipped)
    assert "PointerToSymbolTable: 0x0\n" in text and "SymbolCount: 0\n" in text
    assert "IMAGE_FILE_LINE_NUMS_STRIPPED" in text and "IMAGE_FILE_LOCAL_SYMS_STRIPPED" in text
    # Debuggers take that for debug information in a file of another format.
    assert "IMAGE_FILE_DEBUG_STRIPPED" not in text


def test_an_image_that_was_stripped_already_is_refused_and_stays(example, tmp_path):
    for file in (example.shipped, example.symbols):
        shutil.copy(file, tmp_path)
    with pytest.raises(subprocess.CalledProcessError):
        make_symbols(example.bitness, tmp_path / "example.exe", tmp_path / "example.pdb")
    for file in (example.shipped, example.symbols):
        assert (tmp_path / file.name).read_bytes() == file.read_bytes()


def test_a_large_stream_is_whole(tmp_path):
    """The maps of free blocks are repeated each 4096 blocks."""
    large = random.Random(1).randbytes(BLOCK * (BLOCK + 100) + 1)
    file = tmp_path / "large"
    file.write_bytes(packed([b"", large, b"end"]))
    for number, stream in ((1, large), (2, b"end")):
        output("llvm-pdbutil", "export", f"-stream={number}", f"-out={tmp_path / 'stream'}", file)
        assert (tmp_path / "stream").read_bytes() == stream


@pytest.mark.parametrize("count", range(BLOCK - 8, BLOCK))
def test_the_number_of_blocks_is_that_of_the_file(count):
    """Also where the last one is the first of an interval, which has maps in its second and third."""
    data = packed([bytes(BLOCK * count)])
    (blocks,) = struct.unpack_from("<I", data, 40)
    assert blocks * BLOCK == len(data)
