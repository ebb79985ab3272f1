"""What clang-format doesn't see of the C++ dialect. scripts/tidy.sh checks all names, but takes too long to be run here."""

import re
import subprocess

import pytest
from project import ROOT, place, text_of, tracked

# The name of a variable that is a constant and begins with a capital letter. What follows `const` must not contain a
# parenthesis, so functions are left out.
CONSTANT = re.compile(
    r"^\s*(?:(?:inline|static|extern|thread_local)\s+)*const(?:expr)?\b[^(=;{}]*?[\s&*>]([A-Z]\w*)\s*(?:\[[^\]]*\]\s*)*(?:[={;].*)?$"
)

LITERAL = r"""(?:(?:u8|[LuU])?(?:R"\((?:(?!\)").)*\)"|"(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)*')(?:sv|s)?\s*)+|-?\d[\w'.]*|nullptr|true|false"""
EXPECTATION = re.compile(r"\b(?:EXPECT|ASSERT)_(?:EQ|NE|STREQ|STRNE|STRCASEEQ)\(\s*(?:%s)\s*,(?!\s*(?:%s)\s*\))" % (LITERAL, LITERAL))


def constants(text):
    """Number and text of each line with a constant whose name isn't camelCase, but for names that others fix."""
    is_fixed = False
    for number, line in enumerate(text.splitlines(), 1):
        if "NOLINTBEGIN(readability-identifier-naming)" in line:
            is_fixed = True
        elif "NOLINTEND(readability-identifier-naming)" in line:
            is_fixed = False
        elif not is_fixed and "NOLINT(readability-identifier-naming)" not in line and CONSTANT.match(line.split("//")[0].rstrip()):
            yield number, line


def expectations(text):
    """Number and text of each expectation whose first argument is a literal and whose second one isn't."""
    for found in EXPECTATION.finditer(text):
        yield text.count("\n", 0, found.start()) + 1, found[0]


@pytest.mark.parametrize("check, files", [(constants, ("*.cpp", "*.h")), (expectations, ("tests/*.cpp", "tests/*.h"))])
def test_the_code_is_in_the_dialect(check, files):
    wrong = [place(name, *found) for name in tracked(*files) for found in check(text_of(name))]
    assert not wrong, "\n".join(wrong)


@pytest.mark.parametrize(
    "line, is_wrong",
    [
        ("constexpr std::size_t CHUNK_SIZE = 1024;", True),
        ("constexpr std::array<Guid, 0x1C> GROUP_CLASSES{{", True),
        ("inline constexpr std::size_t LogHeaderMinimum = 284;", True),
        ("    static constexpr const wchar_t* NAME = L\"name\";", True),
        ("    const std::wstring Names[] = {", True),
        ("constexpr std::size_t chunkSize = OTHER + 1;", False),
        ("constexpr Guid noClass{};", False),
        ("constexpr bool IsEven(int number) {", False),
        ("const Key& Parent() const;", False),
        ("constexpr int Given = 1; // NOLINT(readability-identifier-naming): the system's name", False),
    ],
)
def test_a_constant_is_recognised(line, is_wrong):
    assert bool(list(constants(line))) == is_wrong


@pytest.mark.parametrize(
    "code, is_wrong",
    [
        ("EXPECT_EQ(0u, Count());", True),
        ("EXPECT_EQ(L\"a\"\n    L\"b, c\", text);", True),
        ("ASSERT_NE(nullptr, Find(name));", True),
        ("EXPECT_EQ(R\"(a\", b)\", text);", True),
        ("EXPECT_EQ(Count(), 0u);", False),
        ("EXPECT_EQ(0, 1);", False),
        ("EXPECT_EQ(\"a\"s + b, c);", False),
    ],
)
def test_an_expectation_in_reverse_order_is_recognised(code, is_wrong):
    assert bool(list(expectations(code))) == is_wrong


def test_the_fuzzers_compiler_accepts_what_no_windows_build_has():
    """All other code is built by it for Windows, with the same warnings."""
    warnings = ["-Wall", "-Wextra", "-Wconversion", "-Wshadow", "-Werror"]
    headers = ["-I", ROOT, "-isystem", ROOT / "build" / "native" / "headers"]
    sources = [ROOT / name for name in tracked("kit/*unix.cpp")]
    assert sources
    subprocess.run(["clang++", "-fsyntax-only", "-std=c++20", *warnings, *headers, *sources], check=True)
