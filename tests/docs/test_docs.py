"""The documents: every command in them works as written, what they show is what is printed, and every link has a
target. The word after the fence of a block says what the block contains:

  sh               commands, run one after another
  console          a session at a terminal: what follows a `$ ` is run, the rest is what it prints; a document has one
  bat              commands of Windows, run in the unpacked zip
  cmake nsis xml iss
                   a piece of the examples
  reg              what the program writes: lines of a golden file, in their order
  text, nothing    anything but commands
  ... not-run      can't be tried here, and the text before the block says so
"""

import os
import pty
import random
import re
import shutil
import string
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]

sys.path[:0] = [str(ROOT / "scripts" / "runner"), str(ROOT / "tests" / "support")]

from suites import all_suites, chosen_suites  # noqa: E402
from terminalshown import shown_at  # noqa: E402

SESSION = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display"]
DESK = "/tmp/demo"

FENCE = re.compile(r"^```([^\n`]*)\n(.*?)^```$", re.M | re.S)
LINK = re.compile(r"\]\(([^)\s]+)\)")
COMMAND_LINE = re.compile(r"^\s*(\$ |\./|cmake |ninja |git |wine ).*", re.M)

QUOTED = {
    "cmake": ROOT / "examples" / "CMakeLists.txt",
    "nsis": ROOT / "examples" / "installer" / "example.nsi",
    "xml": ROOT / "examples" / "installer" / "example.wxs.in",
    "iss": ROOT / "examples" / "installer" / "example.iss",
}


def git_files(*patterns):
    command = ["git", "-c", "safe.directory=*", "-C", ROOT, "ls-files", "-z", "-co", "--exclude-standard", "--", *patterns]
    names = subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode().split("\0")
    return [name for name in names if name and (ROOT / name).is_file()]


DOCUMENTS = git_files("*.md")


def text_of(name):
    return (ROOT / name).read_text(encoding="utf-8")


def blocks(*kinds):
    """Kind and text of the blocks of these kinds, as parameters of a test."""
    found = []
    for name in DOCUMENTS:
        text = text_of(name)
        for fence in FENCE.finditer(text):
            if fence[1] in kinds:
                line = text.count("\n", 0, fence.start()) + 2
                found.append(pytest.param(fence[1], fence[2], id="%s:%d" % (name, line)))
    return found


# The desk of a reader: a clone of the project, with servers in it


@pytest.fixture(scope="module")
def servers(tmp_path_factory):
    """Files that the documents name, by name."""
    base = ROOT / "build" / "wine" / "base" / "drive_c" / "windows"
    calculator = ROOT / "build" / "samples" / "x64" / "calculator.dll"
    hlinks = {"hlink64.dll": base / "system32" / "hlink.dll", "hlink32.dll": base / "syswow64" / "hlink.dll"}
    # What is out of date is set up here, so that the commands of the documents don't print the set-up.
    subprocess.run([ROOT / "keyreap", "extreg"], check=True)
    subprocess.run([ROOT / "keykit", "--help", "--prove"], check=True, stdout=subprocess.DEVNULL)
    subprocess.run([ROOT / "keykit", "explain", calculator], check=True, stdout=subprocess.DEVNULL)
    return {"server.dll": calculator, **hlinks}


def new_folder():
    """A folder whose name is as long as that in the documents, so that the printed sizes are the same."""
    while True:
        folder = Path(DESK).with_name("".join(random.choices(string.ascii_lowercase, k=len(Path(DESK).name))))
        try:
            folder.mkdir()
            return folder
        except FileExistsError:
            pass


@pytest.fixture
def desk(servers):
    folder = new_folder()
    for entry in ROOT.iterdir():
        (folder / entry.name).symlink_to(entry)
    for name, file in servers.items():
        shutil.copy(file, folder / name)
    yield folder
    shutil.rmtree(folder)


# Commands that have a test of their own, or that run this one, each with the condition that it has to fulfil here.


def is_program(words):
    return os.access(ROOT / words[0], os.X_OK)


