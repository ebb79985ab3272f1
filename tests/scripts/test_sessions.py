"""Sessions in the pool of Wine prefixes: each has a prefix to itself, starts from the same state and leaves nothing."""

import os
import signal
import subprocess
from pathlib import Path

import pytest
from conftest import SESSION, is_locked, processes_of, run, until

SYSTEM_FILE = "C:\\windows\\system32\\"


def succeeded(result):
    assert result.returncode == 0, result.stdout + result.stderr
    return result.stdout


def started(pool, command, **options):
    """A session in which a command that never ends has started."""
    session = pool.start("bash", "-c", 'echo begun; exec "$@"', "bash", *command, **options)
    assert session.stdout.readline() == "begun\n"
    return session


def assert_nothing_is_left(pool):
    assert processes_of(pool.prefix()) == []
    assert not is_locked(str(pool.prefix()) + ".lock")
    assert list(pool.prefix().iterdir()) == []
    assert str(pool.folder) not in Path("/proc/self/mountinfo").read_text()


def test_the_status_of_the_command_comes_back(pool):
    assert pool.run("bash", "-c", "exit 7").returncode == 7
    assert pool.run("wine", "cmd", "/c", "exit 9").returncode == 9


def test_the_command_reads_the_callers_input(pool):
    read, write = os.pipe()
    os.write(write, b"word\n")
    os.close(write)
    assert pool.run("cat", stdin=read).stdout == "word\n"


def test_streams_may_be_closed(pool):
    command = '"$1" --ready bash -c "exit 5" <&- >&- 2>&-'
    assert subprocess.run(["/bin/bash", "-c", command, "bash", SESSION], env=pool.environment).returncode == 5


def test_variables_of_wine_are_the_sessions_own(pool):
    names = pool.run("env", env={"WINEARCH": "win32", "WINEPREFIX": "/elsewhere", "WINELOADER": "/none"}).stdout
    assert "WINEPREFIX=%s\n" % pool.prefix() in names
    assert "WINEARCH" not in names and "WINELOADER" not in names


def test_a_caller_that_names_the_very_prefix_is_not_ended_with_it(pool):
    assert pool.run("bash", "-c", "exit 7", env={"WINEPREFIX": str(pool.prefix())}).returncode == 7


# Prints the programs of the prefix once Wine has booted.
PROGRAMS_OF_THE_SESSION = r"""
    wine 'C:\windows\system32\hostname.exe' >/dev/null
    for process in /proc/[0-9]*; do
        ! grep -qszxF "WINEPREFIX=$WINEPREFIX" "$process/environ" || tr '\0' ' ' <"$process/cmdline"
    done
"""
IDLE_PROGRAMS = ["plugplay.exe", "svchost.exe"]
HOSTS_OF_DRIVERS = "winedevice.exe"


def programs_of_session(pool, *options):
    words = succeeded(pool.run(*options, "bash", "-c", PROGRAMS_OF_THE_SESSION))
    assert "services.exe" in words
    return [name for name in IDLE_PROGRAMS if name in words], words.count(HOSTS_OF_DRIVERS)


def test_a_session_starts_only_the_services_that_captures_need(pool):
    assert programs_of_session(pool) == ([], 1)


def test_a_session_can_start_all_services_of_wine(pool):
    assert programs_of_session(pool, "--all-services") == (IDLE_PROGRAMS, 2)


@pytest.mark.parametrize("service", ["Eventlog", "PlugPlay", "winebus"])
def test_a_program_can_start_a_service_that_the_session_did_not_start(pool, service):
    assert "started successfully" in succeeded(pool.run("wine", "net", "start", service))


def test_a_session_has_drives_with_serial_numbers_and_the_networks_adapters(pool):
    assert "4300-0000" in succeeded(pool.run("wine", "cmd", "/c", "vol", "c:"))
    assert "adapter" in succeeded(pool.run("wine", "ipconfig"))


# Prints how many servers belong to the prefix.
SERVERS = """
    grep -lzxF "WINEPREFIX=$WINEPREFIX" </dev/null $(pgrep -f ^/usr/lib/wine/wineserver | sed 's,.*,/proc/&/environ,') | wc -l
"""


def test_a_server_is_there_before_the_command(pool):
    assert pool.run("bash", "-c", SERVERS).stdout == "1\n"


