"""keykit manifest: which files it takes and writes, and what is refused."""

import re

import pytest
from conftest import ROOT, document, image, keykit
from manifestreader import NAMESPACE, Manifest
from test_manifest import SERVED, manifest


def test_the_assembly_has_the_name_of_its_file(desk):
    out = desk.folder / "road.things.manifest"
    printed = manifest(desk, desk.capture(*SERVED)).stdout
    result = manifest(desk, desk.capture(*SERVED), "-o", out)
    assert (result.returncode, result.stdout) == (0, b"")
    assert out.read_bytes() == printed.replace(b'name="server.classes"', b'name="road.things"')


def test_the_manifest_of_a_client_has_its_name(desk):
    (desk.folder / "client.exe").write_bytes(program(64))
    result = manifest(desk, desk.capture(*SERVED), "--for", desk.folder / "client.exe", "-o", desk.folder / "client.exe.manifest")
    assert result.returncode == 0, result.stderr
    assert Manifest((desk.folder / "client.exe.manifest").read_bytes()).identity["name"] == "client"


def program(bitness):
    data = bytearray(image(bitness))
    data[86:88] = (0x0002).to_bytes(2, "little")  # the characteristics, without that of a DLL
    return bytes(data)


def refused(desk, *words):
    result = manifest(desk, desk.capture(*SERVED), *words)
    assert (result.returncode, result.stdout) == (2, b"")
    return result.stderr.decode().removeprefix("keykit: ").strip()


def test_an_assembly_with_the_name_of_its_server_is_refused(desk):
    out = desk.folder / "Server.manifest"
    assert refused(desk, "-o", out) == (
        "%s: an assembly can't have the name of its server, into which the system looks first; server.classes.manifest is possible" % out)
    assert not out.exists()


def test_a_file_that_the_system_doesnt_find_is_refused(desk):
    out = desk.folder / "server.xml"
    assert refused(desk, "-o", out) == "%s: the system finds an assembly only in a file that ends in .manifest" % out


def test_a_wrong_client_is_refused(desk):
    client = desk.folder / "client.exe"
    assert refused(desk, "--for", client) == "%s: the client's file can't be read" % client
    client.write_bytes(image(64))
    assert refused(desk, "--for", client) == "%s: it is no program" % client
    client.write_bytes(program(32))
    assert refused(desk, "--for", client) == "%s: it is a 32-bit program, and the server is of 64 bits" % client
    with_manifest = ROOT / "build/stage/bin/x64/KeyKit.exe"
    assert refused(desk, "--for", with_manifest).startswith("%s: it has a manifest inside, and so doesn't read one beside it" % with_manifest)


def test_another_file_than_the_clients_is_refused(desk):
    client = desk.folder / "client.exe"
    client.write_bytes(program(64))
    for name in ("wrong.txt", "client.manifest"):
        out = desk.folder / name
        assert refused(desk, "--for", client, "-o", out) == "%s: the system reads the client's manifest only from client.exe.manifest" % out
        assert not out.exists()


def test_names_that_no_xml_has_are_refused(desk):
    reason = "its name has a character that no XML document can have"
    assert refused(desk, "-o", desk.folder / "a\x01.manifest") == "a : " + reason
    desk.server = desk.server.rename(desk.folder / "a\x01.dll")
    assert refused(desk, "-o", desk.folder / "a.manifest") == "a .dll: " + reason


@pytest.mark.parametrize("machine", [0xAA64, 0x01C4, 0x0200, 0])
def test_a_server_or_client_of_another_machine_is_refused(desk, machine):
    reason = ": it is for another machine than x86 and x64"
    client = desk.folder / "client.exe"
    client.write_bytes(of_machine(program(64), machine))
    assert refused(desk, "--for", client) == str(client) + reason
    desk.server.write_bytes(of_machine(image(64), machine))
    assert refused(desk) == str(desk.server) + reason
    result = desk.emit("json", desk.capture(*SERVED))
    assert (result.returncode, result.stderr.decode()) == (2, "keykit: %s%s\n" % (desk.server, reason))


def of_machine(data, machine):
    return data[:68] + machine.to_bytes(2, "little") + data[70:]


def test_a_type_library_alone_is_refused(desk):
    (desk.folder / "server.tlb").write_bytes(b"MSFT\2\0")
    result = keykit("manifest", desk.capture(*SERVED), "--server", desk.folder / "server.tlb")
    assert (result.returncode, result.stderr) == (2, b"keykit: server.tlb: a type library has no code, and so no manifest of its own\n")


def test_servers_of_both_bitnesses_are_refused(desk):
    (desk.folder / "b.dll").write_bytes(image(32))
    assert refused(desk, "--server", desk.folder / "b.dll") == "server.dll: it is a 64-bit file, and not of 32 bits"


def test_a_missing_or_damaged_file_is_refused(desk):
    result = keykit("manifest", desk.folder / "none.reg", "--server", desk.server)
    assert (result.returncode, result.stderr.decode()) == (2, "keykit: %s/none.reg: the capture can't be read\n" % desk.folder)
    (desk.folder / "damaged.reg").write_bytes(document("[x", "y"))
    result = keykit("manifest", desk.folder / "damaged.reg", "--server", desk.server)
    assert result.returncode == 2 and re.match(r"keykit: \S+/damaged.reg:3:\d+: expected ", result.stderr.decode())


def test_a_proof_needs_the_command_that_starts_windows_programs(desk):
    result = manifest(desk, desk.capture(*SERVED), "--prove")
    assert result.returncode == 2 and result.stderr.startswith(b"keykit: only the command ")
    assert NAMESPACE[1:-1].encode() in result.stdout, "the manifest is written before"
