"""keykit manifest: every entry of a capture is in the manifest, or is named. What the manifest says is read by a parser of XML,
evaluated by the independent reader of manifestreader.py, and compared with the capture."""

import re

import pytest
from conftest import ROOT, Desk, document, image, keykit
from manifestreader import ANY, NAMESPACE, Manifest, text_of
from readers import regfile
from test_emit import CAPTURES, named_in

CLASS = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}"
OTHER = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8878}"
LIBRARY = "HKEY_CLASSES_ROOT\\TypeLib\\{B29A312E-EB83-43BC-A846-E0C0563B8875}"
INTERFACE = "HKEY_CLASSES_ROOT\\Interface\\{B29A312E-EB83-43BC-A846-E0C0563B8876}"
ROOT_KEY = "HKEY_CLASSES_ROOT\\"
CLSID, TLBID, IID = (key.rpartition("\\")[2] for key in (CLASS, LIBRARY, INTERFACE))
AUTOMATION = "{00020424-0000-0000-C000-000000000046}"
SERVER = r'@="Z:\\build\\bin\\server.dll"'
SERVED = ["[%s\\InprocServer32]" % CLASS, SERVER]


def manifest(desk, *words):
    return keykit("manifest", *words, "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server)


def made(desk, *lines):
    """The manifest of a capture, and what is named."""
    result = manifest(desk, desk.capture(*lines))
    named = [line.split(": ", 2)[2] for line in result.stderr.decode().splitlines()]
    assert result.returncode == (1 if named else 0), result.stderr
    return Manifest(result.stdout), named


def only(found, name):
    (element,) = found.all(name)
    return element


# Whole captures


def filled_in(file):
    """A golden file with the paths that a capture has."""
    data = file.read_bytes().decode("utf-16-le", "surrogatepass")
    data = data.replace("{MODULE}", "Z:\\\\build\\\\bin\\\\server.dll").replace("{FOLDER}", "Z:\\\\build\\\\bin")
    return data.encode("utf-16-le", "surrogatepass")


@pytest.mark.parametrize("bitness, arch", [(64, "x64"), (32, "x86")])
def test_a_whole_server_is_carried(tmp_path, bitness, arch):
    desk = Desk(tmp_path, bitness)
    capture = tmp_path / "calculator.reg"
    capture.write_bytes(filled_in(ROOT / "tests/endtoend/golden" / ("calculator-%s.reg" % arch)))
    result = manifest(desk, capture)
    found = Manifest(result.stdout)
    assert (found.bitness, found.identity["name"]) == (bitness, "server.classes")
    texts = {(key.upper(), name.upper()): text_of(value) for key, values in regfile.parse(capture.read_bytes()).items()
             for name, value in values.items()}
    entries = found.entries()
    missing = {place: text for place, text in texts.items() if entries.get(place) not in (text, ANY)}
    assert missing == {}
    assert [line.rpartition("\\")[2] for line in result.stderr.decode().splitlines()] == ["Programmable: has no place in a manifest"]
    # A missing number says the same as 0, and a ProgID with a version is its own current one.
    more = [key for (key, name), text in entries.items() if (key, name) not in texts and text != "0"]
    assert more == ["HKEY_CLASSES_ROOT\\KEYREAP.CALCULATOR.1\\CURVER"]


def values_of(capture):
    """Key, name and text of each value, and each key without values and keys."""
    parsed = regfile.parse(capture)
    for key, values in parsed.items():
        for name, value in values.items():
            yield key, name, text_of(value)
        if not values and not any(other.upper().startswith(key.upper() + "\\") for other in parsed):
            yield key, None, None


def is_own(key):
    return key.count("\\") == 0 or key.upper() in ("HKEY_LOCAL_MACHINE\\SOFTWARE", "HKEY_LOCAL_MACHINE\\SOFTWARE\\CLASSES")


def readable(text):
    return text.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "replace")


def test_every_entry_of_the_golden_files_is_carried_or_named(desk):
    carried, named = 0, 0
    for file in CAPTURES:
        desk.server.write_bytes(image(32 if file.stem.endswith("-x86") else 64))
        capture = desk.folder / file.name
        capture.write_bytes(filled_in(file))
        result = manifest(desk, capture)
        entries, names = Manifest(result.stdout).entries(), named_in(result.stderr.decode())
        for key, name, text in values_of(capture.read_bytes()):
            place = re.sub(r"^HKEY_(LOCAL_MACHINE|CURRENT_USER)\\SOFTWARE\\CLASSES", "HKEY_CLASSES_ROOT", key.upper()), (name or "").upper()
            # A prefix for long paths alone isn't part of a path.
            if text is not None and entries.get(place) in (text.removeprefix("\\\\?\\"), ANY):
                carried += 1
            elif name is not None or not is_own(key):
                assert (readable(key), readable(name or "")) in names, (file, key, name, result.stderr)
                named += 1
    print("%d entries carried, %d named" % (carried, named))
    assert carried > 80 and named > 1000