def test_programs_that_start_at_once_have_one_registry(pool):
    programs = (
        'wine cmd /c "reg add HKCU\\Software\\Left /f" & wine cmd /c "reg add HKCU\\Software\\Right /f"; wait;'
        ' wine reg query "HKCU\\Software\\Left" && wine reg query "HKCU\\Software\\Right"'
    )
    succeeded(pool.run("bash", "-c", programs))


def test_a_session_stays_on_one_core(pool):
    assert pool.run("nproc").stdout == "1\n"


def test_memory_has_its_usual_addresses_if_the_system_allows_it(pool):
    personality = ("cat", "/proc/self/personality")
    usual = run("setarch", "-R", *personality)
    assert pool.run(*personality).stdout == (usual if usual.returncode == 0 else run(*personality)).stdout


def test_a_session_runs_where_the_system_forces_random_addresses(pool, tmp_path):
    refusal = tmp_path / "setarch"
    refusal.write_text("#!/bin/sh\nexit 1\n")
    refusal.chmod(0o755)
    path = "%s:%s" % (tmp_path, os.environ["PATH"])
    assert pool.run("cat", "/proc/self/personality", env={"PATH": path}).stdout == run(
        "cat", "/proc/self/personality"
    ).stdout


def test_the_display_is_the_callers_by_default(pool):
    assert pool.run("printenv", "DISPLAY", env={"DISPLAY": ":77"}).stdout == ":77\n"
    assert pool.run("--no-display", "printenv", "DISPLAY", env={"DISPLAY": ":77"}).stdout == ""


def test_programs_of_both_bitnesses_run(pool):
    script = 'for d in system32 syswow64; do wine "C:\\\\windows\\\\$d\\\\regsvr32.exe" /s msxml3.dll || exit; done'
    succeeded(pool.run("bash", "-c", script))


def test_commands_of_one_session_see_what_the_others_did(pool):
    succeeded(pool.run("bash", "-c", "wine reg add 'HKCU\\Software\\Left' /f && wine reg query 'HKCU\\Software\\Left'"))


def test_the_registry_starts_the_same_each_time(pool):
    write = "wine reg add 'HKCU\\Software\\Left' /f && wineserver -k && wineserver -w && cat \"$WINEPREFIX/user.reg\""
    assert "Left" in succeeded(pool.run("bash", "-c", write))
    assert pool.run("wine", "reg", "query", "HKCU\\Software\\Left").returncode == 1


def test_the_files_are_the_same_each_time(pool):
    listing = ["bash", "-c", 'cd "$WINEPREFIX" && find . -type f ! -name "*.reg" ! -name wineserver -exec cksum {} + | sort -k 3; find . | sort']
    before = succeeded(pool.run(*listing))
    succeeded(
        pool.run(
            "bash",
            "-c",
            'cd "$WINEPREFIX/drive_c" && touch users/keyreap/Documents/left windows/left.dll && rm windows/system32/msxml3.dll &&'
            ' echo more >>windows/win.ini && ln -s / windows/link && mkdir "$WINEPREFIX/dosdevices/unc"',
        )
    )
    assert succeeded(pool.run(*listing)) == before


def test_two_sessions_at_once_have_a_prefix_each(pool):
    pool.environment["KEYREAP_POOL_SIZE"] = "2"
    first = started(pool, ["sleep", "inf"])
    other = succeeded(pool.run("printenv", "WINEPREFIX")).strip()
    first.send_signal(signal.SIGTERM)
    first.wait()
    assert other == str(pool.prefix(2))


def test_a_further_session_waits_until_one_has_ended(pool, tmp_path):
    log = tmp_path / "log"
    command = ["bash", "-c", 'echo begin >>"$1"; sleep 0.2; echo end >>"$1"', "bash", log]
    for session in [pool.start(*command) for _ in range(3)]:
        assert session.wait() == 0
    assert log.read_text() == "begin\nend\n" * 3


def test_what_the_command_left_running_ends_with_it(pool):
    succeeded(pool.run("bash", "-c", "wine cmd /c exit; (sleep inf &) ; wine start /b cmd /k"))
    assert_nothing_is_left(pool)


# A process whose first thread ends before a second one.
HALF_ENDED = """
import ctypes, threading, time
threading.Thread(target=time.sleep, args=(3600,)).start()
ctypes.CDLL(None).syscall(60, 0)  # SYS_exit
"""


def test_a_process_without_its_first_thread_ends_with_the_session(pool):
    script = 'python3 -c "$1" >/dev/null & until grep -q "^State:.Z" /proc/$!/status; do sleep 0.01; done; echo $!'
    number = succeeded(pool.run("bash", "-c", script, "bash", HALF_ENDED)).strip()
    until(lambda: not os.path.exists("/proc/" + number))


