"""Every shipped program is a proper program of Windows 7 and later, as its file says, and the check finds each fault."""

import re
import struct
import subprocess
from dataclasses import dataclass
from pathlib import Path

import pytest
from programdatabase import MAGIC, NO_STREAM, ProgramDatabase
from programimage import (
    HIGH_ENTROPY,
    LARGE_ADDRESSES,
    PROTECTIONS,
    RELOCATIONS_STRIPPED,
    SUPPORTED_SYSTEMS,
    allowed_imports,
    header_faults,
    image_of,
    import_faults,
    manifest_faults,
    symbol_faults,
    symbol_record,
    version_faults,
)

ROOT = Path(__file__).resolve().parents[2]
STAGE = ROOT / "build" / "stage"
BITNESSES = ("x64", "x86")
VERSION = re.search(r"^project\(.* VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text(), re.M)[1]
ALLOWED = allowed_imports(Path(__file__).with_name("windows7imports.txt").read_text())


@dataclass(frozen=True)
class Program:
    path: str  # below the folder in which the programs are staged, with {} for the bitness
    level: str  # the rights that it asks for
    has_windows: bool = False
    has_symbols: bool = False  # a program database is shipped beside it
    bitnesses: tuple[str, ...] = BITNESSES

    @property
    def name(self):
        return Path(self.path).stem

    def file(self, bitness):
        return STAGE / self.path.format(bitness)

    def image(self, bitness):
        return image_of(self.file(bitness).read_bytes())

    def manifest_faults(self, image):
        return list(manifest_faults(image, VERSION, self.level, has_windows=self.has_windows))


KEYREAP = Program("bin/{}/Keyreap.exe", "requireAdministrator", has_windows=True, has_symbols=True)
EXPLAIN = Program("tools/{}/explain.exe", "asInvoker")
STARTRECORDER = Program("tools/{}/startrecorder.exe", "asInvoker")
KEYKIT_EXPLAIN = Program("tools/{}/KeyKitExplain.exe", "requireAdministrator", has_windows=True)
KEYKIT = Program("bin/{}/KeyKit.exe", "asInvoker", bitnesses=("x64",))
KEYKITLIVE = Program("bin/{}/KeyKitLive.exe", "asInvoker")
STAGED = (KEYREAP, EXPLAIN, STARTRECORDER, KEYKIT_EXPLAIN, KEYKIT, KEYKITLIVE)
PROGRAMS = [(program, bitness) for program in STAGED for bitness in program.bitnesses]
# It isn't staged: only the zip has it.
SELFCHECK = Program("../{}/tools/selfcheck/selfcheck.exe", "asInvoker")


def test_every_program_that_is_staged_is_checked():
    assert set(STAGE.rglob("*.exe")) == {program.file(bitness) for program, bitness in PROGRAMS}


def faults_of(program, bitness):
    file, image = program.file(bitness), program.image(bitness)
    faults = list(header_faults(image, bitness)) + program.manifest_faults(image)
    faults += list(import_faults(image, ALLOWED)) + list(version_faults(image, program.name, VERSION))
    return faults + list(symbol_faults(image, file.with_suffix(".pdb"), required=program.has_symbols))


@pytest.mark.parametrize("program, bitness", PROGRAMS, ids=lambda value: getattr(value, "name", value))
def test_a_shipped_program_has_no_fault(program, bitness):
    assert faults_of(program, bitness) == []


def test_the_check_of_a_release_has_no_fault():
    assert faults_of(SELFCHECK, "x64") == []


# The faults, one at a time, each in a copy of a program that has none.


@pytest.fixture(scope="module", params=BITNESSES)
def bitness(request):
    return request.param


@pytest.fixture(scope="module")
def bytes_of_explain(bitness):
    return EXPLAIN.file(bitness).read_bytes()


def with_field(data, part, field, change):
    """A copy of an image in which a field of a header has another value."""
    image = image_of(data)
    header = getattr(image, part)
    setattr(header, field, change(getattr(header, field)))
    return image_of(image.write())


@pytest.mark.parametrize("name", [*PROTECTIONS, *HIGH_ENTROPY])
def test_a_missing_protection_is_a_fault(bytes_of_explain, bitness, name):
    bit = (PROTECTIONS | HIGH_ENTROPY)[name]
    image = with_field(bytes_of_explain, "OPTIONAL_HEADER", "DllCharacteristics", lambda bits: bits & ~bit)
    needed = bitness == "x64" or name not in HIGH_ENTROPY
    assert list(header_faults(image, bitness)) == [f"lacks {name}"] * needed


@pytest.mark.parametrize(
    "part, field, change, fault",
    [
        ("FILE_HEADER", "Characteristics", lambda bits: bits & ~LARGE_ADDRESSES, "can't use large addresses"),
        ("FILE_HEADER", "Characteristics", lambda bits: bits | RELOCATIONS_STRIPPED, "has no relocations, so it can't be loaded at another address"),
        ("FILE_HEADER", "Machine", lambda _: 0x01C4, "is for the machine 0x01c4"),
        ("OPTIONAL_HEADER", "Subsystem", lambda _: 2, "has the subsystem 2"),
        ("OPTIONAL_HEADER", "MinorSubsystemVersion", lambda _: 0, "asks for the subsystem version 6.0"),
        ("OPTIONAL_HEADER", "MajorSubsystemVersion", lambda _: 10, "asks for the subsystem version 10.1"),
        ("OPTIONAL_HEADER", "MajorOperatingSystemVersion", lambda _: 4, "asks for the system version 4.1"),
    ],
)
def test_a_wrong_header_is_a_fault(bytes_of_explain, bitness, part, field, change, fault):
    assert list(header_faults(with_field(bytes_of_explain, part, field, change), bitness)) == [fault]


def link(folder, source, *words):
    """Links a C program of one function in x64."""
    (folder / "program.c").write_text(source)
    command = ["x86_64-w64-mingw32-gcc-posix", "program.c", "-o", "program.exe", *words]
    subprocess.run(command, cwd=folder, check=True, timeout=60)
    return image_of((folder / "program.exe").read_bytes())


@pytest.mark.parametrize(
    "dll, export, fault",
    [
        ("KERNEL32.dll", "GetTempPath2W", "imports GetTempPath2W of KERNEL32.dll, which Windows 7 isn't known to have"),
        ("msvcrt.dll", "GetTempPathW", "imports GetTempPathW of msvcrt.dll, which Windows 7 isn't known to have"),
        ("api-ms-win-new.dll", "GetTempPathW", "imports GetTempPathW of api-ms-win-new.dll, which Windows 7 isn't known to have"),
        ("KERNEL32.dll", "GetTempPathW @17 NONAME", "imports #17 of KERNEL32.dll, which Windows 7 isn't known to have"),
    ],
)
def test_an_import_that_windows_7_lacks_is_a_fault(tmp_path, dll, export, fault):
    (tmp_path / "new.def").write_text(f"LIBRARY {dll}\nEXPORTS\n{export}\n")
    subprocess.run(["x86_64-w64-mingw32-dlltool", "-d", "new.def", "-l", "libnew.a"], cwd=tmp_path, check=True, timeout=60)
    name = export.split()[0]
    source = f"unsigned long {name}(unsigned long, void*);\nunsigned long start(void) {{ return {name}(0, 0); }}\n"
    image = link(tmp_path, source, "-nostdlib", "-Wl,--entry=start", "-L.", "-lnew")
    assert list(import_faults(image, ALLOWED)) == [fault]


def test_an_image_without_imports_is_a_fault(tmp_path):
    image = link(tmp_path, "int start(void) { return 0; }\n", "-nostdlib", "-Wl,--entry=start")
    assert list(import_faults(image, ALLOWED)) == ["imports nothing, so nothing can be said about its imports"]


def test_the_list_of_imports_has_nothing_twice():
    lines = Path(__file__).with_name("windows7imports.txt").read_text().splitlines()
    dlls = [line for line in lines if line and line[0] not in "# "]
    assert len(dlls) == len(ALLOWED)
    assert sum(map(len, ALLOWED.values())) == len([line for line in lines if line.startswith(" ")])


def without(data, text):
    """A copy of an image in which a text is blank."""
    assert data.count(text) == 1
    return image_of(data.replace(text, b" " * len(text)))


@pytest.fixture(scope="module")
def bytes_of_keyreap(bitness):
    return KEYREAP.file(bitness).read_bytes()


def entries():
    """An entry of the manifest, and the fault of a program without it."""
    for name, guid in SUPPORTED_SYSTEMS.items():
        yield f'<supportedOS Id="{guid}"/>', f"isn't made for {name}, by its manifest"
    rights = '<requestedExecutionLevel level="requireAdministrator" uiAccess="false"/>'
    yield rights, "doesn't ask for the rights requireAdministrator"
    yield 'name="Microsoft.Windows.Common-Controls" ', "doesn't ask for version 6 of the common controls"
    yield '<dpiAware xmlns="http://schemas.microsoft.com/SMI/2005/WindowsSettings">true</dpiAware>', "isn't aware of the screen's resolution"
    yield f'version="{VERSION}.0"', f"has another version than {VERSION} in its manifest"


@pytest.mark.parametrize("entry, fault", entries())
def test_a_missing_manifest_entry_is_a_fault(bytes_of_keyreap, entry, fault):
    assert KEYREAP.manifest_faults(without(bytes_of_keyreap, entry.encode())) == [fault]


def test_a_program_without_resources_has_neither_manifest_nor_version(tmp_path):
    image = link(tmp_path, "int main(void) { return 0; }\n")
    assert KEYREAP.manifest_faults(image) == ["has no manifest"]
    assert list(version_faults(image, "program", VERSION)) == ["has no version resource"]


def test_another_version_or_name_is_a_fault(bitness):
    image = EXPLAIN.image(bitness)
    other = "9" + VERSION[1:]
    assert list(version_faults(image, "explain", other)) == [
        f"has another file version than {other}",
        f"has another product version than {other}",
        f"has '{VERSION}' and not '{other}' as its FileVersion",
        f"has '{VERSION}' and not '{other}' as its ProductVersion",
    ]
    assert list(version_faults(image, "other", VERSION)) == [
        "has 'explain' and not 'other' as its InternalName",
        "has 'explain.exe' and not 'other.exe' as its OriginalFilename",
    ]


# Program databases.

GUID = bytes(range(16))


def database(guid=GUID, age=1, block_size=512):
    """A program database of three streams, whose identity is not in order: its blocks are 6 and 5."""
    identity = struct.pack("<III", 20000404, 0x5EED, age) + guid + bytes(block_size)
    sizes = (NO_STREAM, len(identity), 4)
    directory = struct.pack("<4I", 3, *sizes) + struct.pack("<3I", 6, 5, 4)
    superblock = MAGIC + struct.pack("<6I", block_size, 1, 7, len(directory), 0, 2)
    blocks = [superblock, b"", struct.pack("<I", 3), directory, b"four", identity[block_size:], identity[:block_size]]
    return b"".join(block.ljust(block_size, b"\0") for block in blocks)


@pytest.fixture(scope="module")
def named_database(tmp_path_factory):
    """A program that names a program database `named.pdb`, with the GUID that the linker made up."""
    folder = tmp_path_factory.mktemp("named")
    image = link(folder, "int main(void) { return 0; }\n", "-Wl,--build-id")
    guid, age, name = symbol_record(image)
    assert (age, name) == (1, "")
    record = b"RSDS" + guid + struct.pack("<I", age) + b"named.pdb\0"
    entry = image.DIRECTORY_ENTRY_DEBUG[0].struct
    entry.SizeOfData = len(record)
    data = image.write()
    data[entry.PointerToRawData : entry.PointerToRawData + len(record)] = record
    return bytes(data), guid


def faults_with(named_database, folder, content, *, name="named.pdb", required=True):
    if content is not None:
        (folder / name).write_bytes(content)
    return list(symbol_faults(image_of(named_database[0]), folder / name, required=required))


@pytest.mark.parametrize("block_size", [512, 4096])
def test_the_identity_of_a_program_database_is_read(block_size):
    found = ProgramDatabase(database(GUID, 7, block_size))
    assert (found.guid, found.age) == (GUID, 7)


def test_a_matching_program_database_is_no_fault(named_database, tmp_path):
    assert faults_with(named_database, tmp_path, database(named_database[1])) == []


def test_a_missing_program_database_is_a_fault_where_one_is_shipped(named_database, tmp_path):
    assert faults_with(named_database, tmp_path, None) == ["has no named.pdb beside it"]
    assert faults_with(named_database, tmp_path, None, required=False) == []


@pytest.mark.parametrize("required", [True, False])
def test_a_program_database_of_another_image_is_a_fault(named_database, tmp_path, required):
    content = database(GUID)
    assert faults_with(named_database, tmp_path, content, required=required) == ["has named.pdb of another image beside it"]


@pytest.mark.parametrize("required", [True, False])
def test_a_program_database_of_another_age_is_a_fault(named_database, tmp_path, required):
    content = database(named_database[1], age=2)
    assert faults_with(named_database, tmp_path, content, required=required) == ["has named.pdb of the age 2 beside it, and names the age 1"]


def test_a_program_database_of_another_name_is_a_fault(named_database, tmp_path):
    content = database(named_database[1])
    assert faults_with(named_database, tmp_path, content, name="other.pdb") == ["names named.pdb and not other.pdb"]


def test_a_program_that_names_no_program_database_beside_one_is_faulty(tmp_path):
    (tmp_path / "program.pdb").write_bytes(database())
    image = link(tmp_path, "int main(void) { return 0; }\n")
    assert list(symbol_faults(image, tmp_path / "program.pdb", required=False)) == ["names no program database, but there is program.pdb"]


@pytest.mark.parametrize(
    "content, reason",
    [
        pytest.param(b"", "it is no program database", id="empty"),
        pytest.param(MAGIC, "it is cut off", id="magic alone"),
        pytest.param(database()[: 6 * 512], "it is cut off", id="without its last block"),
        pytest.param(database(block_size=513), "its blocks have 513 bytes", id="odd block size"),
        pytest.param(
            database().replace(struct.pack("<2I", 3, NO_STREAM), struct.pack("<2I", 1, NO_STREAM)), "a stream is missing", id="one stream"
        ),
    ],
)
def test_a_damaged_program_database_is_a_fault(named_database, tmp_path, content, reason):
    fault = f"has named.pdb beside it, which can't be read: {reason}"
    assert faults_with(named_database, tmp_path, content) == [fault]
