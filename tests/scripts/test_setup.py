"""./keyreap: sets up what is missing, in any order and after any accident, then acts as the program."""

import os
import shutil
import signal
import subprocess
import sys

import pytest
from conftest import ROOT, bash, is_locked, processes_of, run, until, windows

sys.path.insert(0, str(ROOT / "tests" / "support"))

import hive  # noqa: E402

REBUILD = ("_wtoi(words[2])", "_wtoi(words[2]) + 1")


def test_the_first_run_prints_its_progress_and_nothing_else(tree):
    result = tree.run("status", "7")
    assert result.returncode == 7
    assert result.stdout == ""
    lines = result.stderr.splitlines()
    assert lines and all(line.startswith("keyreap: ") for line in lines)
    for bitness in ("x64", "x86"):
        assert f"keyreap: building {bitness}, which takes a minute or two" in lines


def test_a_further_run_is_silent(ready_tree):
    result = ready_tree.run("status", "7")
    assert (result.returncode, result.stdout, result.stderr) == (7, "", "")


def test_a_further_run_asks_neither_for_packages_nor_for_builds(ready_tree, tmp_path):
    for name in ("apt-get", "dpkg-query", "cmake", "ninja"):
        (tmp_path / name).write_text("#!/bin/sh\necho asked >>'%s/asked'\n" % tmp_path)
        (tmp_path / name).chmod(0o755)
    result = ready_tree.run("status", "3", env=dict(os.environ, PATH="%s:%s" % (tmp_path, os.environ["PATH"])))
    assert result.returncode == 3
    assert not (tmp_path / "asked").exists()


@pytest.mark.parametrize("mask", [0o077, 0o000])
def test_others_can_use_what_is_built_and_not_change_it(tree, mask):
    assert tree.run("status", "7", umask=mask).returncode == 7
    modes = {path: path.lstat().st_mode for path in tree.build.rglob("*") if "pool" not in path.parts and not path.is_symlink()}
    assert len(modes) > 20
    assert [path for path, mode in modes.items() if not mode & 0o004 or mode & 0o022] == []


def test_a_run_has_the_mask_of_its_caller(tree, tmp_path):
    # The first run makes the set-up, and the second one finds it.
    for name in ("one", "two"):
        file = tmp_path / name
        environment = dict(os.environ, KEYREAP_WORDS=windows(file), KEYREAP_SANDBOX="off")
        assert tree.run("status", "7", env=environment, umask=0o077).returncode == 7
        assert oct(file.stat().st_mode & 0o777) == "0o600"


def test_statuses_are_the_programs(ready_tree):
    assert ready_tree.run().returncode == 255
    assert ready_tree.run("help").returncode == 0
    assert ready_tree.run("status", "1").returncode == 1


def test_it_runs_from_anywhere_through_a_link_and_in_any_language(ready_tree, tmp_path):
    folder = tmp_path / "ein Örtchen"
    folder.mkdir()
    link = folder / "reap"
    link.symlink_to(ready_tree.keyreap)
    environment = dict(os.environ, LANG="tr_TR.ISO-8859-9", LC_ALL="none")
    result = run(link, "status", "4", cwd=folder, env=environment)
    assert (result.returncode, result.stderr) == (4, "")


def test_it_runs_with_closed_streams(ready_tree):
    command = ["/bin/bash", "-c", '"$1" status 6 <&- >&- 2>&-', "bash", ready_tree.keyreap]
    assert subprocess.run(command).returncode == 6


def test_paths_reach_the_program(ready_tree, tmp_path):
    folder = tmp_path / "ein Örtchen"
    folder.mkdir()
    words = ready_tree.words("extreg", "a b.dll", "C:\\out q.reg", "ö/c.dll", "C:\\d.reg", "trace", cwd=folder)
    assert words == ["extreg", windows(folder) + "\\a b.dll", "C:\\out q.reg", windows(folder) + "\\ö\\c.dll", "C:\\d.reg", "trace"]


def test_a_changed_source_is_built(tree):
    assert tree.run("status", "7").returncode == 7
    tree.edit(*REBUILD)
    result = tree.run("status", "7")
    assert result.returncode == 8
    assert "keyreap: building x64" in result.stderr
    assert tree.run("status", "7").stderr == ""


def explainers_of(tree):
    return [tree.build / "stage" / "tools" / bitness / "KeyKitExplain.exe" for bitness in ("x64", "x86")]


def set_up_explain(tree):
    result = bash('source "$1/scripts/common.sh" && source "$1/scripts/setup.sh" && set_up explain', tree.folder)
    assert result.returncode == 0, result.stderr
    return result.stderr


def test_what_explains_captures_is_built_for_who_asks_for_it_alone(tree):
    assert tree.run("status", "7").returncode == 7
    assert [file.exists() for file in explainers_of(tree)] == [False, False]
    set_up_explain(tree)
    assert [file.exists() for file in explainers_of(tree)] == [True, True]
    assert set_up_explain(tree) == ""
    assert tree.run("status", "7").stderr == ""


