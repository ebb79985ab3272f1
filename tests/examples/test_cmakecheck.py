"""cmake/Keyreap.cmake: a capture with a finding fails the build like one that fails."""

import pytest
from smallbuild import PRODUCT, project

FINDING = "one.reg: C201 HKEY_CLASSES_ROOT\\Small: is missing"
QUICK = "whole,result,fillers"
ALL = "whole,result,works,clean,noise,same,fillers"


def made_files(made):
    """What is there of a capture, also of one that was broken off."""
    return sorted(file.name for file in made.build.glob("one.*") if file.suffix != ".cpp")


@pytest.mark.parametrize(
    "words, parts",
    [("", QUICK), ("CHECK full", ALL), ("ALLOW_FILLERS", "whole,result"), ("CHECK full ALLOW_FILLERS", ALL.removesuffix(",fillers"))],
)
def test_a_capture_is_checked_before_it_has_its_name(tmp_path, words, parts):
    made = project(tmp_path, "keyreap_capture(one %s)" % words)
    (tmp_path / "check").write_text("[[ ! -e build/one.reg ]]")
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert made.asked("checked") == ["check {0}/libone.so {0}/one.reg.part/one.reg --parts {1}".format(made.build, parts)]
    assert made_files(made) == ["one.check.json", "one.reg"]
    assert (made.build / "one.check.json").read_text() == "%s/one.reg.part/one.reg\n" % made.build


@pytest.mark.parametrize("output, check", [("there.REG", "there.check.json"), ("there.txt", "there.txt.check.json")])
def test_the_check_file_is_beside_the_capture_whatever_its_name(tmp_path, output, check):
    made = project(tmp_path, "keyreap_capture(one OUTPUT %s)" % output)
    (tmp_path / "check").write_text("cd build/*.part && rm *.check.json && touch %s" % check)
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert sorted(file.name for file in made.build.glob("there*")) == sorted([output, check])


def test_findings_fail_the_build_with_their_lines_and_leave_no_file(tmp_path):
    made = project(tmp_path, "keyreap_capture(one LINT)")
    assert made.make().returncode == 0
    (tmp_path / "check").write_text("echo '%s'; exit 1" % FINDING)
    made.touch("one.cpp")
    result = made.make()
    assert result.returncode != 0
    assert FINDING in result.stdout.splitlines()
    assert "isn't right, as keykit check has found" in " ".join(result.stdout.split())
    assert made_files(made) == ["one.lint"]
    (tmp_path / "check").write_text("")
    assert made.make().returncode == 0
    assert made_files(made) == ["one.check.json", "one.lint", "one.reg"]


def test_a_finding_names_the_capture_by_its_own_name(tmp_path):
    made = project(tmp_path)
    (tmp_path / "check").write_text("echo \"$3: C101: a finding\"; echo 'Z:\\one.reg.part\\one.reg: C102: another one'; exit 1")
    lines = made.make().stdout.splitlines()
    assert "%s/one.reg: C101: a finding" % made.build in lines and "Z:\\one.reg: C102: another one" in lines


@pytest.mark.parametrize("act, status", [("echo 'keykit: a reason' >&2; exit 2", "2"), ("exit 125", "125"), ("kill -9 $$", "Subprocess killed")])
def test_a_check_that_fails_fails_the_build_and_leaves_no_file(tmp_path, act, status):
    made = project(tmp_path)
    (tmp_path / "check").write_text(act)
    result = made.make()
    assert result.returncode != 0
    assert "could not be checked: keykit check ended with %s" % status in " ".join(result.stdout.split())
    assert ("keykit: a reason" in result.stdout.splitlines()) == ("reason" in act)
    assert made_files(made) == []


def test_a_remark_of_a_check_is_shown(tmp_path):
    made = project(tmp_path)
    (tmp_path / "check").write_text("echo 'keykit: a remark' >&2")
    result = made.make()
    assert result.returncode == 0
    assert "keykit: a remark" in result.stdout.splitlines()


def test_a_check_that_leaves_no_file_fails_the_build(tmp_path):
    made = project(tmp_path)
    (tmp_path / "check").write_text("rm build/*.part/*.check.json")
    assert made.make().returncode != 0
    assert not (made.build / "one.reg").exists()


def test_a_capture_that_is_refused_is_not_checked(tmp_path):
    made = project(tmp_path)
    (tmp_path / "key").write_text("")
    assert made.make().returncode != 0
    assert made.asked("checked") == []


def test_a_check_can_be_left_out(tmp_path):
    made = project(tmp_path)
    assert made.make().returncode == 0
    (tmp_path / "CMakeLists.txt").write_text((tmp_path / "CMakeLists.txt").read_text().replace("(one)", "(one NO_CHECK)"))
    made.touch("one.cpp")
    assert made.make().returncode == 0
    assert len(made.asked("checked")) == 1 and len(made.asked()) == 2
    assert made_files(made) == ["one.reg"], "the file of the older check is about another capture"


def test_without_keykit_nothing_is_checked(tmp_path):
    made = project(tmp_path)
    assert made.configure("-D", "KEYKIT_COMMAND=").returncode == 0
    result = made.make()
    assert result.returncode == 0, result.stdout
    assert made_files(made) == ["one.reg"]


def test_a_capture_is_checked_again_when_keykit_changed(tmp_path):
    made = project(tmp_path)
    assert made.make().returncode == 0 and made.make().returncode == 0
    assert len(made.asked("checked")) == 1
    (tmp_path / "keykit").touch()
    assert made.make().returncode == 0
    assert len(made.asked("checked")) == 2


def test_the_check_file_is_removed_with_what_was_built(tmp_path):
    made = project(tmp_path)
    assert made.make().returncode == 0 and made.make("clean").returncode == 0
    assert made_files(made) == []


REFUSED = {
    "CHECK": "CHECK is full, and not ''",
    "CHECK some": "CHECK is full, and not 'some'",
    "CHECK full NO_CHECK": "CHECK and NO_CHECK exclude each other",
}


@pytest.mark.parametrize("words", REFUSED)
def test_words_of_a_check_that_say_nothing_are_refused(tmp_path, words):
    result = project(tmp_path, "keyreap_capture(one %s)" % words).configure()
    assert result.returncode != 0
    assert REFUSED[words] in " ".join(result.stderr.split())


def test_a_whole_check_needs_keykit(tmp_path):
    words = "CHECK full EMIT wix PRODUCT %s" % PRODUCT
    result = project(tmp_path, "keyreap_capture(one %s)" % words).configure("-D", "KEYKIT_COMMAND=")
    assert result.returncode != 0
    assert "there is no keykit" in result.stderr
