"""Comments, documents and the names of tests are in plain English: words that readers have stumbled over stay out."""

import re

import pytest
from project import COMMANDS, place, prose_of, text_of, tracked

# What a reader stumbles over, as a pattern of a line, and what to write in its place.
PHRASES = [
    (r"\b(tells?|told|telling)\b", "report, record, say, contain; distinguish for 'tell apart'"),
    (r"^(?!.*\b(leav|left|lag|stay)).*\bbehind\b", "after; behind is for what is left or lags behind"),
    (r"\bstand(s|ing)? (in(?! for)|at|on|there|beside|before|behind|above|below|alone)\b", "is in, is at, follows"),
    (r"\banew\b", "again; recreated for 'made anew'"),
    (r"\b(that|what|which) (is|are) none\b(?! of)", "an invalid value, not a value"),
    (r"\bso many\b", "the number's name: `count` objects"),
    (r"\bmend(s|ed|ing)?\b", "Deliberate: and the reason"),
    (r"\b(lest|whence|thereof|likewise)\b", "so that not, from which, of it, too"),
    (r"\bgo(es)? its way\b|\bc(o|a)mes? to (its|their|an) end\b", "ends"),
    (r"\bwhat of it\b|\bboth of them\b", "the noun"),
]


def prose():
    for name in tracked("*.cpp", "*.h", "*.py", "*.md", "*.sh", "*.cmake", "*CMakeLists.txt", *COMMANDS):
        for number, text in prose_of(name, text_of(name)):
            yield name, number, text


@pytest.fixture(scope="module")
def lines():
    return list(prose())


@pytest.mark.parametrize("pattern, better", PHRASES, ids=[better for _, better in PHRASES])
def test_the_text_is_plain_english(lines, pattern, better):
    wrong = [place(*line) for line in lines if re.search(pattern, line[2], re.I)]
    assert not wrong, "write %s:\n%s" % (better, "\n".join(wrong))


@pytest.mark.parametrize(
    "name, text, expected",
    [
        ("a.cpp", 'int a; // what it tells\nauto b = "// no comment";', [(1, "what it tells")]),
        ("a.cpp", "TEST_F(Some, NTFileIsNone) {", [(1, "NT File Is None")]),
        ("a.py", '"""What\nit is."""\na = 1  # two\ndef test_a_b(): pass', [(1, '"""What'), (2, 'it is."""'), (3, "# two"), (4, "a b")]),
        ("a.md", "See `told`.\n```\ntold\n```\nEnd", [(1, "See ``."), (5, "End")]),
        ("a.sh", "# one\ntrue # two\necho '#3'", [(1, "one"), (2, "two")]),
    ],
)
def test_comments_documents_and_names_of_tests_are_read(name, text, expected):
    assert list(prose_of(name, text)) == expected