def test_a_change_of_keykit_is_none_of_the_program(tree):
    assert tree.run("status", "7").returncode == 7
    set_up_explain(tree)
    with (tree.folder / "kit" / "main.cpp").open("a") as source:
        source.write("char another[] = {1};\n")
    assert tree.run("status", "7").stderr == ""
    assert "keyreap: building x64" in set_up_explain(tree)


def recording_of(tree):
    return tree.build / "wine" / "start" / "recording.txt"


def test_the_base_has_a_recording_of_starts_for_both_machines():
    lines = (ROOT / "build/wine/start/recording.txt").read_text(encoding="ascii").splitlines()
    keys = hive.parse(ROOT / "build/wine/base/top/system.reg", "HKEY_LOCAL_MACHINE")
    set_path = hive.real_path(keys, "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet").removeprefix("HKEY_LOCAL_MACHINE").lower()
    for machine in ("8664", "014c"):
        name = "\\registry\\machine" + set_path + "\\control\\timezoneinformation\tstandardname"
        assert lines.count(machine + "\tset\t" + name) == 1


def test_a_lost_recording_of_starts_is_made_again(tree):
    assert tree.run("status", "7").returncode == 7
    recording_of(tree).unlink()
    result = tree.run("status", "7")
    assert result.returncode == 7
    assert "keyreap: recording how Wine starts programs" in result.stderr
    probes = recording_of(tree).read_text(encoding="cp1252").splitlines()
    recorders = [tree.build / "stage" / "tools" / bitness / "startrecorder.exe" for bitness in ("x64", "x86")]
    assert probes == [windows(recorder) for recorder in recorders]
    assert tree.run("status", "7").stderr == ""


def test_another_recorder_records_starts_again(tree):
    assert tree.run("status", "7").returncode == 7
    with (tree.folder / "recorder" / "startrecorder.cpp").open("a") as source:
        source.write("char another[] = {1};\n")
    assert "keyreap: recording how Wine starts programs" in tree.run("status", "7").stderr
    assert tree.run("status", "7").stderr == ""


def questioned_again(tree):
    """The list of all packages now counts as changed since the set-up asked for versions."""
    os.utime(tree.build / "stamps" / "run.packages", (0, 0))


# Reports the compiler of the x64 build with the version $1, and all else as it is.
OTHER_VERSION = """#!/bin/bash
    /usr/bin/dpkg-query "$@" | sed 's/^\\(ii g++-mingw-w64-x86-64-posix\\) .*/\\1 %s/'
"""


def with_compiler(version, folder):
    """An environment in which the compiler has another version."""
    (folder / "dpkg-query").write_text(OTHER_VERSION % version)
    (folder / "dpkg-query").chmod(0o755)
    return dict(os.environ, PATH="%s:%s" % (folder, os.environ["PATH"]))


def test_another_package_of_the_machine_rebuilds_nothing(ready_tree):
    questioned_again(ready_tree)
    result = ready_tree.run("status", "7")
    assert (result.returncode, result.stderr) == (7, "")


# Reports all as it is, and takes its time.
SLOW_QUESTION = """#!/bin/sh
    sleep 0.3
    exec /usr/bin/dpkg-query "$@"
"""


def test_runs_at_once_after_another_package_rebuild_nothing(ready_tree, tmp_path):
    (tmp_path / "dpkg-query").write_text(SLOW_QUESTION)
    (tmp_path / "dpkg-query").chmod(0o755)
    questioned_again(ready_tree)
    environment = dict(os.environ, PATH="%s:%s" % (tmp_path, os.environ["PATH"]))
    runs = [ready_tree.start("status", "7", env=environment) for _ in range(2)]
    assert [run.communicate() + (run.returncode,) for run in runs] == [("", "", 7)] * 2


def test_another_version_of_the_compiler_builds_everything_again(tree, tmp_path):
    assert tree.run("status", "7").returncode == 7
    program = tree.build / "x64" / "extract" / "Keyreap.exe"
    before = program.stat().st_mtime_ns
    questioned_again(tree)
    environment = with_compiler("99.1", tmp_path)
    result = tree.run("status", "7", env=environment)
    assert result.returncode == 7
    assert "keyreap: building x64" in result.stderr
    assert program.stat().st_mtime_ns > before
    assert tree.run("status", "7", env=environment).stderr == ""


def test_a_lost_program_is_built_again(tree):
    assert tree.run("status", "7").returncode == 7
    (tree.build / "stage" / "bin" / "x86" / "Keyreap.exe").unlink()
    assert tree.run("status", "7").returncode == 7
    assert (tree.build / "stage" / "bin" / "x86" / "Keyreap.exe").exists()


