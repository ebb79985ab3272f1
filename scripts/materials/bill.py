"""What a file of the release is made of: its files, and the libraries in its programs."""

import os
import subprocess
from collections import defaultdict
from dataclasses import dataclass, field
from pathlib import Path

from builds import Unknown
from licences import Library, library_of

# How a program uses a library, as SPDX names it.
LINKED, COMPILED, SHARED = "STATIC_LINK", "GENERATED_FROM", "DYNAMIC_LINK"


@dataclass
class Bill:
    path: Path  # of the zip or the Debian package
    files: list  # of ReleasedFile
    uses: dict = field(default_factory=lambda: defaultdict(lambda: defaultdict(set)))  # by program and library: LINKED, ...
    archives: dict = field(default_factory=lambda: defaultdict(set))  # by library: the names of the linked files
    tools: set = field(default_factory=set)  # of Package: what the programs were built with
    depends: list = field(default_factory=list)  # the names of packages and what versions are needed

    def libraries(self):
        return sorted({library for used in self.uses.values() for library in used}, key=order)


def order(library):
    return library.name, library.package.name


class Accountant:
    """Makes the bills of a release."""

    def __init__(self, builds, distribution):
        self.builds = builds  # by name; see releasefiles.py
        self.distribution = distribution
        self.known = {}

    def bill_of(self, path, files):
        """Raises Unknown for a program that has a part of unknown origin."""
        bill = Bill(path, files)
        programs = [(file, *self.program_of(file)) for file in files if file.builds]
        self.distribution.find(file for _, _, parts in programs for file in parts.linked | parts.compiled | parts.shared)
        for file, build, parts in programs:
            self.add_program(bill, file, parts)
            bill.tools |= self.toolchain_of(build)
        bill.tools -= {library.package for library in bill.libraries()}
        bill.depends = dependencies_of(path)
        return bill

    def program_of(self, file):
        """The build that a program is of, and its Parts."""
        name = Path(file.name).name
        for build in filter(None, map(self.builds.get, file.builds)):
            if maps := build.maps.get(name):
                return build, build.parts_of(maps)
        raise Unknown("%s: there is no linker's map of it" % file.name)

    def add_program(self, bill, file, parts):
        used = bill.uses[file.name]
        for path in sorted(parts.linked):
            library = self.library(path, file)
            used[library].add(LINKED)
            bill.archives[library].add(os.path.basename(path))
        for path in parts.compiled:
            used[self.library(path, file)].add(COMPILED)
        for name in file.needed:
            used[self.library(shared_library(name, parts.shared, file), file)].add(SHARED)

    def library(self, path, file) -> Library:
        if path not in self.known:
            package = self.distribution.owner(path)
            if package is None:
                raise Unknown("%s: %s is in it, and is not a file of any package" % (file.name, path))
            if not package.copyright_file.is_file():
                raise Unknown("%s: the package %s has no copyright file" % (file.name, package.name))
            self.known[path] = library_of(path, package)
        return self.known[path]

    def toolchain_of(self, build):
        """The packages in the build's record of its toolchain (scripts/build.sh)."""
        record = build.folder / "toolchain"
        lines = record.read_text(encoding="utf-8").splitlines() if record.is_file() else []
        return set(filter(None, (self.distribution.package(line.split()[1]) for line in lines)))


def shared_library(name, paths, file):
    """The file of a shared library that a program names."""
    for path in sorted(paths):
        if os.path.basename(path).startswith(name):
            return path
    raise Unknown("%s: the linker didn't look through %s, which it names" % (file.name, name))


def dependencies_of(path):
    """The packages that a Debian package depends on, each with the condition for its version."""
    if path.suffix != ".deb":
        return []
    answer = subprocess.run(["dpkg-deb", "-f", path, "Depends"], check=True, capture_output=True, text=True)
    words = (word.strip().partition(" ") for word in answer.stdout.split(","))
    return [(name, condition.strip("()")) for name, _, condition in words if name]
