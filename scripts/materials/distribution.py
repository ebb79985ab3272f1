"""The distribution's packages: which one a file is of, and what is known of it."""

import os
import subprocess
from dataclasses import dataclass
from pathlib import Path

FIELDS = ("Package", "Version", "Architecture", "source:Package", "source:Version", "Built-Using", "Homepage")
FORMAT = "\\t".join("${%s}" % name for name in FIELDS) + "\\n"


@dataclass(frozen=True)
class Package:
    name: str
    version: str
    architecture: str
    source: str
    source_version: str
    built_using: str
    homepage: str

    @property
    def copyright_file(self):
        return Path("/usr/share/doc") / self.name / "copyright"


def ask(*words):
    """What dpkg-query prints; what it doesn't know it leaves out."""
    command = ["dpkg-query", *words]
    return subprocess.run(command, capture_output=True, text=True, env=dict(os.environ, LC_ALL="C.UTF-8")).stdout


class Distribution:
    def __init__(self):
        self.owners = {}
        self.packages = {}

    def owner(self, path):
        """The package that a file is of, or None."""
        return self.owners.get(path)

    def find(self, paths):
        """Asks for the owners of all these files at once."""
        unknown = sorted(set(paths) - set(self.owners))
        self.owners.update(dict.fromkeys(unknown))
        self.search(unknown, "")
        # A package may have been made when /lib was a folder of its own.
        merged = [path for path in unknown if self.owners[path] is None and path.startswith("/usr/lib")]
        self.search([path.removeprefix("/usr") for path in merged], "/usr")

    def search(self, paths, prefix):
        for start in range(0, len(paths), 500):
            for line in ask("-S", "--", *paths[start : start + 500]).splitlines():
                names, _, path = line.partition(": ")
                if not line.startswith("diversion ") and prefix + path in self.owners:
                    self.owners[prefix + path] = self.package(names.split(", ")[0])

    def package(self, name):
        """An installed package, or None."""
        if name not in self.packages:
            known = ask("-W", "-f", FORMAT, "--", name).splitlines()
            self.packages[name] = Package(*known[0].split("\t")) if known else None
        return self.packages[name]