# Classes


def test_a_class_has_its_names_and_its_model(desk):
    lines = ["[%s]" % CLASS, '@="A class"', *SERVED, '"ThreadingModel"="both"', "[%s\\TypeLib]" % CLASS, '@="%s"' % TLBID]
    found, named = made(desk, *lines)
    assert named == []
    assert only(found, "comClass").attrib == {"clsid": CLSID, "description": "A class", "threadingModel": "Both", "tlbid": TLBID}
    assert only(found, "file").get("name") == "server.dll"


@pytest.mark.parametrize("model", ["Apartment", "Free", "Both", "Neutral", None])
def test_a_threading_model_is_carried(desk, model):
    found, named = made(desk, *SERVED, *(['"ThreadingModel"="%s"' % model] if model else []))
    assert named == [] and only(found, "comClass").get("threadingModel") == model


def test_a_class_with_an_unknown_model_is_named(desk):
    found, named = made(desk, *SERVED, '"ThreadingModel"="Single"')
    assert found.all("comClass") == []
    reason = "belongs to a class with the threading model 'Single', for which manifests have no word"
    key = "%s\\InprocServer32" % CLASS
    assert named == ["%s, default value: %s" % (key, reason), '%s, value "ThreadingModel": %s' % (key, reason)]


def progid(name, clsid=CLSID, *more):
    return ["[%s%s\\CLSID]" % (ROOT_KEY, name), '@="%s"' % clsid, *more]


def test_all_progids_of_a_class_are_carried(desk):
    own = ["[%s\\ProgID]" % CLASS, '@="A.B.2"', "[%s\\VersionIndependentProgID]" % CLASS, '@="A.B"']
    current = ["[%sA.B\\CurVer]" % ROOT_KEY, '@="A.B.2"', "[%sA.Old\\CurVer]" % ROOT_KEY, '@="A.B.2"']
    found, named = made(desk, *SERVED, *own, *progid("A.B.2"), *progid("A.B"), *progid("A.B.1"), *current)
    assert named == []
    element = only(found, "comClass")
    assert [element.get("progid"), *(child.text for child in element)] == ["A.B.2", "A.B", "A.B.1", "A.Old"]


def test_a_progid_has_one_class(desk):
    """Two classes of a manifest can't have the same one. The ProgID's own key decides."""
    other = ["[%s\\InprocServer32]" % OTHER, SERVER, "[%s\\VersionIndependentProgID]" % OTHER, '@="A.B"']
    found, named = made(desk, *other, *SERVED, *progid("A.B"))
    assert {element.get("clsid"): element.get("progid") for element in found.all("comClass")} == {OTHER.rpartition("\\")[2]: None, CLSID: "A.B"}
    assert named == ["%s\\VersionIndependentProgID, default value: is the ProgID of another class" % OTHER]


def test_a_progid_without_its_class_is_named(desk):
    found, named = made(desk, *SERVED, *progid("A.B", OTHER.rpartition("\\")[2]))
    assert named == [ROOT_KEY + "A.B\\CLSID, default value: belongs to a ProgID whose class isn't in the manifest"]


@pytest.mark.parametrize(
    "key, number, attribute, words",
    [
        ("MiscStatus", "131473", "miscStatus", "recomposeonresize,cantlinkinside,insideout,activatewhenvisible,setclientsitefirst"),
        ("MiscStatus\\1", "1", "miscStatusContent", "recomposeonresize"),
        ("MiscStatus\\2", "2097152", "miscStatusThumbnail", "supportsmultilevelundo"),
        ("MiscStatus\\4", "2", "miscStatusIcon", "onlyiconic"),
        ("MiscStatus\\8", "1024", "miscStatusDocPrint", "invisibleatruntime"),
        ("MiscStatus", "0", "miscStatus", None),
    ],
)
def test_a_misc_status_is_carried(desk, key, number, attribute, words):
    found, named = made(desk, *SERVED, "[%s\\%s]" % (CLASS, key), '@="%s"' % number)
    assert named == [] and only(found, "comClass").get(attribute) == words


@pytest.mark.parametrize("number", ["524288", "4194304", "x", "-1", "99999999999"])
def test_a_misc_status_without_words_is_named(desk, number):
    found, named = made(desk, *SERVED, "[%s\\MiscStatus]" % CLASS, '@="%s"' % number)
    assert named == ["%s\\MiscStatus, default value: has a bit for which manifests have no word" % CLASS]
    assert only(found, "comClass").get("miscStatus") is None