def test_a_moved_tree_is_built_again(tree):
    assert tree.run("status", "7").returncode == 7
    moved = tree.folder.with_name(tree.folder.name + " moved")
    tree.folder.rename(moved)
    try:
        assert run(moved / "keyreap", "status", "7").returncode == 7
    finally:
        moved.rename(tree.folder)


def test_a_failure_is_one_line_that_names_the_log(tree):
    tree.edit("#include <string>", "#error no")
    result = tree.run("status", "7")
    assert result.returncode == 125
    last = result.stderr.splitlines()[-1]
    assert last == "keyreap: building x64 failed; see %s/logs/build-x64.log" % tree.build
    assert "#error no" in (tree.build / "logs" / "build-x64.log").read_text()
    tree.edit("#error no", "#include <string>")
    assert tree.run("status", "7").returncode == 7


def test_the_callers_variables_do_not_reach_the_build(tree):
    environment = dict(os.environ, CXX="false", CXXFLAGS="-nonsense", LDFLAGS="-nonsense", DESTDIR="/nowhere", CPATH="/none")
    result = tree.run("status", "7", env=environment)
    assert result.returncode == 7, result.stderr


def test_two_first_runs_at_once_both_succeed(tree):
    runs = [tree.start("status", "7") for _ in range(2)]
    assert [process.wait() for process in runs] == [7, 7]


def test_a_set_up_that_was_killed_is_made_again(tree):
    first = tree.start("status", "7", start_new_session=True)
    assert first.stderr.readline().startswith("keyreap: building x64")
    os.killpg(first.pid, signal.SIGKILL)
    assert tree.run("status", "7").returncode == 7


def test_a_set_up_whose_script_alone_was_killed_is_waited_for(tree):
    first = tree.start("status", "7")
    assert first.stderr.readline().startswith("keyreap: building x64")
    first.kill()
    assert tree.run("status", "7").returncode == 7


def test_a_prefix_whose_set_up_was_killed_is_made_again(tree):
    (tree.build / "wine" / "base").unlink()
    first = tree.start("status", "7", start_new_session=True)
    assert first.stderr.readline().startswith("keyreap: making the Wine prefix")
    unfinished = tree.build / "wine" / "base.new" / "prefix"
    until(lambda: len(processes_of(unfinished)) > 2)
    os.killpg(first.pid, signal.SIGKILL)
    until(lambda: not is_locked(tree.build / "setup.lock"))
    assert processes_of(unfinished) == []
    assert tree.run("status", "7").returncode == 7


def entries_of(folder):
    """All entries below a folder, with the kind of each and the targets of links."""
    return sorted(
        (str(path.relative_to(folder)), path.is_dir(), path.is_symlink() and os.readlink(path)) for path in folder.rglob("*")
    )


def test_the_base_is_the_same_however_often_it_is_made(tree):
    base = tree.build / "wine" / "base"
    base.unlink()
    session = tree.folder / "scripts" / "wine-session.sh"
    made = []
    for _ in range(2):
        assert "making the Wine prefix" in run(session, "bash", "-c", 'echo >"$HOME/left"').stderr
        made.append(entries_of(base))
        (base / "version").unlink()
    assert made[0] == made[1]


def test_a_base_that_was_written_to_is_made_again(tree):
    """Even if the size is the same and all times that can be set are the old ones."""
    base = tree.build / "wine" / "base"
    base.unlink()
    shutil.copytree(ROOT / "build" / "wine" / "base", base, symlinks=True)
    (base / "version").write_bytes((base / "version").read_bytes())
    session = tree.folder / "scripts" / "wine-session.sh"
    assert "making the Wine prefix" not in run(session, "true").stderr
    module = next(base.glob("*/windows/system32/msxml3.dll"))
    before, content = module.stat(), module.read_bytes()
    module.write_bytes(content[:-1] + b"?")
    os.utime(module, ns=(before.st_atime_ns, before.st_mtime_ns))
    assert "keyreap: making the Wine prefix" in run(session, "true").stderr
    assert module.read_bytes() == content


def test_a_session_keeps_the_base_that_it_began_with(tree):
    base = tree.build / "wine" / "base"
    base.unlink()
    session = tree.folder / "scripts" / "wine-session.sh"
    words = [session, "bash", "-c", "echo begun; read -r _; wine cmd /c exit 9"]
    first = subprocess.Popen(words, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    assert first.stdout.readline() == "begun\n"
    (base / "drive_c" / "windows" / "win.ini").touch()
    assert "keyreap: making the Wine prefix" in run(session, "true").stderr
    assert len(list(base.parent.glob("base.old.*"))) == 1
    first.communicate("\n")
    assert first.returncode == 9
    script = 'source "$1/scripts/common.sh"; source "$1/scripts/setup.sh"; remove_old_bases'
    assert run("bash", "-c", script, "bash", tree.folder).returncode == 0
    assert list(base.parent.glob("base.old.*")) == []
