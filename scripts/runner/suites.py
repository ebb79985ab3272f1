"""The suites of tests, and which of them a run takes."""

from dataclasses import dataclass
from enum import Enum
from pathlib import Path

PRESETS = ("x64", "x86", "native", "native-sanitized", "clang-x64", "clang-x86")

# The builds of the second compiler, and the word that runs all suites of them. Other runs have the unit tests of the first one.
SECOND_COMPILER = ("clang-x64", "clang-x86")
SECOND_COMPILER_WORD = "compilers"

# A suite with very many cases takes every tenth of them, except in its whole run.
SAMPLE_STEP = 10

STRICT_HOST = "strict"

# The suites and folders of suites that measure, count what runs on the machine, or fill it.
ALONE = ("benchmarks", "box", "dialog", "faults", "hosts", "scripts/isolation", "scripts/sessions")

# Those that take longest, begun first, so that no core waits for one of them at the end.
LONG = ("keykit/check", "scripts/setup", "keykit/capturemany", "keykit/live")


class Kind(Enum):
    WINDOWS = "windows"  # a program for Windows, run in a Wine session of its own
    REQUESTS = "requests"  # the same in a session with the request log
    NATIVE = "native"  # a program for this machine
    PYTEST = "pytest"  # a file tests/FOLDER/test_NAME.py


@dataclass(frozen=True)
class Suite:
    name: str
    kind: Kind
    file: Path
    whole: str | None  # the word of the run in which the suite goes through all its cases
    host: str = ""  # how strict the logger of its session is (scripts/host.sh)

    @property
    def is_of_second_compiler(self) -> bool:
        return self.name.partition("/")[0] in SECOND_COMPILER

    @property
    def is_alone(self) -> bool:
        return self.name in ALONE or self.name.partition("/")[0] in ALONE

    @property
    def is_long(self) -> bool:
        return self.name in LONG

    @property
    def is_run_by_its_name_only(self) -> bool:
        return self.is_of_second_compiler and not self.name.startswith(SECOND_COMPILER[0] + "/unit_")

    def is_named_by(self, word: str) -> bool:
        """A word is the whole name, the part before or after the slash, or the word of the whole run."""
        folder, _, last = self.name.partition("/")
        if self.is_of_second_compiler and word == SECOND_COMPILER_WORD:
            return True
        return word in (self.name, folder) or (word in (last, self.whole) and not self.is_run_by_its_name_only)

    def step(self, words: list[str]) -> int:
        return 1 if self.whole in words else SAMPLE_STEP


def all_suites(root: Path, presets: tuple[str, ...] = PRESETS) -> list[Suite]:
    """The programs first."""
    programs = [suite for preset in presets for suite in program_suites(root / "build", preset)]
    programs += [strict_suite(suite) for suite in programs if suite.name.startswith("x64/endtoend")]
    return programs + [pytest_suite(file) for file in sorted(root.glob("tests/*/test_*.py"))]


def chosen_suites(suites: list[Suite], words: list[str]) -> list[Suite]:
    """Without words all of them but those that are run by their name only."""
    if not words:
        return [suite for suite in suites if not suite.is_run_by_its_name_only]
    return [suite for suite in suites if any(map(suite.is_named_by, words))]


def program_suites(build: Path, preset: str) -> list[Suite]:
    """A line of the preset's list is a program, its kind and its word, or `-` if it has none. The second compiler's builds
    may be missing."""
    if preset in SECOND_COMPILER and not (build / preset / "tests.txt").exists():
        return []
    lines = (build / preset / "tests.txt").read_text(encoding="utf-8").splitlines()
    return [program_suite(preset, *line.split("\t")) for line in lines if line]


def program_suite(preset: str, file: str, kind: str, whole: str) -> Suite:
    name = Path(file).name.removesuffix(".exe")
    return Suite(f"{preset}/{name}", Kind(kind), Path(file), None if whole == "-" else whole)


def strict_suite(suite: Suite) -> Suite:
    """The whole programs once more, with a logger as strict as that of Windows. Where a usual session has none, it refuses
    to start, as it does on Windows without the rights."""
    host = STRICT_HOST if suite.kind == Kind.REQUESTS else f"{STRICT_HOST},status 5"
    name = suite.name.replace("x64/", "strict/")
    return Suite(name, Kind.REQUESTS, suite.file, "strict", host)


def pytest_suite(file: Path) -> Suite:
    """tests/scripts/test_paths.py is scripts/paths, and `scripts` the word of its whole run."""
    folder = file.parent.name
    return Suite(f"{folder}/{file.stem.removeprefix('test_')}", Kind.PYTEST, file, folder)
