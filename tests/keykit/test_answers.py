"""What keykit makes of the answers of a live program, here a script that always gives the same ones."""

from conftest import keykit
from test_manifest import CLSID, SERVED


def proved(desk, *answers):
    """The proof of one class with a program that gives these answers each time."""
    live = desk.folder / "live"
    live.write_text("#!/bin/sh\ncat <<'END'\n%s\nEND\n" % "\n".join(answers))
    live.chmod(0o755)
    words = ["--server", "%s=Z:\\build\\bin\\server.dll" % desk.server, "--prove", "-o", desk.folder / "a.manifest"]
    result = keykit("manifest", desk.capture(*SERVED), *words, env={"KEYKIT_LIVE": str(live), "TMPDIR": str(desk.folder)})
    assert list(desk.folder.glob("keykit-*")) == []
    return result.returncode, result.stderr.decode().splitlines()


START = '{"bitness": 64}'


def test_a_class_that_is_created_is_proven(desk):
    status, lines = proved(desk, START, '{"clsid": "%s", "result": 0, "isRegistered": false}' % CLSID)
    assert (status, lines) == (0, ["keykit: 1 of 1 classes are created by the manifest alone"])


def test_a_class_that_is_registered_too_proves_nothing(desk):
    status, lines = proved(desk, START, '{"clsid": "%s", "result": 0, "isRegistered": true}' % CLSID)
    assert status == 1
    assert lines == [
        "keykit: %s: it is registered on this machine, so that it was created proves nothing" % CLSID,
        "keykit: 0 of 1 classes are created by the manifest alone",
    ]


def test_a_program_that_doesnt_start_is_refused(desk):
    assert proved(desk, "no answer") == (2, ["keykit: KeyKitLive.exe of 64 bits can't be started"])


def test_a_manifest_that_the_system_doesnt_read_is_refused(desk):
    answer = '{"failure": "CreateActCtxW", "error": 14001}'
    assert proved(desk, START, answer) == (2, ["keykit: CreateActCtxW gave error 14001"])
