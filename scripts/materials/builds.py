"""What programs were built from: the linker's maps, and the lists of headers that the compiler wrote."""

import os
import re
import subprocess
from collections import defaultdict
from dataclasses import dataclass, field
from pathlib import Path

from linkmap import read_map

# `target: #deps N, deps mtime N (VALID)`, followed by an indented path a line.
DEPS = re.compile(r"(.+): #deps \d+,")


class Unknown(Exception):
    """A part of a program whose origin can't be found; the text is the reason."""


@dataclass
class Parts:
    """Absolute paths of what a program has from outside the project."""

    linked: set = field(default_factory=set)  # objects and archives
    compiled: set = field(default_factory=set)  # sources and headers
    shared: set = field(default_factory=set)  # shared libraries that the linker looked through


class Tree:
    """The folder of the project: what is in it is the project's own, links to other places excepted."""

    def __init__(self, root):
        self.root = os.path.realpath(root)
        self.resolved = {}

    def foreign(self, path):
        """The resolved path, if it is outside the project."""
        if path not in self.resolved:
            self.resolved[path] = os.path.realpath(path)
        real = self.resolved[path]
        return None if real.startswith(self.root + os.sep) else real

    def foreign_ones(self, paths):
        return {real for real in map(self.foreign, paths) if real}


class Builder:
    """Programs of one folder, in which the linker ran."""

    def __init__(self, tree, folder):
        self.tree = tree
        self.folder = Path(folder)
        self.sources = {}

    def absolute(self, path):
        return os.path.normpath(self.folder / path)

    def parts_of(self, maps):
        """The Parts of the program that these LinkMaps are of: of all programs with its name."""
        parts = Parts()
        for linked in maps:
            for path in map(self.absolute, linked.objects):
                self.add(parts, path, [path])
            for path, names in linked.members.items():
                archive = self.absolute(path)
                self.add(parts, archive, self.objects_of(archive, names) if self.tree.foreign(archive) is None else [])
            parts.shared |= self.tree.foreign_ones(map(self.absolute, linked.shared))
        return parts

    def add(self, parts, file, objects):
        """Adds a linked file; one of the project's own is in the program as these objects."""
        foreign = self.tree.foreign(file)
        if foreign:
            parts.linked.add(foreign)
            return
        for path in objects:
            if path not in self.sources:
                self.sources[path] = self.tree.foreign_ones(map(self.absolute, self.sources_of(path)))
            parts.compiled |= self.sources[path]

    def unknown(self, path):
        return Unknown("%s is linked in, and neither built here nor a file of a package" % path)


class NinjaBuild(Builder):
    """A folder in which Ninja builds, with a link.map beside the objects of each program."""

    def __init__(self, tree, folder):
        super().__init__(tree, folder)
        lines = self.ninja("targets", "all").stdout.splitlines()
        self.targets = {self.absolute(target): target for target in (line.rpartition(": ")[0] for line in lines)}
        self.maps = defaultdict(list)
        for file in sorted(self.folder.rglob("link.map")):
            linked = map_in(file)
            # The map of a program that is no longer declared stays.
            if self.absolute(linked.program) in self.targets:
                self.maps[Path(linked.program).name].append(linked)
        self.headers = dict(self.recorded_headers())
        self.inputs = {}

    def ninja(self, *words):
        return subprocess.run(["ninja", "-C", self.folder, "-t", *words], capture_output=True, text=True)

    def recorded_headers(self):
        """The pairs of an object and the files that it was compiled from."""
        target, files = None, []
        for line in self.ninja("deps").stdout.splitlines():
            if found := DEPS.match(line):
                target, files = self.absolute(found[1]), []
                yield target, files
            elif line.startswith("    "):
                files.append(line[4:])

    def inputs_of(self, path):
        """What Ninja makes a file from."""
        if path not in self.inputs:
            if path not in self.targets:
                raise self.unknown(path)
            answer = self.ninja("query", self.targets[path])
            listed = answer.stdout.partition("  input:")[2].partition("  outputs:")[0].splitlines()[1:]
            # A bar is before those that the rule doesn't name.
            self.inputs[path] = [line.strip() for line in listed if not line.strip().startswith("|")]
        return self.inputs[path]

    def objects_of(self, archive, names):
        return [path for path in map(self.absolute, self.inputs_of(archive)) if Path(path).name in names]

    def sources_of(self, path):
        if path.endswith(".def"):
            # The names that a library exports, which the linker itself reads.
            return []
        return self.headers[path] if path in self.headers else self.inputs_of(path)


class ToolBuild(Builder):
    """The native programs that scripts/tools.sh compiles: beside each is a folder with its objects and its map."""

    def __init__(self, tree, folder):
        super().__init__(tree, folder)
        self.maps = {}
        for file in sorted(self.folder.glob("*.parts/link.map")):
            name = file.parent.name.removesuffix(".parts")
            self.maps[name] = [map_in(file)]

    def objects_of(self, archive, names):
        raise self.unknown(archive)

    def sources_of(self, path):
        try:
            text = Path(path).with_suffix(".d").read_text(encoding="utf-8")
        except OSError:
            raise self.unknown(path) from None
        return [re.sub(r"\\(.)", r"\1", word) for word in words_of_rule(text)]


def map_in(file):
    return read_map(file.read_text(encoding="utf-8", errors="surrogateescape"))


def words_of_rule(text):
    """The prerequisites of a rule for make, as the compiler writes it."""
    return re.findall(r"(?:\\.|[^\s\\])+", text.replace("\\\n", " ").partition(": ")[2])


def builds_of(root):
    """The builds whose programs a release may have, by name."""
    tree = Tree(root)
    builds = {preset: NinjaBuild(tree, root / "build" / preset) for preset in ("x64", "x86", "keykit")}
    return builds | {"tools": ToolBuild(tree, root / "build/tools")}
