"""Which arguments ./keyreap converts to Windows paths, and how."""

import pytest
from conftest import ROOT, bash, run

SOURCE = 'for part in common checks paths; do source "%s/scripts/$part.sh"; done; ' % ROOT
CHECK = ROOT / "build" / "tools" / "capturecheck"


def windows_path(path, cwd):
    result = bash(SOURCE + 'windows_path "$1"', path, cwd=cwd)
    assert result.returncode == 0, result.stderr
    return result.stdout


def arguments(*words):
    result = run(CHECK, "prepare", *words, cwd="/usr")
    assert result.returncode == 0, result.stderr
    records = result.stdout.split("\0")
    return [text for kind, text in zip(records[::2], records[1::2]) if kind == "word"]


@pytest.mark.parametrize("path", ["C:\\a b\\x.dll", "c:/a/x.dll", "z:\\x", "D:x.dll", "\\\\server\\share\\x.dll", "\\\\?\\C:\\x.dll"])
def test_a_windows_path_stays_as_it_is(path, tmp_path):
    assert windows_path(path, tmp_path) == path


def test_an_empty_word_stays_empty(tmp_path):
    assert windows_path("", tmp_path) == ""


@pytest.mark.parametrize(
    "path, windows",
    [
        ("/a/b c/ü.dll", "Z:\\a\\b c\\ü.dll"),
        ("//a///b.dll", "Z:\\a\\b.dll"),
        ("\\a\\b.dll", "Z:\\a\\b.dll"),
        ("/", "Z:\\"),
    ],
)
def test_an_absolute_host_path_is_on_drive_z(path, windows, tmp_path):
    assert windows_path(path, tmp_path) == windows


@pytest.mark.parametrize("path", ["x.dll", "sub dir/x.dll", "sub dir\\x.dll", "é/ß.dll"])
def test_a_relative_path_starts_at_the_callers_current_folder(path, tmp_path):
    expected = "Z:" + (str(tmp_path) + "/" + path).replace("/", "\\")
    assert windows_path(path, tmp_path) == expected


def test_a_linked_folder_keeps_the_name_that_was_written(tmp_path):
    (tmp_path / "real").mkdir()
    (tmp_path / "link").symlink_to("real")
    assert windows_path("link/x.dll", tmp_path).endswith("\\link\\x.dll")


def test_the_parent_of_a_linked_folder_is_that_of_its_target(tmp_path):
    (tmp_path / "deep" / "real").mkdir(parents=True)
    (tmp_path / "link").symlink_to("deep/real")
    assert windows_path("link/../x.dll", tmp_path) == "Z:" + str(tmp_path.resolve() / "deep" / "x.dll").replace("/", "\\")


def test_the_words_of_pairs_are_paths():
    assert arguments("extreg", "a", "/b", "C:\\c", "d") == ["extreg", "Z:\\usr\\a", "Z:\\b", "C:\\c", "Z:\\usr\\d"]


def test_the_last_of_an_odd_number_is_the_mode_and_stays():
    assert arguments("extreg", "a", "b", "trace") == ["extreg", "Z:\\usr\\a", "Z:\\usr\\b", "trace"]
    assert arguments("extreg", "keyRedir") == ["extreg", "keyRedir"]


def test_words_without_the_verb_stay():
    assert arguments("Extreg", "a", "b") == ["Extreg", "a", "b"]
    assert arguments("help") == ["help"]


def test_no_words_are_no_words():
    assert arguments() == []
