"""The request log of a session: what it contains, that it never blocks a program, and that nothing of it is left."""

import os
import re
import signal
from contextlib import suppress
from pathlib import Path

import pytest
from conftest import ROOT, is_locked, processes_of, until, windows

FILTER = ROOT / "build" / "tools" / "requestfilter"

# A line of the log: a request or reply that a trace needs, a real path, a time, an end of a thread, or a loss.
KEPT = re.compile(
    r"(wineserver: starting .*"
    r"|[0-9a-f]{4,8}: (close_handle|create_key|delete_key|delete_key_value|dup_handle|get_key_value|get_mapping_info"
    r"|get_process_debug_info|init_first_thread|new_process|new_thread|open_key|open_process|rename_key"
    r"|set_handle_info|set_key_value)\(.*"
    r"|[0-9a-f]{4,8}: \*(process )?killed\*.*"
    r"|(Open|Create) key .*"
    r"|time [0-9]+|lost)"
)

# Replaces the session's server by one whose log goes through a filter of the test's own. The filter's file is $2 and
# its limit for files $1. Then runs the rest of the words.
OWN_FILTER = """
    limit=$1 file=$2
    shift 2
    wineserver -k
    wineserver -w
    rm -r "/tmp/$(<"$WINEPREFIX/wineserver")" "$WINEPREFIX/wineserver"
    (wineserver -f -d2 -p 2>&1 >/dev/null | (ulimit -f "$limit"; exec "$FILTER" "$file")) </dev/null &
    until [[ -e $WINEPREFIX/wineserver ]]; do sleep 0.01; done
    "$@"
"""


def log_of(pool):
    return pool.prefix() / "drive_c" / "windows" / "keyreap-requests.log"


def naming(folder, word=b""):
    """The processes whose command lines contain a folder or a path below it, such as filters and keepers, and a word."""
    found = []
    for process in Path("/proc").iterdir():
        try:
            if not process.name.isdigit():
                continue
            line = (process / "cmdline").read_bytes()
            if os.fsencode(folder) in line and word in line:
                found.append(int(process.name))
        except OSError:
            pass
    return found


def filter_of(pool):
    """The number of the filter's process."""
    return naming(pool.prefix(), b"requestfilter")[0]


def started(pool, **settings):
    """A session with the request log, in which a program that never ends has started."""
    words = ["--requests", "bash", "-c", "wine cmd /c echo begun; exec wine cmd /k"]
    session = pool.start(*words, **settings)
    assert session.stdout.readline().strip() == "begun"
    return session


def server_folder(pool):
    """The folder of the running server's socket."""
    return Path("/tmp") / (pool.prefix() / "wineserver").read_text().strip()


def assert_nothing_is_left(pool, folder):
    assert processes_of(pool.prefix()) == []
    assert naming(pool.prefix()) == []
    assert not is_locked(str(pool.prefix()) + ".lock")
    assert list(pool.prefix().iterdir()) == []
    assert not folder.exists()


def test_the_log_exists_before_the_command_and_is_gone_after_it(pool):
    words = ["cat", log_of(pool)]
    clock, up = pool.run("--requests", *words).stdout.splitlines()
    assert clock.startswith("time ") and up.startswith("wineserver: starting")
    assert not log_of(pool).exists()
    assert pool.run(*words).returncode != 0


def test_only_its_owner_can_read_the_log(pool):
    assert pool.run("--requests", "stat", "-c", "%a", log_of(pool)).stdout == "600\n"


def test_the_log_holds_only_what_a_trace_needs(pool):
    script = (
        'wine reg add "HKCU\\\\Software\\\\Logged" /v name /d "the secret data" >/dev/null'
        ' && wine reg query "HKCU\\\\Software\\\\Logged" >/dev/null; cat "$1"'
    )
    log = pool.run("--requests", "bash", "-c", script, "bash", log_of(pool)).stdout
    lines = log.splitlines()
    assert [line for line in lines if not KEPT.fullmatch(line)] == []
    assert any("Logged" in line and "create_key" in line for line in lines)
    assert any('name=L"name"' in line and "set_key_value" in line for line in lines)
    assert "secret" not in log


