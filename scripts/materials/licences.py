"""Which library a file of a package belongs to, and its licence as an SPDX expression."""

import re
from dataclasses import dataclass

from distribution import Package

GCC = "GPL-3.0-or-later WITH GCC-exception-3.1"

# The words `LicenseRef-copyright` stand for the copyright file of the package, whose whole text is then in the bill.
ANYTHING_ELSE = "LicenseRef-copyright"

# Packages with several libraries in them, or with a copyright file that lists the licences of much more than what can be
# linked: source package, file, library, licence.
LIBRARIES = [
    (r"gcc-(mingw-w64|\d+)", r"/lib(stdc|supc)\+\+|/c\+\+/", "libstdc++", GCC),
    (r"gcc-(mingw-w64|\d+)", r"/libgcc|/crt\w+\.o$|/gcc/.*/include(-fixed)?/", "libgcc", GCC),
    (r"mingw-w64", r"/lib(win)?pthread|/include/(pthread|sched|semaphore)\w*\.h$", "winpthreads", "MIT AND BSD-3-Clause"),
    (r"mingw-w64", r"", "mingw-w64 run time", "ZPL-2.1 AND " + ANYTHING_ELSE),
    (r"glibc", r"", "glibc", "LGPL-2.1-or-later"),
    (r"linux", r"", "linux headers", "GPL-2.0-only WITH Linux-syscall-note"),
    (r"cli11", r"", "CLI11", "BSD-3-Clause"),
    (r"googletest", r"", "googletest", "BSD-3-Clause"),
    (r"nlohmann-json3", r"", "nlohmann-json", "MIT"),
]

# The names in copyright files of Debian, where they differ from those of SPDX.
SHORT_NAMES = {
    "Expat": "MIT",
    "BSD-2-clause": "BSD-2-Clause",
    "BSD-3-clause": "BSD-3-Clause",
    "Zlib": "Zlib",
    "zlib": "Zlib",
    "ISC": "ISC",
    "Apache-2.0": "Apache-2.0",
    "BSL-1.0": "BSL-1.0",
    "GPL-2+": "GPL-2.0-or-later",
    "GPL-3+": "GPL-3.0-or-later",
    "LGPL-2.1+": "LGPL-2.1-or-later",
    "LGPL-3+": "LGPL-3.0-or-later",
}

PARAGRAPH = re.compile(r"\n[ \t]*\n")
FIELD = re.compile(r"^(Files|License):[ \t]*(.*(?:\n[ \t]+.*)*)", re.M)


@dataclass(frozen=True)
class Library:
    """A part of a package that has a name and a licence of its own."""

    name: str
    package: Package
    licence: str


def library_of(path, package):
    """The library that a file of a package belongs to."""
    for source, file, name, licence in LIBRARIES:
        if re.fullmatch(source, package.source) and re.search(file, path):
            return Library(name, package, licence.replace(ANYTHING_ELSE, reference_to(package)))
    return Library(package.name, package, licence_in(copyright_of(package)) or reference_to(package))


def reference_to(package):
    """The name of a licence that is the copyright file of a package, which all packages of one source have."""
    return "LicenseRef-%s-copyright" % re.sub(r"[^A-Za-z0-9.-]", "-", package.source)


def copyright_of(package):
    return package.copyright_file.read_text(encoding="utf-8", errors="replace")


def licence_in(text):
    """The licence of all files but the packaging's, if the copyright file is for machines and names only one; else None."""
    names = set()
    for paragraph in PARAGRAPH.split(text):
        fields = dict(FIELD.findall(paragraph))
        if "License" in fields and set(fields.get("Files", "debian/*").split()) != {"debian/*"}:
            names.add(fields["License"].splitlines()[0].strip())
    return SHORT_NAMES.get(names.pop()) if len(names) == 1 else None
