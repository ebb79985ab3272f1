"""What the image of a shipped program has to have beside its code. Each function gives the faults of one kind that it
finds in a file, a line each.
"""

import struct
from pathlib import Path
from xml.etree import ElementTree

import pefile
from programdatabase import ProgramDatabase

CONSOLE = 3
WINDOWS_7 = (6, 1)

MACHINES = {"x64": 0x8664, "x86": 0x014C}

RELOCATIONS_STRIPPED = 0x0001
LARGE_ADDRESSES = 0x0020

# Bits of DllCharacteristics.
PROTECTIONS = {"DYNAMIC_BASE": 0x0040, "NX_COMPAT": 0x0100, "TERMINAL_SERVER_AWARE": 0x8000}
HIGH_ENTROPY = {"HIGH_ENTROPY_VA": 0x0020}

IMPORTS, RESOURCES, RELOCATIONS, DEBUG, DELAYED_IMPORTS = (
    pefile.DIRECTORY_ENTRY[f"IMAGE_DIRECTORY_ENTRY_{name}"]
    for name in ("IMPORT", "RESOURCE", "BASERELOC", "DEBUG", "DELAY_IMPORT")
)
CODEVIEW = 2
MANIFEST, OWN_MANIFEST = 24, 1

SUPPORTED_SYSTEMS = {
    "Windows 7": "{35138b9a-5d96-4fbd-8e2d-a2440225f93a}",
    "Windows 8": "{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}",
    "Windows 8.1": "{1f676c76-80e1-4239-95bb-83d0f6d0da78}",
    "Windows 10 and 11": "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}",
}

ASM1, ASM3 = "{urn:schemas-microsoft-com:asm.v1}", "{urn:schemas-microsoft-com:asm.v3}"
COMPATIBILITY = "{urn:schemas-microsoft-com:compatibility.v1}"
SETTINGS = "{http://schemas.microsoft.com/SMI/2005/WindowsSettings}"


def image_of(data):
    """A file's bytes with their directories read."""
    image = pefile.PE(data=bytes(data), fast_load=True)
    image.parse_data_directories([IMPORTS, DELAYED_IMPORTS, RESOURCES, DEBUG])
    return image


def allowed_imports(text):
    """The functions of each DLL, in the form of windows7imports.txt."""
    functions = {}
    for line in text.splitlines():
        if line.startswith(" "):
            functions[dll].add(line.split()[0])
        elif line and not line.startswith("#"):
            dll = line.lower()
            functions[dll] = set()
    return functions


def import_faults(image, allowed):
    tables = getattr(image, "DIRECTORY_ENTRY_IMPORT", []) + getattr(image, "DIRECTORY_ENTRY_DELAY_IMPORT", [])
    for table in tables:
        dll = table.dll.decode()
        for entry in table.imports:
            name = entry.name.decode() if entry.name else f"#{entry.ordinal}"
            if name not in allowed.get(dll.lower(), ()):
                yield f"imports {name} of {dll}, which Windows 7 isn't known to have"
    if not tables:
        yield "imports nothing, so nothing can be said about its imports"


def header_faults(image, bitness):
    header, optional = image.FILE_HEADER, image.OPTIONAL_HEADER
    if header.Machine != MACHINES[bitness]:
        yield f"is for the machine {header.Machine:#06x}"
    if optional.Subsystem != CONSOLE:
        yield f"has the subsystem {optional.Subsystem}"
    for what, found in {
        "subsystem": (optional.MajorSubsystemVersion, optional.MinorSubsystemVersion),
        "system": (optional.MajorOperatingSystemVersion, optional.MinorOperatingSystemVersion),
    }.items():
        if found != WINDOWS_7:
            yield f"asks for the {what} version {found[0]}.{found[1]}"
    if not header.Characteristics & LARGE_ADDRESSES:
        yield "can't use large addresses"
    if header.Characteristics & RELOCATIONS_STRIPPED or not optional.DATA_DIRECTORY[RELOCATIONS].Size:
        yield "has no relocations, so it can't be loaded at another address"
    for name, bit in (PROTECTIONS | (HIGH_ENTROPY if bitness == "x64" else {})).items():
        if not optional.DllCharacteristics & bit:
            yield f"lacks {name}"


