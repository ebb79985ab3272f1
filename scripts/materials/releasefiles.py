"""The files that a zip or a Debian package contains."""

import hashlib
import re
import struct
import subprocess
import tarfile
import tempfile
import zipfile
from dataclasses import dataclass

# The builds that a program can be of, by the machine in its header.
MACHINES = {0x8664: ["x64"], 0x014C: ["x86"]}
NATIVE = ["tools", "keykit"]


@dataclass(frozen=True)
class ReleasedFile:
    name: str
    sha1: str
    sha256: str
    builds: tuple  # the names of those that the program may be of; of other files empty
    needed: tuple  # the shared libraries that a native program names


def contents(path):
    """The ReleasedFiles of a file that ends in .zip or .deb, in the order of their names."""
    read = {".zip": zip_entries, ".deb": package_entries}[path.suffix]
    return sorted((described(name, data) for name, data in read(path)), key=lambda file: file.name)


def zip_entries(path):
    with zipfile.ZipFile(path) as archive:
        for name in archive.namelist():
            yield name, archive.read(name)


def package_entries(path):
    packer = subprocess.Popen(["dpkg-deb", "--fsys-tarfile", path], stdout=subprocess.PIPE)
    with tarfile.open(fileobj=packer.stdout, mode="r|") as archive:
        for member in archive:
            if member.isfile():
                yield member.name.removeprefix("./"), archive.extractfile(member).read()
    if packer.wait() != 0:
        raise OSError("%s can't be unpacked" % path)


def described(name, data):
    builds = builds_of(data)
    needed = needed_by(data) if builds == NATIVE else []
    return ReleasedFile(name, hashlib.sha1(data).hexdigest(), hashlib.sha256(data).hexdigest(), tuple(builds), tuple(needed))


def builds_of(data):
    if data.startswith(b"\x7fELF"):
        return NATIVE
    if data.startswith(b"MZ") and len(data) >= 64:
        header = struct.unpack_from("<I", data, 0x3C)[0]
        if data[header : header + 4] == b"PE\0\0":
            return MACHINES.get(struct.unpack_from("<H", data, header + 4)[0], ["a build for this machine"])
    return []


def needed_by(data):
    with tempfile.NamedTemporaryFile() as file:
        file.write(data)
        file.flush()
        answer = subprocess.run(["readelf", "--wide", "--dynamic", file.name], check=True, capture_output=True, text=True)
    return re.findall(r"\(NEEDED\).*\[(.+)\]", answer.stdout)
