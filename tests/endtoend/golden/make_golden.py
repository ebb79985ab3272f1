#!/usr/bin/env python3
"""Writes the golden .reg files into the folder of this script. test_golden.py checks that they are up to date."""

import pathlib

import contents
import replay
import traced
from document import document

SAME_IN_BOTH = [
    contents.everytype,
    contents.texts,
    contents.names,
    contents.keys,
    contents.surroundings,
    contents.failing,
    contents.silent,
    contents.plain,
    contents.neighbour,
    contents.lifetime,
    contents.peruser,
    contents.pausing,
    contents.everyview,
    contents.renaming,
]
BY_BITNESS = [contents.calculator, contents.exporting, contents.library_alone]
TRACED_IN_BOTH = [
    traced.everytype,
    traced.everyview,
    traced.family,
    traced.handles,
    traced.keys,
    traced.lifetime,
    traced.names,
    traced.otherview,
    traced.pausing,
    traced.peruser,
    traced.plain,
    traced.renaming,
    traced.texts,
    traced.writing,
    traced.writing_over,
]
TRACED_BY_BITNESS = [traced.calculator, traced.library_alone, traced.typelibone]


def golden_files():
    """Each file's name and bytes."""
    files = {f"{sample.__name__}.reg": document(sample()) for sample in SAME_IN_BOTH}
    for sample in BY_BITNESS:
        files[f"{sample.__name__}-x64.reg"] = document(sample("win64"))
        files[f"{sample.__name__}-x86.reg"] = document(sample("win32"))
    files.update(traced_files())
    return files


def traced_files():
    """The files of captures by trace."""
    files = {f"{sample.__name__}-traced.reg": replay.document(sample()) for sample in TRACED_IN_BOTH}
    for sample in TRACED_BY_BITNESS:
        files[f"{sample.__name__}-traced-x64.reg"] = replay.document(sample("win64"))
        files[f"{sample.__name__}-traced-x86.reg"] = replay.document(sample("win32"))
    return files


if __name__ == "__main__":
    for name, data in golden_files().items():
        (pathlib.Path(__file__).parent / name).write_bytes(data)