# Type libraries and interfaces


def library(*lines, version="1.0", file=SERVER, platform="0\\win64"):
    return ["[%s\\%s]" % (LIBRARY, version), '@="A library"', "[%s\\%s\\%s]" % (LIBRARY, version, platform), file, *lines]


def test_a_type_library_is_carried(desk):
    lines = ["[%s\\a.10\\FLAGS]" % LIBRARY, '@="3"', "[%s\\a.10\\HELPDIR]" % LIBRARY, r'@="Z:\\build\\bin\\help"']
    found, named = made(desk, *library(*lines, version="a.10", file=SERVER[:-1] + r'\\12"'))
    assert named == []
    assert only(found, "typelib").attrib == {"tlbid": TLBID, "version": "10.16", "helpdir": "help", "resourceid": "c", "flags": "restricted,control"}


def test_a_manifest_has_the_newest_version_of_a_library(desk):
    found, named = made(desk, *library(version="1.9"), *library(version="1.a"))
    assert only(found, "typelib").get("version") == "1.10"
    reason = "is another version, language or platform of a type library, of which a manifest can have one"
    assert named == ["%s\\1.9%s, default value: %s" % (LIBRARY, below, reason) for below in ("", "\\0\\win64")]


def test_a_library_elsewhere_is_named(desk):
    found, named = made(desk, *SERVED, *library(file=r'@="Z:\\build\\bin\\other.tlb"'))
    assert found.all("typelib") == [] and {line.rpartition(": ")[2] for line in named} == {"belongs to a type library that isn't in the server"}


def test_the_folder_of_another_place_is_named(desk):
    found, named = made(desk, *library("[%s\\1.0\\HELPDIR]" % LIBRARY, r'@="D:\\help"'))
    assert only(found, "typelib").get("helpdir") == ""
    assert named == ["%s\\1.0\\HELPDIR, default value: is a folder outside that of the server" % LIBRARY]


def interface(*lines, proxy=AUTOMATION):
    return ["[%s]" % INTERFACE, '@="IThing"', "[%s\\ProxyStubClsid32]" % INTERFACE, '@="%s"' % proxy, *lines]


def test_an_interface_is_carried_with_its_proxies(desk):
    lines = ["[%s\\NumMethods]" % INTERFACE, '@="7"', "[%s\\BaseInterface]" % INTERFACE, '@="{00020400-0000-0000-C000-000000000046}"',
             "[%s\\TypeLib]" % INTERFACE, '@="%s"' % TLBID, '"Version"="1.0"', "[%s\\ProxyStubClsid]" % INTERFACE, '@="%s"' % AUTOMATION]
    found, named = made(desk, *library(), *interface(*lines))
    assert named == []
    element = only(found, "comInterfaceExternalProxyStub")
    assert element in list(found.root), "it is below the assembly"
    assert element.attrib == {"iid": IID, "name": "IThing", "tlbid": TLBID, "baseInterface": "{00020400-0000-0000-C000-000000000046}",
                              "numMethods": "7", "proxyStubClsid32": AUTOMATION}


def test_the_servers_own_proxies_are_a_class_that_interfaces_name(desk):
    found, named = made(desk, *SERVED, *interface(proxy=CLSID))
    assert named == []
    assert only(found, "comClass").get("clsid") == only(found, "comInterfaceExternalProxyStub").get("proxyStubClsid32") == CLSID


def test_an_interface_without_proxies_is_named(desk):
    _, named = made(desk, *SERVED, "[%s]" % INTERFACE, '@="IThing"')
    assert named == ["%s, default value: belongs to an interface without proxies, of which a manifest says nothing" % INTERFACE]


def test_the_version_of_a_library_elsewhere_is_named(desk):
    _, named = made(desk, *SERVED, *interface("[%s\\TypeLib]" % INTERFACE, '@="%s"' % TLBID, '"Version"="1.0"'))
    assert named == ['%s\\TypeLib, value "Version": is the version of a type library that the manifest doesn\'t have' % INTERFACE]


# What no manifest can have