def names_suites(words):
    return all(chosen_suites(all_suites(ROOT), [word]) for word in words[1:])


def names_preset(words):
    return '"name": "%s"' % words[-1] in text_of("CMakePresets.json")


def names_version(words):
    return "VERSION %s " % words[1] in text_of("CMakeLists.txt")


ELSEWHERE = {
    "./test": names_suites,
    "./bench": is_program,
    "./release": names_version,
    "examples/walk.sh": is_program,
    "examples/farm/capture-farm.sh": is_program,
    "cmake --preset": names_preset,
    "cmake --build --preset": names_preset,
}


def elsewhere(command):
    """The condition of a command that isn't run here, or None."""
    return next((check for start, check in ELSEWHERE.items() if (command + " ").startswith(start + " ")), None)


@pytest.mark.parametrize("kind, text", blocks("sh"))
def test_commands_work(desk, kind, text):
    for command in filter(None, text.splitlines()):
        check = elsewhere(command)
        if check:
            assert check(command.split()), command
        else:
            result = subprocess.run(["bash", "-ec", command], cwd=desk, stdin=subprocess.DEVNULL, capture_output=True, text=True)
            assert result.returncode == 0, command + "\n" + result.stderr


def at_a_terminal(command, folder):
    """All lines that a command leaves on a terminal."""
    own, its = pty.openpty()
    process = subprocess.Popen(["bash", "-c", command], cwd=folder, stdin=subprocess.DEVNULL, stdout=its, stderr=its)
    os.close(its)
    printed = shown_at(own)
    process.wait()
    # A line that a later one overwrites doesn't count.
    covered = re.sub(r"\r\x1b\[K[^\r\n]*(?=\r\x1b\[K)", "", printed).replace("\r\x1b[K", "")
    return covered.replace("\r", "")


def session_of(name):
    """The commands of a document's session, each with what it prints."""
    for fence in FENCE.finditer(text_of(name)):
        if fence[1] == "console":
            for part in re.split(r"^\$ ", fence[2], flags=re.M)[1:]:
                command, _, printed = part.partition("\n")
                yield command, printed


@pytest.mark.parametrize("name", [name for name in DOCUMENTS if any(session_of(name))])
def test_a_session_prints_what_it_shows(desk, name):
    folders = [(str(desk).replace("/", sign), DESK.replace("/", sign)) for sign in ("/", "\\", "\\\\")]
    for command, expected in session_of(name):
        printed = at_a_terminal(command, desk)
        for its, shown in folders:
            printed = printed.replace(its, shown)
        assert printed == expected, command


USAGE = re.compile(r"^    (keykit (\w+) .*\n(?:      .*\n)*)", re.M)


def options_of(verb):
    """The names of each option of keykit's verb."""
    result = subprocess.run([ROOT / "keykit", verb, "--help"], check=True, capture_output=True, text=True)
    names = (re.findall(r"--?[\w-]+", line.split("  ")[1]) for line in result.stdout.splitlines() if line.startswith("  -"))
    return [set(found) for found in names if "--help" not in found]


@pytest.mark.parametrize("verb", {usage[2] for name in DOCUMENTS for usage in USAGE.finditer(text_of(name))})
def test_a_usage_names_the_options_that_the_verb_has(servers, verb):
    options = options_of(verb)
    assert options
    for name in DOCUMENTS:
        for usage in USAGE.finditer(text_of(name)):
            words = set(re.findall(r"(?<![\w-])--?[a-z][\w-]*", usage[1]))
            if usage[2] == verb:
                assert [found for found in options if not found & words] == [], name
                assert words - set.union(*options) == set(), name


def first_block(name, text):
    """The first commands of a document that contain a text."""
    return next(fence[2] for fence in FENCE.finditer(text_of(name)) if fence[1] == "sh" and text in fence[2])