def resource_of(image, kind, number):
    """The bytes of a resource, or None."""
    tree = getattr(image, "DIRECTORY_ENTRY_RESOURCE", None)
    for type_entry in tree.entries if tree else ():
        for entry in type_entry.directory.entries if type_entry.id == kind else ():
            if entry.id == number:
                place = entry.directory.entries[0].data.struct
                return image.get_data(place.OffsetToData, place.Size)
    return None


def manifest_faults(image, version, level, *, has_windows):
    """`level` is that of the rights. A program that shows windows needs two entries more."""
    data = resource_of(image, MANIFEST, OWN_MANIFEST)
    if data is None:
        yield "has no manifest"
        return
    manifest = ElementTree.fromstring(data)
    identity = manifest.find(f"{ASM1}assemblyIdentity")
    if identity is None or identity.get("version") != version + ".0":
        yield f"has another version than {version} in its manifest"
    rights = manifest.find(f".//{ASM3}requestedExecutionLevel")
    if rights is None or (rights.get("level"), rights.get("uiAccess")) != (level, "false"):
        yield f"doesn't ask for the rights {level}"
    systems = [entry.get("Id") for entry in manifest.findall(f"{COMPATIBILITY}compatibility/{COMPATIBILITY}application/{COMPATIBILITY}supportedOS")]
    for name, guid in SUPPORTED_SYSTEMS.items():
        if guid not in systems:
            yield f"isn't made for {name}, by its manifest"
    if has_windows:
        yield from window_faults(manifest)


def window_faults(manifest):
    path = f"{ASM1}dependency/{ASM1}dependentAssembly/{ASM1}assemblyIdentity"
    libraries = {(entry.get("name"), entry.get("version")) for entry in manifest.findall(path)}
    if ("Microsoft.Windows.Common-Controls", "6.0.0.0") not in libraries:
        yield "doesn't ask for version 6 of the common controls"
    if manifest.findtext(f".//{SETTINGS}dpiAware") != "true":
        yield "isn't aware of the screen's resolution"


def version_faults(image, name, version):
    """Of the version resource."""
    image.parse_data_directories([RESOURCES])
    fixed = getattr(image, "VS_FIXEDFILEINFO", None)
    if not fixed:
        yield "has no version resource"
        return
    major, minor, patch = map(int, version.split("."))
    expected = (major << 16 | minor, patch << 16)
    for what in ("File", "Product"):
        found = getattr(fixed[0], f"{what}VersionMS"), getattr(fixed[0], f"{what}VersionLS")
        if found != expected:
            yield f"has another {what.lower()} version than {version}"
    texts = {
        key.decode(): value.decode()
        for block in image.FileInfo[0]
        for table in getattr(block, "StringTable", ())
        for key, value in table.entries.items()
    }
    expected_texts = {"FileVersion": version, "ProductVersion": version, "InternalName": name, "OriginalFilename": name + ".exe"}
    for key, value in expected_texts.items():
        if texts.get(key) != value:
            yield f"has {texts.get(key)!r} and not {value!r} as its {key}"
    for key in ("CompanyName", "FileDescription", "LegalCopyright", "ProductName"):
        if not texts.get(key):
            yield f"has no {key}"


def symbol_record(image):
    """GUID, age and file name of the program database that an image names, or None."""
    for entry in getattr(image, "DIRECTORY_ENTRY_DEBUG", ()):
        place = entry.struct
        data = image.__data__[place.PointerToRawData : place.PointerToRawData + place.SizeOfData]
        if place.Type == CODEVIEW and data[:4] == b"RSDS":
            guid, age = struct.unpack_from("<16sI", data, 4)
            return guid, age, data[24:].split(b"\0")[0].decode("utf-8", "replace")
    return None


def symbol_faults(image, database, *, required):
    """Of the program database, a file beside the program. One that exists has to match in any case."""
    if not database.is_file():
        if required:
            yield f"has no {database.name} beside it"
        return
    record = symbol_record(image)
    if record is None:
        yield f"names no program database, but there is {database.name}"
        return
    guid, age, name = record
    # The debug help library looks for the file name that the image has, in its own folders.
    if Path(name.replace("\\", "/")).name.lower() != database.name.lower():
        yield f"names {name or 'no file'} and not {database.name}"
    try:
        found = ProgramDatabase(database.read_bytes())
    except ValueError as error:
        yield f"has {database.name} beside it, which can't be read: {error}"
        return
    if found.guid != guid:
        yield f"has {database.name} of another image beside it"
    if found.age != age:
        yield f"has {database.name} of the age {found.age} beside it, and names the age {age}"
