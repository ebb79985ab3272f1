"""The servers of the Wine distribution: every module that registers itself, every type library, and the programs
that know a registration switch."""

import json
import mmap
import struct
from dataclasses import asdict, dataclass
from pathlib import Path

BITNESSES = {0x8664: "x64", 0x014C: "x86"}
SYSTEM_FOLDERS = {"x64": "system32", "x86": "syswow64"}
PROGRAMS = ("iexplore.exe", "msiexec.exe")
KINDS = ("module", "library", "program")


@dataclass(frozen=True)
class Target:
    kind: str
    bitness: str
    name: str
    path: str  # of the file, for Windows

    @property
    def id(self):
        return self.bitness + "-" + self.name


def system_program(bitness, name):
    return "C:\\windows\\" + SYSTEM_FOLDERS[bitness] + "\\" + name


class Image:
    """The headers and the export table of a PE file, read directly from the file."""

    def __init__(self, data):
        self.data = data
        nt = self.numbers("<I", 60)[0]
        self.machine, count, optional_size = self.numbers("<HH12xH", nt + 4)
        optional = nt + 24
        self.directories = optional + (112 if self.numbers("<H", optional)[0] == 0x20B else 96)
        self.sections = [self.numbers("<4I", optional + optional_size + 40 * i + 8) for i in range(count)]

    def numbers(self, form, at):
        return struct.unpack_from(form, self.data, at)

    def place(self, rva):
        return next(raw + rva - start for _, start, size, raw in self.sections if start <= rva < start + size)

    def text(self, rva):
        at = self.place(rva)
        return self.data[at : self.data.find(b"\0", at)]

    def exports(self):
        table = self.numbers("<I", self.directories)[0]
        if table == 0:
            return []
        count, names = self.numbers("<I4xI", self.place(table) + 24)
        return [self.text(rva) for rva in self.numbers("<%dI" % count, self.place(names))] if count else []


def is_image(data):
    """Modules for 16-bit systems are not PE files."""
    return data[:2] == b"MZ" and data[struct.unpack_from("<I", data, 60)[0] :][:4] == b"PE\0\0"


def read_image(file, read):
    """What `read` returns for the file's image; None if the file is not an image."""
    if file.stat().st_size < 64:
        return None
    with file.open("rb") as opened, mmap.mmap(opened.fileno(), 0, access=mmap.ACCESS_READ) as data:
        return read(Image(data)) if is_image(data) else None


def kind_of(file):
    if file.suffix == ".tlb":
        return "library"
    if file.name in PROGRAMS:
        return "program"
    registers_itself = read_image(file, lambda image: b"DllRegisterServer" in image.exports())
    return "module" if registers_itself else None


def bitness_of(file):
    return BITNESSES.get(read_image(file, lambda image: image.machine))


def files_by_name(drive):
    """The files of a prefix's drive C: by their names, those with the shortest paths first."""
    found = {}
    for file in sorted(drive.rglob("*"), key=lambda file: (len(str(file)), str(file))):
        found.setdefault(file.name, []).append(file)
    return found


def windows_path(file, bitness, drive, copies):
    """The path of the file's copy on drive C:; that of the file itself if there is no copy."""
    for copy in copies.get(file.name, []):
        if copy.is_file() and bitness_of(copy) == bitness:
            return "C:\\" + str(copy.relative_to(drive)).replace("/", "\\")
    return "Z:" + str(file).replace("/", "\\")


def host_file(path, drive):
    """The file of the host that a target's path names."""
    place = path[3:].replace("\\", "/")
    return drive / place if path.startswith("C:") else Path("/") / place


def all_targets(folders, drive):
    """Every target, sorted by kind, bitness and name. `folders` are those of the distribution, by bitness; `drive` is
    drive C: of a prefix."""
    copies = files_by_name(drive)
    targets = [
        Target(kind, bitness, file.name, windows_path(file, bitness, drive, copies))
        for bitness, folder in folders.items()
        for file in sorted(folder.iterdir())
        if file.is_file() and (kind := kind_of(file))
    ]
    return sorted(targets, key=lambda target: (KINDS.index(target.kind), target.bitness))


def sample(targets, step):
    """Every `step`th of each kind and bitness, from the first."""
    lists = {}
    for target in targets:
        lists.setdefault((target.kind, target.bitness), []).append(target)
    return [target for found in lists.values() for target in found[::step]]


def write_targets(path, targets):
    path.write_text(json.dumps([asdict(target) for target in targets]))


def read_targets(path, *kinds):
    targets = [Target(**fields) for fields in json.loads(Path(path).read_text())]
    return [target for target in targets if target.kind in kinds]


def in_shard(targets, kinds, bitness, shard, shards):
    """The targets of a bitness that one of the sessions that share them captures."""
    chosen = [target for target in targets if target.kind in kinds and target.bitness == bitness]
    return chosen[int(shard) :: int(shards)]


def read_shard(path, kinds, bitness, shard, shards):
    return in_shard(read_targets(path, *kinds), kinds, bitness, shard, shards)


def session_folder(output, bitness, shard):
    return output / ("session-%s-%s" % (bitness, shard))