def test_the_first_commands_show_what_a_server_registers(desk):
    """The folder has only what a clone has and a set-up makes."""
    for name in ("server.dll", "hlink64.dll", "hlink32.dll"):
        (desk / name).unlink()
    block = first_block("README.md", "./keyreap")
    result = subprocess.run(["bash", "-c", block], cwd=desk, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert result.returncode == 0, result.stderr
    assert '[HKEY_CLASSES_ROOT\\KeyreapExample.Thermometer]\n@="Keyreap example: thermometer"' in result.stdout.replace("\r", "")


def test_the_line_of_many_captures_goes_on_after_a_file_that_is_no_server(desk):
    (desk / "a broken.dll").write_text("no image")
    block = first_block("docs/building.md", "xargs")
    result = subprocess.run(["bash", "-c", block], cwd=desk, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    assert result.returncode == 123
    assert result.stderr == "keyreap: a broken.dll: it is neither a PE image nor a type library\n"
    assert sorted(file.name for file in desk.glob("*.reg")) == ["hlink32.dll.reg", "hlink64.dll.reg", "server.dll.reg"]


@pytest.mark.parametrize("kind, text", blocks("bat"))
def test_commands_of_windows_work(desk, kind, text, tmp_path):
    subprocess.run([ROOT / "scripts" / "package.sh", tmp_path / "keyreap.zip"], check=True, capture_output=True)
    shutil.unpack_archive(tmp_path / "keyreap.zip", desk)
    for command in filter(None, text.splitlines()):
        result = subprocess.run([*SESSION, "wine", "cmd", "/c", command], cwd=desk, capture_output=True)
        assert result.returncode == 0, command
    assert (desk / "server.reg").read_bytes().startswith(b"\xff\xfe")


# What is shown and not run


@pytest.mark.parametrize("kind, text", blocks(*QUOTED))
def test_quoted_pieces_are_in_the_examples(kind, text):
    assert text in QUOTED[kind].read_text(encoding="utf-8")


@pytest.fixture(scope="module")
def golden():
    files = (ROOT / "tests" / "endtoend" / "golden").glob("*.reg")
    return [file.read_bytes().decode("utf-16", "surrogatepass").split("\r\n") for file in files]


def stands_in(lines, document):
    """Whether the document contains the lines in their order."""
    rest = iter(document)
    return all(line in rest for line in lines)


@pytest.mark.parametrize("kind, text", blocks("reg"))
def test_entries_are_what_the_program_writes(golden, kind, text):
    assert any(stands_in(text.splitlines(), document) for document in golden)


def test_every_block_has_a_kind():
    kinds = {"sh", "console", "bat", "bat not-run", "reg", "text", "", *QUOTED}
    wrong = ["%s: %s" % (name, fence[1]) for name in DOCUMENTS for fence in FENCE.finditer(text_of(name)) if fence[1] not in kinds]
    assert wrong == []


def test_text_before_a_block_that_is_not_run_says_so():
    for name in DOCUMENTS:
        text = text_of(name)
        for fence in FENCE.finditer(text):
            if "not-run" in fence[1]:
                assert re.search(r"not\s+been\s+tried", text[: fence.start()].rpartition("\n#")[2]), name


def test_commands_are_in_blocks_that_are_run():
    wrong = []
    for name in DOCUMENTS:
        others = FENCE.sub(lambda fence: fence[2] if fence[1] in ("text", "") else "", text_of(name))
        wrong += ["%s: %s" % (name, found[0]) for found in COMMAND_LINE.finditer(others)]
    assert wrong == []


def anchors(name):
    """The headings of a document as a link names them."""
    headings = re.findall(r"^#+ (.*)$", FENCE.sub("", text_of(name)), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


@pytest.mark.parametrize("name", DOCUMENTS)
def test_links_have_targets(name):
    wrong = []
    for link in LINK.findall(FENCE.sub("", text_of(name))):
        if "://" in link:
            continue
        path, _, anchor = link.partition("#")
        target = (ROOT / name).parent / path if path else ROOT / name
        if not target.exists() or (anchor and anchor not in anchors(os.path.relpath(target, ROOT))):
            wrong.append(link)
    assert wrong == []