@pytest.mark.parametrize(
    "lines, reason",
    [
        (["[%s]" % CLASS, '"AppID"="%s"' % CLSID], "names an AppID, which no manifest can have"),
        (["[%s\\LocalServer32]" % CLASS, '@="x.exe"'], "names a program, which no manifest can have"),
        (["[%s\\InprocHandler32]" % CLASS, '@="ole32.dll"'], "names a handler, which no manifest can have"),
        (["[%s\\Implemented Categories\\%s]" % (CLASS, CLSID)], "is a category of a class, which no manifest can have"),
        (["[%s\\Version]" % CLASS, '@="1.0"'], "is the version of a type library that the manifest doesn't have"),
        (["[%s\\DefaultIcon]" % CLASS, SERVER], "has no place in a manifest"),
        (["[%s\\Programmable]" % CLASS], "has no place in a manifest"),
        (["[%sAppID\\x.exe]" % ROOT_KEY, '"AppID"="x"'], "belongs to an AppID, which no manifest can have"),
        (["[%sComponent Categories\\%s]" % (ROOT_KEY, CLSID), '"409"="x"'], "belongs to a category, which no manifest can have"),
        (["[%s.thing]" % ROOT_KEY, '@="A.B"'], "belongs to a file association, which no manifest can have"),
        (["[%s*\\shellex\\ContextMenuHandlers\\x]" % ROOT_KEY, '@="%s"' % CLSID],
         "belongs to a shell extension, which no manifest can have"),
        (["[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\x]", '"Start"=dword:00000003'],
         "belongs to a service, which no manifest can have"),
        (["[HKEY_LOCAL_MACHINE\\Software\\Road]", '"x"="y"'],
         "is no part of a class, an interface, a type library or a ProgID, which are all that a manifest can have"),
        (["[%s]" % CLASS, '@="a\x01b"'], "has a character that no XML document can have"),
        (["[%s]" % CLASS, '"AppID"=-'], "is a deletion"),
        (["[-%s]" % INTERFACE], "is a deletion"),
        (["[%sWow6432Node\\CLSID\\%s]" % (ROOT_KEY, CLSID), '@="x"'], "is in the 32-bit view, and the server is a 64-bit file"),
    ],
)
def test_what_a_manifest_cant_have_is_named_with_key_and_value(desk, lines, reason):
    found, named = made(desk, *SERVED, *lines)
    assert [line.rpartition(": ")[2] for line in named] == [reason]
    assert named[0].startswith(lines[0].strip("[-]"))
    assert only(found, "comClass").attrib == {"clsid": CLSID}


def test_a_program_server_is_named_and_nothing_is_left(desk):
    lines = ["[%s]" % CLASS, '@="Journal"', "[%s\\LocalServer32]" % CLASS, SERVER, *progid("A.Journal")]
    found, named = made(desk, *lines)
    assert found.all("comClass") == []
    assert {line.rpartition(": ")[2] for line in named} == {
        "belongs to a class that a program makes, which no manifest can have", "belongs to a ProgID whose class isn't in the manifest"}


def test_the_class_of_another_file_is_named(desk):
    _, named = made(desk, *SERVED, "[%s\\InprocServer32]" % OTHER, r'@="C:\\windows\\system32\\other.dll"')
    assert named == ["%s\\InprocServer32, default value: belongs to a class of another file than the server: C:\\windows\\system32\\other.dll" % OTHER]


def test_the_same_entry_in_two_hives_counts_once(desk):
    machine = [line.replace("HKEY_CLASSES_ROOT", "HKEY_LOCAL_MACHINE\\Software\\Classes") for line in SERVED]
    found, named = made(desk, *SERVED, '"ThreadingModel"="Both"', *machine, '"ThreadingModel"="Free"')
    assert only(found, "comClass").get("threadingModel") == "Both"
    assert [line.rpartition(": ")[2] for line in named] == ["has other data in line 5 of %s" % (desk.folder / "server.reg")]


def test_several_servers_have_a_file_each(desk):
    (desk.folder / "proxies.dll").write_bytes(image(64))
    proxies = desk.capture("[%s\\InprocServer32]" % OTHER, r'@="Z:\\build\\bin\\proxies.dll"', name="proxies.reg")
    words = ["--server", "%s/proxies.dll=Z:\\build\\bin\\proxies.dll" % desk.folder]
    result = manifest(desk, desk.capture(*SERVED), proxies, *words)
    assert result.returncode == 0, result.stderr
    files = Manifest(result.stdout).all("file")
    assert {file.get("name"): file[0].get("clsid") for file in files} == {"server.dll": CLSID, "proxies.dll": OTHER.rpartition("\\")[2]}


def test_a_server_that_no_entry_names_is_named(desk):
    result = manifest(desk, desk.capture("[%s]" % CLASS, '@="x"'))
    assert result.returncode == 1
    assert result.stderr.decode().splitlines()[0] == "keykit: no entry names Z:\\build\\bin\\server.dll"


# Names, and what is refused


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
    assert result.returncode == 2 and result.stderr.startswith(b"keykit: --prove: ")
    assert NAMESPACE[1:-1].encode() in result.stdout, "the manifest is written before"