# Programs of both bitnesses that load, register, install, start others, end them, talk and crash.
MANY_PROGRAMS = r"""
    for folder in system32 syswow64; do
        for word in msxml3 quartz scrrun nowhere; do wine "C:\\windows\\$folder\\regsvr32.exe" /s "$word.dll"; done
        wine "C:\\windows\\$folder\\cmd.exe" /c 'mkdir C:\a & echo x>C:\a\b & type C:\a\b & rmdir /s /q C:\a'
        wine "C:\\windows\\$folder\\reg.exe" add 'HKCU\Software\Tést "[x]"' /v 'a"\b' /t REG_BINARY /d "$(printf %0300d 0)" /f
        wine "C:\\windows\\$folder\\reg.exe" query 'HKCU\Software' /s
        wine "C:\\windows\\$folder\\msiexec.exe" /qn /i 'C:\none.msi'
    done
    wine net start spooler
    wine ping -n 1 127.0.0.1
    wine cmd /c 'start notepad & taskkill /f /im notepad.exe'
    touch "$WINEPREFIX/drive_c/two
lines" && (cd "$WINEPREFIX/drive_c" && wine cmd /c 'dir & copy two* three')
    wine regsvr32 /s "$1"
    wineserver -k
"""


def test_every_line_of_the_log_is_one_that_this_wine_is_known_to_write(pool):
    crashing = windows(ROOT / "build/samples/x64/faultReadNull.dll")
    ended = ["bash", "-c", 'printf "[%s]" "$KEYREAP_UNPLACED"']
    words = ["bash", "-c", MANY_PROGRAMS, "bash", crashing]
    assert pool.run("--requests", "--silent", "--then", len(ended), *ended, *words).stdout == "[]"


def test_no_environment_is_on_the_disk(pool):
    secret = "a-secret-of-the-callers-environment"
    script = 'wine cmd /c "echo %SENTINEL%"; sync; ! grep -rlsa "$1" "$WINEPREFIX/" "/tmp/$(<"$WINEPREFIX/wineserver")"'
    result = pool.run("--requests", "bash", "-c", script, "bash", secret, env={"SENTINEL": secret})
    assert result.stdout.strip() == secret
    assert result.returncode == 0


def test_a_run_leaves_nothing(pool):
    result = pool.run("--requests", "bash", "-c", 'wine cmd /c exit; cat "$WINEPREFIX/wineserver"')
    assert_nothing_is_left(pool, Path("/tmp") / result.stdout.strip())


def test_a_command_that_needs_no_wine_leaves_nothing(pool):
    result = pool.run("--requests", "bash", "-c", 'cat "$WINEPREFIX/wineserver"')
    assert_nothing_is_left(pool, Path("/tmp") / result.stdout.strip())


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_leaves_nothing(pool, number):
    session = started(pool)
    folder = server_folder(pool)
    session.send_signal(number)
    assert session.wait() == -number
    assert_nothing_is_left(pool, folder)


def test_an_interrupt_from_the_keyboard_leaves_nothing(pool):
    session = started(pool, start_new_session=True)
    folder = server_folder(pool)
    os.killpg(session.pid, signal.SIGINT)
    assert session.wait() == -signal.SIGINT
    assert_nothing_is_left(pool, folder)


@pytest.mark.parametrize("kill", [os.kill, os.killpg])
def test_a_kill_leaves_nothing(pool, kill):
    session = started(pool, start_new_session=True)
    folder = server_folder(pool)
    kill(session.pid, signal.SIGKILL)
    session.wait()
    until(lambda: not is_locked(str(pool.prefix()) + ".lock"))
    assert_nothing_is_left(pool, folder)


