"""The files of the project, and what of them people read: comments, documents and the names of tests."""

import io
import re
import subprocess
import tokenize
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

COMMANDS = ("keyreap", "keykit", "test", "bench", "fuzz", "release", ".ci/run")

CPP_COMMENT = re.compile(r"(?:^|[\s;,{}()])//+\s*(.*)")
CPP_TEST = re.compile(r"^TEST(?:_[FP])?\(\w+,\s*(\w+)\)")
PYTHON_TEST = re.compile(r"^\s*def test_(\w+)")
SHELL_COMMENT = re.compile(r"(?:^|\s)# (.*)")


def tracked(*patterns):
    """The project's files, as paths below its folder."""
    command = ["git", "-c", "safe.directory=*", "-C", ROOT, "ls-files", "-z", "--", *patterns]
    names = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode().split("\0")
    return [name for name in names if name and (ROOT / name).is_file()]


def text_of(name):
    return (ROOT / name).read_text(encoding="utf-8", errors="replace")


def place(name, number, text):
    return "%s:%d: %s" % (name, number, text.strip())


def lines_matching(pattern, names):
    """Places as `file:line: text`."""
    found = []
    for name in names:
        for number, line in enumerate(text_of(name).splitlines(), 1):
            if re.search(pattern, line):
                found.append(place(name, number, line))
    return found


def prose_of(name, text):
    """Number and text of each line that people read. Code and quoted output are left out."""
    if name.endswith((".h", ".cpp")):
        return cpp_prose(text)
    if name.endswith(".py"):
        return python_prose(text)
    if name.endswith(".md"):
        return document_prose(text)
    return shell_prose(text)


def cpp_prose(text):
    for number, line in enumerate(text.splitlines(), 1):
        comment, test = CPP_COMMENT.search(line), CPP_TEST.search(line)
        if comment and line[: comment.start()].count('"') % 2 == 0:
            yield number, comment[1]
        if test:
            yield number, re.sub(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])", " ", test[1])


def python_prose(text):
    for token in tokenize.generate_tokens(io.StringIO(text).readline):
        if token.type == tokenize.COMMENT:
            yield token.start[0], token.string
        elif token.type == tokenize.STRING and re.match(r'\s*r?"""', token.line):
            yield from enumerate(token.string.split("\n"), token.start[0])
    for number, line in enumerate(text.splitlines(), 1):
        test = PYTHON_TEST.search(line)
        if test:
            yield number, test[1].replace("_", " ")


def document_prose(text):
    is_code = False
    for number, line in enumerate(text.splitlines(), 1):
        if line.lstrip().startswith("```"):
            is_code = not is_code
        elif not is_code:
            yield number, re.sub(r"`[^`]*`", "``", line)


def shell_prose(text):
    for number, line in enumerate(text.splitlines(), 1):
        comment = SHELL_COMMENT.search(line)
        if comment:
            yield number, comment[1]
