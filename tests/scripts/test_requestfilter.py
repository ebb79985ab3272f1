"""The filter of the log of Wine's server: it reads on whatever happens, and keeps only what a trace needs."""

import fcntl
import resource
import signal
import subprocess
import time

import pytest
from conftest import ROOT, until

FILTER = ROOT / "build" / "tools" / "requestfilter"

KEPT = b"0024: close_handle() = 0\n"
PRIVATE = b'0024: new_process( flags=4, jobs={}, info={cmdline=L"word"}, env=L"SECRET=1" )\n'
LIMIT = 4096


class Filter:
    """A filter that runs, and the end of its pipe that the server would have."""

    def __init__(self, path, **options):
        self.path = path
        self.process = subprocess.Popen([str(FILTER), str(path)], stdin=subprocess.PIPE, **options)

    def say(self, lines):
        self.process.stdin.write(lines)
        self.process.stdin.flush()

    def content(self):
        return self.path.read_bytes() if self.path.exists() else b""

    def lines(self):
        """The kept lines without those of the time."""
        return [line for line in self.content().splitlines() if not line.startswith(b"time ")]

    def end(self):
        self.process.stdin.close()
        return self.process.wait()


@pytest.fixture
def filtering(tmp_path):
    filters = []

    def start(**options):
        filters.append(Filter(tmp_path / "kept.log", **options))
        return filters[-1]

    yield start
    for one in filters:
        one.process.kill()
        one.process.stdin.close()
        one.process.wait()


def limit_files():
    resource.setrlimit(resource.RLIMIT_FSIZE, (LIMIT, resource.RLIM_INFINITY))


def is_full(content):
    """Whether no further line fits, and the last one is whole."""
    return LIMIT - len(KEPT) < len(content) <= LIMIT and content.endswith(b"\n")


def test_it_takes_a_file_and_optionally_two_reports():
    for words in ([], ["a", "b", "c", "d"]):
        result = subprocess.run([FILTER, *words], stdin=subprocess.DEVNULL, capture_output=True)
        assert result.returncode == 2
        assert b"usage" in result.stderr


def test_its_file_appears_with_the_first_kept_line_and_is_removed_at_the_end(filtering):
    one = filtering()
    one.say(b"0024: select( flags=2 )\n" + KEPT)
    until(lambda: one.lines() == [KEPT.strip()])
    assert one.end() == 0
    assert not one.path.exists()


def test_without_a_kept_line_there_is_no_file(filtering):
    one = filtering()
    one.say(b"0024: select( flags=2 )\n" * 1000)
    assert one.end() == 0
    assert not one.path.exists()


def filtered(tmp_path, lines):
    """What the filter leaves about unplaced lines at the end of its input."""
    report = tmp_path / "unplaced"
    result = subprocess.run([FILTER, tmp_path / "kept.log", tmp_path / "mixed", report], input=lines, capture_output=True)
    assert (result.returncode, result.stdout, result.stderr) == (0, b"", b"")
    return report.read_bytes()


def test_at_the_end_it_leaves_the_first_line_that_no_known_server_writes(tmp_path):
    assert filtered(tmp_path, KEPT * 1000 + b"0024: frobnicate_key( hkey=0004 )\n" + KEPT + b"more\n\n") == (
        b"0024: frobnicate_key( hkey=0004 )\n2\n"
    )


def test_of_such_a_line_nothing_private_is_left(tmp_path):
    private = PRIVATE.replace(b"new_process", b"newer_process")
    assert filtered(tmp_path, private) == b"0024: newer_process( flags=4, jobs=...\n1\n"


def test_without_such_a_line_it_leaves_their_number(tmp_path):
    assert filtered(tmp_path, KEPT * 1000) == b"\n0\n"
    assert filtered(tmp_path, b"") == b"\n0\n"


def test_a_last_line_without_its_end_does_not_count(tmp_path):
    assert filtered(tmp_path, KEPT + b"0024: frobnic") == b"\n0\n"


def test_command_lines_and_environments_of_processes_are_not_kept(filtering):
    one = filtering()
    one.say(PRIVATE + KEPT)
    until(lambda: len(one.lines()) == 2)
    assert b"SECRET" not in one.content()
    assert one.lines()[0] == b"0024: new_process( flags=4, jobs={} )"


def test_each_line_follows_the_time_at_which_it_was_read(filtering):
    def now():
        return time.clock_gettime_ns(time.CLOCK_MONOTONIC_RAW) // 100

    one = filtering()
    begin = now()
    one.say(KEPT)
    until(lambda: len(one.lines()) == 1)
    between = now()
    time.sleep(0.01)
    one.say(KEPT)
    until(lambda: len(one.lines()) == 2)
    lines = one.content().splitlines()
    assert [line.split()[0] for line in lines[::2]] == [b"time", b"time"]
    first, second = (int(line.split()[1]) for line in lines[::2])
    assert begin <= first <= between <= second <= now()


def test_signals_do_not_end_it(filtering):
    one = filtering()
    one.say(KEPT)
    until(lambda: one.lines())
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT, signal.SIGPIPE):
        one.process.send_signal(number)
    one.say(KEPT)
    until(lambda: len(one.lines()) == 2)
    assert one.end() == 0


def test_its_pipe_holds_a_megabyte(filtering):
    one = filtering()
    one.say(KEPT)
    until(lambda: one.lines())
    assert fcntl.fcntl(one.process.stdin, fcntl.F_GETPIPE_SZ) == 1 << 20


def test_on_a_full_disk_it_reads_on_and_keeps_whole_lines(filtering):
    one = filtering(preexec_fn=limit_files)
    for _ in range(10):
        one.say(KEPT * 100_000)
    until(lambda: is_full(one.content()))
    assert set(one.lines()) == {KEPT.strip()}
    assert one.end() == 0
    assert not one.path.exists()


def test_a_line_marks_where_lines_were_lost(filtering):
    one = filtering(preexec_fn=limit_files)
    one.say(KEPT * 1000)
    until(lambda: is_full(one.content()))
    resource.prlimit(one.process.pid, resource.RLIMIT_FSIZE, (resource.RLIM_INFINITY, resource.RLIM_INFINITY))
    before = one.content()
    one.say(b"0024: delete_key() = 0\n")
    until(lambda: b"delete_key" in one.content())
    added = one.content()[len(before):].splitlines()
    assert added[0] == b"lost"
    assert added[-1] == b"0024: delete_key() = 0"
    assert added.count(b"lost") == 1


def test_removing_its_file_does_not_end_it(filtering):
    one = filtering()
    one.say(KEPT)
    until(lambda: one.lines())
    one.path.unlink()
    for _ in range(10):
        one.say(KEPT * 100_000)
    assert one.end() == 0


def test_a_missing_folder_does_not_end_it(tmp_path):
    one = Filter(tmp_path / "missing" / "kept.log")
    one.say(KEPT * 100_000)
    assert one.end() == 0