def test_a_container_with_a_prefix_at_the_same_path_is_left_alone(pool):
    """Its processes are visible on the host, and their environment doesn't show that the path is one of the container's."""
    words = ["unshare", "--pid", "--fork", "--kill-child", "env", "WINEPREFIX=%s" % pool.prefix()]
    assert run(*words, "true").returncode == 0
    other = subprocess.Popen([*words, "bash", "-c", "echo begun; exec sleep inf"], stdout=subprocess.PIPE, text=True)
    assert other.stdout.readline() == "begun\n"
    succeeded(pool.run("wine", "cmd", "/c", "exit"))
    assert other.poll() is None
    other.kill()
    other.communicate()


def test_the_end_of_output_is_the_end_of_the_session(pool):
    session = pool.start("wine", "cmd", "/c", "echo word")
    assert session.stdout.read().strip() == "word"
    assert session.wait() == 0


def test_a_signal_ends_the_session_and_then_the_script(pool):
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        session = started(pool, ["wine", "cmd", "/k"])
        session.send_signal(number)
        assert session.wait() == -number
        assert_nothing_is_left(pool)


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGQUIT])
def test_a_signal_from_the_keyboard_ends_the_command_and_then_the_session(pool, number):
    session = started(pool, ["wine", "cmd", "/k"], start_new_session=True)
    os.killpg(session.pid, number)
    assert session.wait() == -number
    assert_nothing_is_left(pool)


def test_a_killed_script_leaves_nothing(pool):
    session = started(pool, ["wine", "cmd", "/k"])
    until(lambda: len(processes_of(pool.prefix())) > 3)
    session.kill()
    until(lambda: not is_locked(str(pool.prefix()) + ".lock"))
    assert_nothing_is_left(pool)


def test_a_killed_group_leaves_nothing(pool):
    session = started(pool, ["wine", "cmd", "/k"], start_new_session=True)
    os.killpg(session.pid, signal.SIGKILL)
    until(lambda: not is_locked(str(pool.prefix()) + ".lock"))
    assert_nothing_is_left(pool)


def test_a_session_whose_keeper_was_killed_leaves_nothing(pool):
    session = started(pool, ["wine", "cmd", "/k"])
    until(lambda: len(processes_of(pool.prefix())) > 3)
    assert run("pkill", "-KILL", "-f", "session-keeper.sh %s " % pool.prefix()).returncode == 0
    session.send_signal(signal.SIGTERM)
    assert session.wait() == -signal.SIGTERM
    assert_nothing_is_left(pool)


def test_a_session_after_a_killed_one_runs(pool):
    session = started(pool, ["wine", "cmd", "/k"])
    session.kill()
    succeeded(pool.run("wine", "cmd", "/c", "exit"))


def test_classes_can_be_empty(pool):
    query = ["wine", "reg", "query", "HKLM\\Software\\Classes\\CLSID"]
    assert pool.run(*query).returncode == 0
    assert pool.run("--empty-classes", *query).returncode == 1
    hive = succeeded(pool.run("--empty-classes", "bash", "-c", 'cat "$WINEPREFIX/system.reg"'))
    assert "[Software\\\\Classes" not in hive and "[Software\\\\Microsoft" in hive


def test_a_folder_can_be_shared_for_one_session(pool, tmp_path):
    (tmp_path / "file").write_text("word")
    read = ["wine", "cmd", "/c", "type \\\\server\\share\\file"]
    assert succeeded(pool.run("--share", tmp_path, *read)) == "word"
    assert pool.run(*read).returncode != 0


def test_heaps_are_checked_only_if_asked_for(pool):
    query = ["wine", "reg", "query", "HKLM\\System\\CurrentControlSet\\Control\\Session Manager", "/v", "GlobalFlag"]
    assert succeeded(pool.run(*query)).split()[-1] == "0x0"
    assert succeeded(pool.run("--checked-heaps", *query)).split()[-1] == "0x10"


HOST = ["bash", "-c", "cat $WINEPREFIX/drive_c/windows/keyreap-host.txt"]