def test_a_server_that_was_killed_takes_the_filter_and_the_log_with_it(pool):
    session = started(pool)
    number = filter_of(pool)
    assert pool.prefix().exists() and log_of(pool).exists()
    for process in processes_of(pool.prefix()):
        with suppress(FileNotFoundError, ProcessLookupError):  # the session's scripts start short ones
            if "wineserver" in Path(f"/proc/{process}/comm").read_text():
                os.kill(process, signal.SIGKILL)
    until(lambda: not Path(f"/proc/{number}").exists())
    assert not log_of(pool).exists()
    session.kill()
    session.wait()
    until(lambda: not is_locked(str(pool.prefix()) + ".lock"))


def test_the_filter_outlives_the_signals_that_end_programs(pool):
    session = started(pool)
    number = filter_of(pool)
    for kind in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
        os.kill(number, kind)
    size = log_of(pool).stat().st_size
    session.send_signal(signal.SIGTERM)
    until(lambda: not Path(f"/proc/{number}").exists())
    assert size > 0
    assert session.wait() == -signal.SIGTERM


@pytest.mark.parametrize(("limit", "file"), [("unlimited", "/dev/full"), ("64", "$WINEPREFIX/drive_c/cut.log")])
def test_a_full_disk_does_not_hold_up_the_server_or_its_programs(pool, limit, file):
    script = 'file=${2/\\$WINEPREFIX/$WINEPREFIX}; set -- "$1" "$file" "${@:3}"' + OWN_FILTER
    ends = "for i in 1 2 3; do wine cmd /c exit; done; wine cmd /c exit 9"
    words = ["bash", "-c", script, "bash", limit, file, "bash", "-c", ends]
    assert pool.run(*words, env={"FILTER": str(FILTER)}).returncode == 9


def test_a_log_without_room_leaves_the_default_mode_the_result_of_the_redirection(pool, tmp_path):
    log = "$WINEPREFIX/drive_c/windows/keyreap-requests.log"
    script = 'set -- "$1" "%s" "${@:2}"' % log + OWN_FILTER
    program = os.environ["KEYREAP_STAGE"] + "\\x64\\Keyreap.exe"
    sample = os.environ["KEYREAP_SAMPLES"] + "\\x64\\plain.dll"
    result = windows(tmp_path / "out.reg")
    words = ["bash", "-c", script, "bash", "64", "wine", program, "extreg", sample, result]
    assert pool.run(*words, env={"FILTER": str(FILTER)}).returncode == 0
    expected = ROOT / "tests" / "endtoend" / "golden" / "plain.reg"
    assert (tmp_path / "out.reg").read_bytes() == expected.read_bytes()


def test_keyreap_itself_leaves_nothing_when_it_is_killed(ready_tree):
    pool = ready_tree.build / "wine" / "pool"
    run = ready_tree.start("wait", start_new_session=True)
    until(lambda: naming(pool, b"requestfilter"))
    run.kill()
    run.wait()
    until(lambda: not any(is_locked(lock) for lock in pool.glob("*.lock")))
    assert naming(pool) == []
    assert not any(pool.glob("*/*"))


def test_every_session_has_the_recording_of_starts(pool):
    recording = ROOT / "build/wine/start/recording.txt"
    assert pool.run("/bin/bash", "-c", 'cmp "$1" "$WINEPREFIX/drive_c/windows/keyreap-start.txt"', "bash", recording).returncode == 0


def test_without_a_recording_of_starts_a_trace_begins_with_the_entry_point(pool, tmp_path):
    capture = """
        rm "$WINEPREFIX/drive_c/windows/keyreap-start.txt"
        wine "$1" extreg "$2" "$3" trace && wine reg query 'HKCU\\Software\\KeyreapStarting'
    """
    files = (ROOT / "build/stage/bin/x64/Keyreap.exe", ROOT / "build/samples/x64/starting.exe", tmp_path / "out.reg")
    words = [windows(file) for file in files]
    result = pool.run("--requests", "/bin/bash", "-c", capture, "bash", *words)
    assert result.returncode == 0, result.stderr
    assert (tmp_path / "out.reg").read_text(encoding="utf-16") == "Windows Registry Editor Version 5.00\n"
    assert "static constructor" in result.stdout
