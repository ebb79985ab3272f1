"""The map that the GNU linker writes of a program: which objects and members of archives are in it."""

import re
from dataclasses import dataclass, field

# A member of an archive, at the start of a line. Others have a blank before the parenthesis, or name no archive that was loaded.
MEMBER = re.compile(r"(\S(?:(?! \().)*)\(([^()]+)\)(?:\s|$)")
OUTPUT = re.compile(r"OUTPUT\((.+) \S+\)$")
SHARED = re.compile(r"\.so(\.[\d.]+)?$|\.dll$", re.I)
ARCHIVE = re.compile(r"\.(a|lib)$", re.I)

# What the linker makes itself.
OWN_PARTS = {"linker stubs", "dll stuff"}


@dataclass
class LinkMap:
    """Paths are as in the map: a relative one starts in the folder in which the linker ran."""

    program: str = ""
    objects: set = field(default_factory=set)
    members: dict = field(default_factory=dict)  # the names of those that are in the program, by archive
    shared: set = field(default_factory=set)  # shared libraries that were looked through


def read_map(text):
    """A LinkMap; without a line that names the program, `program` is empty."""
    result, loaded = LinkMap(), set()
    for line in text.splitlines():
        if line.startswith("LOAD "):
            loaded.add(line[len("LOAD ") :])
        elif found := OUTPUT.match(line):
            result.program = found[1]
        elif found := MEMBER.match(line):
            result.members.setdefault(found[1], set()).add(found[2])
    result.members = {path: names for path, names in result.members.items() if path in loaded}
    result.shared = {path for path in loaded if SHARED.search(path)}
    result.objects = {path for path in loaded - result.shared - OWN_PARTS if not ARCHIVE.search(path)}
    return result