@pytest.mark.parametrize("isolation", ["mounts", "copies"])
def test_a_session_can_have_a_strict_host(pool, isolation):
    environment = {"KEYREAP_HOST": "system,user S-1-12-1-7,status 5", "KEYREAP_ISOLATION": isolation}
    assert succeeded(pool.run(*HOST, env=environment)) == "system\nuser S-1-12-1-7\nstatus 5\n"
    strict = ["creations", "system", "outlives", "capitals", "lost 3"]
    assert succeeded(pool.run("--host", "strict,lost 3", *HOST, env=environment)).splitlines() == strict
    assert pool.run("--host", "", *HOST, env=environment).returncode != 0
    assert pool.run(*HOST, env={"KEYREAP_ISOLATION": isolation}).returncode != 0


@pytest.mark.parametrize("host", ["strictly", "system creations", "status", "status x", "user", "lost -1", ",system"])
def test_a_host_that_can_not_be_described_is_refused_in_one_sentence(pool, host):
    result = pool.run("true", env={"KEYREAP_HOST": host})
    assert result.returncode == 125
    assert result.stderr.startswith("keyreap: KEYREAP_HOST has an unknown switch: ")
    assert result.stderr.count("\n") == 1


def test_wrong_usage_is_reported(pool):
    assert pool.run("--nonsense", "true").returncode == 125
    assert pool.run().returncode == 125


@pytest.mark.parametrize("size", ["0", "-1", "two", "1.5", "", " ", "99999999999999999999"])
def test_a_size_of_the_pool_that_is_no_number_is_refused_in_one_sentence(pool, size):
    result = pool.run("true", env={"KEYREAP_POOL_SIZE": size})
    if size == "":
        assert result.returncode == 0
    else:
        assert (result.returncode, result.stdout) == (125, "")
        assert result.stderr == "keyreap: KEYREAP_POOL_SIZE is '%s', and has to be a number from 1 to 99999\n" % size


def test_a_pool_that_can_not_be_written_to_is_refused_in_one_sentence(pool, tmp_path):
    (tmp_path / "file").touch()
    result = pool.run("true", env={"KEYREAP_POOL": str(tmp_path / "file")})
    assert (result.returncode, result.stderr) == (125, "keyreap: cannot write to %s\n" % (tmp_path / "file"))


def test_a_prefix_that_can_not_be_laid_out_is_named_in_one_sentence(pool):
    pool.prefix().touch()
    result = pool.run("true")
    assert (result.returncode, result.stdout, len(result.stderr.splitlines())) == (125, "", 1)
    assert result.stderr.startswith("keyreap: cannot lay out a Wine prefix in %s: mkdir: " % pool.prefix())


def test_a_full_disk_is_named_in_one_sentence_and_gets_no_part_of_a_copy(pool, tmp_path):
    script = 'mount -t tmpfs -o size=4m tmpfs "$1" && "$2" true; echo $?; ls -d "$1"/1.*'
    full = dict(pool.environment, KEYREAP_POOL=str(tmp_path), KEYREAP_ISOLATION="copies")
    result = run("unshare", "--mount", "bash", "-c", script, "bash", tmp_path, SESSION, env=full)
    assert result.stdout == "125\n%s\n" % (tmp_path / "1.lock")
    assert result.stderr.startswith("keyreap: cannot lay out a Wine prefix in %s: cp: " % (tmp_path / "1"))
    assert result.stderr.endswith(": No space left on device\n") and len(result.stderr.splitlines()) == 1


def test_temporary_files_that_can_not_be_written_are_named_in_one_sentence(pool):
    script = 'mount -t tmpfs -o ro tmpfs /tmp && exec "$@"'
    result = run("unshare", "--mount", "bash", "-c", script, "bash", SESSION, "true", env=pool.environment)
    assert (result.returncode, result.stdout) == (125, "")
    assert result.stderr == "keyreap: cannot write to /tmp, where Wine's server has its folder\n"


FEW = ["bash", "-c", 'ulimit "$1" 64; shift; exec "$@"', "bash"]


def test_few_descriptors_are_raised_to_what_a_session_needs(pool):
    assert run(*FEW, "-Sn", SESSION, "--requests", "wine", "cmd", "/c", "exit 9", env=pool.environment).returncode == 9


def test_few_descriptors_that_can_not_be_raised_are_refused_in_one_sentence(pool):
    powerless = ["setpriv", "--bounding-set=-sys_resource", "--inh-caps=-sys_resource"]
    result = run(*powerless, *FEW, "-n", SESSION, "true", env=pool.environment)
    assert (result.returncode, result.stdout) == (125, "")
    assert result.stderr == "keyreap: only 64 files can be open at once (ulimit -n), and a run needs 256\n"
