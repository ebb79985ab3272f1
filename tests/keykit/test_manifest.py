"""keykit manifest: every entry of a capture is in the manifest, or is named. What the manifest says is read by a parser of XML,
evaluated by the independent reader of manifestreader.py, and compared with the capture."""

import re
import subprocess

import pytest
from conftest import PROGRAM, ROOT, Desk, image, keykit
from manifestreader import ANY, Manifest, text_of
from readers import regfile
from test_emit import CAPTURES, named_in, readable

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


@pytest.mark.parametrize("model", ["dword:00000000", "hex:41,00,70,00", r'"Z:\\build\\bin\\server.dll"', "hex(7):41,00,00,00,00,00"])
def test_a_class_with_a_model_that_is_no_word_is_named(desk, model):
    found, named = made(desk, *SERVED, '"ThreadingModel"=%s' % model)
    reason = "belongs to a class whose threading model is none for which manifests have a word"
    key = "%s\\InprocServer32" % CLASS
    assert found.all("comClass") == []
    assert named == ["%s, default value: %s" % (key, reason), '%s, value "ThreadingModel": %s' % (key, reason)]


@pytest.mark.parametrize("value", ["@=dword:00000001", "@=hex:01", '@=""'])
def test_a_progid_whose_class_is_no_clsid_is_named(desk, value):
    lines = ["[%s\\ProgID]" % CLASS, '@="A.B"', "[%sA.B]" % ROOT_KEY, "@=dword:00000000", "[%sA.B\\CLSID]" % ROOT_KEY, value]
    found, named = made(desk, *SERVED, *lines)
    assert only(found, "comClass").get("progid") == "A.B"
    assert named == [
        ROOT_KEY + "A.B, default value: differs from the name of the class, which is the only one that a manifest has",
        ROOT_KEY + "A.B\\CLSID, default value: has no place in a manifest",
    ]


def test_many_progids_of_a_class_need_little_memory(desk):
    count, most = 4000, 1 << 30
    lines = [line for number in range(count) for line in progid("A.%d" % number)]
    limit = ["prlimit", "--as=%d" % most]
    words = ["manifest", desk.capture(*SERVED, *lines), "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server]
    result = subprocess.run([*limit, PROGRAM, *words], capture_output=True, stdin=subprocess.DEVNULL)
    assert (result.returncode, result.stderr) == (0, b"")
    assert len(Manifest(result.stdout).all("progid")) == count - 1


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


def test_an_aspect_of_0_beside_bits_of_the_class_is_named(desk):
    """The aspect would have the class's bits."""
    found, named = made(desk, *SERVED, "[%s\\MiscStatus]" % CLASS, '@="1"', "[%s\\MiscStatus\\1]" % CLASS, '@="0"')
    assert only(found, "comClass").get("miscStatus") == "recomposeonresize"
    reason = "is 0 for an aspect, to which a manifest without words for it gives the bits of the class"
    assert named == ["%s\\MiscStatus\\1, default value: %s" % (CLASS, reason)]


def test_an_aspect_of_0_beside_a_class_without_bits_is_carried(desk):
    _, named = made(desk, *SERVED, "[%s\\MiscStatus]" % CLASS, '@="0"', "[%s\\MiscStatus\\1]" % CLASS, '@="0"')
    assert named == []


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


@pytest.mark.parametrize("below, reason", [
    ("\\FLAGS", "has a bit for which manifests have no word"),
    ("\\HELPDIR", "is a folder outside that of the server"),
])
@pytest.mark.parametrize("value", ["dword:00000000", "hex:00"])
def test_what_is_no_text_of_a_library_is_named(desk, below, reason, value):
    _, named = made(desk, *library("[%s\\1.0%s]" % (LIBRARY, below), "@=" + value))
    assert named == ["%s\\1.0%s, default value: %s" % (LIBRARY, below, reason)]


@pytest.mark.parametrize("bitness", [64, 32])
def test_a_library_of_both_platforms_is_that_of_the_server(tmp_path, bitness):
    desk = Desk(tmp_path, bitness)
    both = ["%s\\1.0\\0\\win%d" % (LIBRARY, number) for number in (64, 32)]
    lines = [line for number, key in zip((64, 32), both) for line in ("[%s]" % key, SERVER[:-1] + r'\\%d"' % number)]
    found, named = made(desk, *lines)
    assert only(found, "typelib").get("resourceid") == "%x" % bitness
    reason = "is another version, language or platform of a type library, of which a manifest can have one"
    assert named == ["%s, default value: %s" % (both[bitness == 64], reason)]


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
