"""The signs that a .reg file isn't what its server registered, for tests of results. They share no code with the program's
own checks."""

import re

import regfile

# A trace's result has this text for a value that could not be read again.
FILLER = (regfile.SZ, ("\u5555" * 10 + "\0").encode("utf-16-le"))

TEMPORARY_TREE = re.compile(r"software\\+velmoro\\+tesselink\\+temporary(?![^\\])", re.I)
ACCOUNT = re.compile(r"(HKEY_LOCAL_MACHINE\\S-1-|UNKNOWN!!)", re.I)


def signs(data):
    """The signs in the bytes of a file, each with its place."""
    found = []
    for path, values in regfile.parse(data).items():
        if ACCOUNT.match(path):
            found.append("no root: " + path)
        elif TEMPORARY_TREE.search(path):
            found.append("temporary tree: " + path)
        for name, value in values.items():
            if value == FILLER:
                found.append("filler: %s: %r" % (path, name))
            elif value and value[1] and TEMPORARY_TREE.search(value[1].decode("utf-16-le", "replace").rstrip("\0")):
                found.append("temporary tree: %s: %r" % (path, name))
    return found
