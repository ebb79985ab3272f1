"""keykit lint: each rule finds what it is for in one capture, and nothing in another that differs only by that."""

import json
import re
import struct

import jsonschema
import pytest
from conftest import ROOT, keykit

SERVER = "Z:\\\\build\\\\bin\\\\server.dll"
ROOT_KEY = "HKEY_CLASSES_ROOT"
CLASS = "{B29A312E-EB83-43BC-A846-E0C0563B8877}"
OTHER = "{B29A312E-EB83-43BC-A846-E0C0563B8878}"
LIBRARY = "{B29A312E-EB83-43BC-A846-E0C0563B8879}"
IID = "{B29A312E-EB83-43BC-A846-E0C0563B8880}"
APP = "{B29A312E-EB83-43BC-A846-E0C0563B8881}"
CLSID = "%s\\CLSID\\%s" % (ROOT_KEY, CLASS)
SOFTWARE = "HKEY_LOCAL_MACHINE\\Software"


def key(*names):
    return "[%s]" % "\\".join(names)


def in_process(model='"ThreadingModel"="Both"'):
    return [key(CLSID), '@="Some class"', key(CLSID, "InprocServer32"), '@="%s"' % SERVER, model]


def program(command):
    return [key(CLSID, "LocalServer32"), '@="%s"' % command]


def interface(*lines):
    return [key(ROOT_KEY, "Interface", IID), '@="ISome"', *lines]


def proxy(clsid="{00020424-0000-0000-C000-000000000046}"):
    return interface(key(ROOT_KEY, "Interface", IID, "ProxyStubClsid32"), '@="%s"' % clsid)


def library(version="1.0", identifier=LIBRARY):
    return [key(ROOT_KEY, "TypeLib", identifier, version, "0", "win64"), '@="%s"' % SERVER]


def names_library(version):
    return [*proxy(), key(ROOT_KEY, "Interface", IID, "TypeLib"), '@="%s"' % LIBRARY, '"Version"="%s"' % version]


def prog_id(*lines):
    return [key(ROOT_KEY, "Some.Class.1"), '@="Some class"', *lines]


def names_class(clsid=CLASS):
    return [key(ROOT_KEY, "Some.Class.1", "CLSID"), '@="%s"' % clsid]


def names_prog_id():
    return [key(CLSID, "ProgID"), '@="Some.Class.1"']


# Security descriptors

EVERYONE, ANONYMOUS, USERS = (1, 0), (5, 7), (5, 11)
ALLOWED, DENIED = 0, 1
LOCAL, ALL = 0xB, 0x1F


def sid(account):
    authority, number = account
    return bytes([1, 1]) + authority.to_bytes(6, "big") + struct.pack("<I", number)


def access(kind, rights, account, flags=0):
    return struct.pack("<BBHI", kind, flags, 20, rights) + sid(account)


def descriptor(*entries):
    content = b"".join(entries)
    return struct.pack("<BBHIIIIBBHHH", 1, 0, 0x8004, 0, 0, 0, 20, 2, 0, 8 + len(content), len(entries), 0) + content


def permission(data, name="LaunchPermission"):
    return [key(ROOT_KEY, "AppID", APP), '"%s"=hex:%s' % (name, ",".join("%02x" % byte for byte in data))]


def value(place, name=""):
    return place + (', value "%s"' % name if name else ", default value")


VALUE = [key(SOFTWARE, "Some product"), '"name"="data"']
SHELL_FOLDERS = "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"
SYSTEMS = "{00020400-0000-0000-C000-000000000046}"
SAFE = "{7DD95801-9882-11CF-9FA9-00AA006C42C"
FILLER = "\u5555" * 10

# The rule, what it finds with the key, a capture that has it, and one that just hasn't.
CASES = [
    ("K101", [": no value was captured"], VALUE[:1], VALUE),
    ("K102", [" %s: could not be read when it was captured" % value(SOFTWARE + "\\Some product", "name")],
     [VALUE[0], '"name"="%s"' % FILLER], [VALUE[0], '"name"="%s"' % FILLER[1:]]),
    ("K103", [" HKEY_LOCAL_MACHINE\\S-1-12-1-1\\Software\\x: is a key of an account whose registry the capture doesn't know"],
     [key("HKEY_LOCAL_MACHINE\\S-1-12-1-1\\Software\\x"), '@="x"'], [key("HKEY_LOCAL_MACHINE\\Software\\S-1-12-1-1\\x"), '@="x"']),
    ("K103", [" %s: has the name of a key of the temporary tree of the capture" % value(SOFTWARE + "\\Some product", "name")],
     [VALUE[0], '"name"="Software\\\\Velmoro\\\\Tesselink\\\\Temporary\\\\x"'], [VALUE[0], '"name"="Software\\\\Velmoro\\\\Tesselink\\\\x"']),
    ("K104", [" %s: is no entry that an import brings back: expected no comma after the colon" % value(SOFTWARE + "\\Some product")],
     [*VALUE, "@=hex(2):,00,00"], [*VALUE, "@=hex(2):00,00"]),
    ("K104", [" %s: is a deletion" % value(SOFTWARE + "\\Some product", "old")], [*VALUE, '"old"=-'], [*VALUE, '"old"="-"']),
    ("K104", [" %s\\Old: is a deletion" % SOFTWARE], [*VALUE, "[-%s\\Old]" % SOFTWARE], VALUE),
    ("K105", [": line 3 is ambiguous: read as a key whose name has a line break, and not as a key without its bracket"],
     [key(SOFTWARE, "Some\r\nproduct"), '"name"="data"'], VALUE),
    ("K201", [" %s: is a class without a server" % CLSID], in_process()[:2], in_process()),
    ("K201", [" %s: is a class without a server" % CLSID],
     [key(CLSID), '@="x"', '"AppID"="%s"' % APP, key(ROOT_KEY, "AppID", APP), '@="x"'],
     [key(CLSID), '@="x"', '"AppID"="%s"' % APP, key(ROOT_KEY, "AppID", APP), '"LocalService"="x"']),
    ("K201", [" %s: is a class without a server" % CLSID],
     [key(CLSID), '@="x"', '"AppID"="%s"' % APP, key(ROOT_KEY, "AppID", APP), '@="x"'], [key(CLSID), '@="x"', '"AppID"="%s"' % APP]),
    ("K202", [" %s\\InprocServer32: has no ThreadingModel" % CLSID], in_process()[:-1], in_process()),
    ("K203", [" %s: is 'Bath', which COM doesn't know" % value(CLSID + "\\InprocServer32", "ThreadingModel")],
     in_process('"ThreadingModel"="Bath"'), in_process('"ThreadingModel"="bOTH"')),
    ("K204", [" %s\\ProgID: names the ProgID Some.Class.1, which isn't in the capture" % CLSID],
     [*in_process(), *names_prog_id()], [*in_process(), *names_prog_id(), *prog_id(*names_class())]),
    ("K205", [" HKEY_CLASSES_ROOT\\Some.Class.1\\CLSID: names the class %s, which isn't in the capture" % OTHER],
     [*in_process(), *prog_id(*names_class(OTHER))], [*in_process(), *prog_id(*names_class())]),
    ("K205", [" %s\\ProgID: names the ProgID Some.Class.1, which doesn't name the class %s" % (CLSID, CLASS)],
     [*in_process(), *names_prog_id(), *prog_id()], [*in_process(), *names_prog_id(), *prog_id(*names_class())]),
    ("K206", [" %s\\TypeLib: names the type library %s, which isn't in the capture" % (CLSID, LIBRARY)],
     [*in_process(), key(CLSID, "TypeLib"), '@="%s"' % LIBRARY], [*in_process(), key(CLSID, "TypeLib"), '@="%s"' % LIBRARY, *library()]),
    ("K206", [" %s: names the version 2.0 of the type library %s, which isn't in the capture"
              % (value("HKEY_CLASSES_ROOT\\Interface\\%s\\TypeLib" % IID, "Version"), LIBRARY)],
     [*names_library("2.0"), *library()], [*names_library("1.0"), *library()]),
    ("K207", [" HKEY_CLASSES_ROOT\\Interface\\%s: is an interface without ProxyStubClsid32" % IID], interface(), proxy()),
    ("K207", [" HKEY_CLASSES_ROOT\\Interface\\%s\\ProxyStubClsid32: names the class %s, which isn't in the capture" % (IID, OTHER)],
     [*in_process(), *proxy(OTHER)], [*in_process(), *proxy(CLASS)]),
    ("K301", [" %s: has a path that is none of the server's: D:\\docs\\x.chm" % value(SOFTWARE + "\\Some product", "name")],
     [VALUE[0], '"name"="D:\\\\docs\\\\x.chm"'], [VALUE[0], '"name"="Z:\\\\build\\\\bin\\\\x.chm"']),
    ("K302", [" %s\\LocalServer32: has a path with blanks and without quotes: Z:\\build\\bin\\a b.exe /x" % CLSID],
     program("Z:\\\\build\\\\bin\\\\a b.exe /x"), program('\\"Z:\\\\build\\\\bin\\\\a b.exe\\" /x')),
    ("K302", [" %s\\LocalServer32: has a path with blanks and without quotes: %%ProgramFiles%%\\a.exe" % CLSID],
     program("%ProgramFiles%\\\\a.exe"), program("%SystemRoot%\\\\a.exe /x y")),
    ("K302", [" %s\\LocalServer32: has a path with blanks and without quotes: Z:\\a - b\\a.exe" % CLSID],
     program("Z:\\\\a - b\\\\a.exe"), program("cmd /c Z:\\\\build\\\\b.exe")),
    ("K302", [" %s\\LocalServer32: has a path with blanks and without quotes: \\\\x\\a b\\a.exe" % CLSID],
     program("\\\\\\\\x\\\\a b\\\\a.exe"), program("Z:\\\\build\\\\run -c Z:\\\\build\\\\b.exe")),
    ("K401", [" HKEY_CLASSES_ROOT\\Interface\\%s: is an interface of the system, which others need after the product is gone" % SYSTEMS],
     [key(ROOT_KEY, "Interface", SYSTEMS), '@="IDispatch"'], proxy()),
    ("K401", [" HKEY_CLASSES_ROOT\\Component Categories\\%s4}: is a category of the system, which others need after the product is gone" % SAFE],
     [key(ROOT_KEY, "Component Categories", SAFE + "4}"), '"409"="x"'], [key(ROOT_KEY, "Component Categories", SAFE + "5}"), '"409"="x"']),
    ("K402", [" %s: is what the library of cryptography writes" % value(SOFTWARE + "\\Microsoft\\Cryptography", "MachineGuid")],
     [key(SOFTWARE, "Microsoft\\Cryptography"), '"MachineGuid"="x"'], [key(SOFTWARE, "Microsoft\\Cryptography"), '"Other"="x"']),
    ("K402", [" HKEY_CURRENT_USER\\%s, value \"Fonts\": is what the shell's library writes for every program that asks for a folder" % SHELL_FOLDERS],
     [key("HKEY_CURRENT_USER", SHELL_FOLDERS), '"Fonts"="x"'], [key("HKEY_CURRENT_USER", SHELL_FOLDERS + "2"), '"Fonts"="x"']),
    ("K402", [" HKEY_CLASSES_ROOT\\TypeLib\\{EA544A21-C82D-11D1-A3E4-00A0C90AEA82}: is what the run-time library of Visual Basic 6 writes beside each server"],
     library(identifier="{EA544A21-C82D-11D1-A3E4-00A0C90AEA82}"), library(identifier="{EA544A21-C82D-11D1-A3E4-00A0C90AEA83}")),
    ("K403", [" HKEY_CURRENT_USER\\Software\\x: is a key of a user, beside keys of the machine"],
     [*VALUE, key("HKEY_CURRENT_USER\\Software\\x"), '@="x"'], [key("HKEY_CURRENT_USER\\Software\\x"), '@="x"']),
    ("K404", [" %s\\Wow6432Node\\x: names the 32-bit view, which an installer chooses by itself" % SOFTWARE],
     [key(SOFTWARE, "Wow6432Node\\x"), '@="x"'], [key(SOFTWARE, "x\\Wow6432Node"), '@="x"']),
    ("K501", [" %s: lets everybody in, from other machines too" % value("HKEY_CLASSES_ROOT\\AppID\\" + APP, "LaunchPermission")],
     permission(descriptor(access(ALLOWED, ALL, USERS), access(ALLOWED, ALL, EVERYONE))),
     permission(descriptor(access(ALLOWED, ALL, USERS), access(DENIED, ALL, EVERYONE), access(ALLOWED, ALL, EVERYONE)))),
    ("K501", [" %s: lets everybody in who is on the machine" % value("HKEY_CLASSES_ROOT\\AppID\\" + APP, "AccessPermission")],
     permission(descriptor(access(ALLOWED, LOCAL, EVERYONE)), "AccessPermission"), permission(descriptor(), "AccessPermission")),
]

OLD = [*in_process(), key(CLSID, "Some"), '"a"="1"', '"b"="2"', key(CLSID, "Other"), '@="x"']
# The rule, what it finds, and the new capture beside OLD.
DIFFERENCES = [
    ("K601", ["old: K601 %s: is gone" % value(CLSID + "\\Some", "b")], [line for line in OLD if line != '"b"="2"']),
    ("K601", ["old: K601 %s\\Other: is gone" % CLSID], OLD[:-2]),
    ("K602", ["new: K602 %s: is new" % value(CLSID + "\\Other", "c")], [*OLD, '"c"="3"']),
    ("K602", ["new: K602 %s\\Third: is new" % CLSID], [*OLD, key(CLSID, "Third"), '@="x"', key(CLSID, "Third\\Below"), '@="x"']),
    ("K603", ["new: K603 %s: has other data" % value(CLSID + "\\Some", "b")], [line.replace('"b"="2"', '"b"="3"') for line in OLD]),
    ("K603", ["new: K603 %s: has another type" % value(CLSID + "\\Some", "b")], [line.replace('"b"="2"', '"b"=hex(2):32,00,00,00') for line in OLD]),
]


def lint(desk, *words):
    return keykit("lint", *words, "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server)


def findings(result):
    """The lines without the folder of the captures and the ending of their names."""
    assert result.stderr == b""
    lines = [re.sub(r"^.*?/(\w+)\.reg", r"\1", line) for line in result.stdout.decode().splitlines()]
    assert result.returncode == (1 if lines else 0)
    return lines


@pytest.mark.parametrize("rule, expected, faulty, sound", CASES, ids=["%s-%d" % (case[0], i) for i, case in enumerate(CASES)])
def test_a_rule_finds_what_it_is_for_and_nothing_else(desk, rule, expected, faulty, sound):
    found = findings(lint(desk, desk.capture(*faulty)))
    assert [line for line in found if ": %s" % rule in line] == ["server: %s%s" % (rule, line) for line in expected]
    assert [line for line in findings(lint(desk, desk.capture(*sound))) if ": %s" % rule in line] == []


@pytest.mark.parametrize("rule, expected, lines", DIFFERENCES, ids=["%s-%d" % (case[0], i) for i, case in enumerate(DIFFERENCES)])
def test_what_differs_from_an_older_capture_is_found(desk, rule, expected, lines):
    old = desk.capture(*OLD, name="old.reg")
    assert findings(lint(desk, desk.capture(*lines, name="new.reg"), "--against", old)) == expected
    assert findings(lint(desk, desk.capture(*OLD, name="new.reg"), "--against", old)) == []


def rules_of_the_program():
    text = keykit("lint", "--help").stdout.decode()
    return dict(re.findall(r"^ +(K\d{3})  (.*)$", text, re.M))


def test_every_rule_has_a_case():
    assert {case[0] for case in CASES + DIFFERENCES} == set(rules_of_the_program())


def test_every_rule_has_a_section_in_the_documentation():
    text = (ROOT / "docs" / "lint.md").read_text(encoding="utf-8")
    sections = re.findall(r"^### (K\d{3}): (.*)\n\n((?:(?!^#).*\n)+)", text, re.M)
    assert [(number, name) for number, name, _ in sections] == list(rules_of_the_program().items())
    for number, _, section in sections:
        parts = re.findall(r"^\*\*(\w[\w ]*)\.\*\* \S", section, re.M)
        assert parts == ["What", "Why", "What to do", "Evidence"], number
        assert re.search(r"^\*\*Evidence\.\*\* .*(https://|\.md)", section, re.M | re.S), number


def test_a_sound_capture_has_no_finding(desk):
    result = lint(desk, desk.capture(*in_process(), *names_prog_id(), *prog_id(*names_class()), *names_library("1.0"), *library()))
    assert (result.returncode, result.stdout, result.stderr) == (0, b"", b"")


def test_findings_are_sorted_whatever_the_order_of_the_captures(desk):
    captures = [desk.capture(*in_process()[:-1], *VALUE[:1], name="b.reg"), desk.capture(*interface(), *in_process()[:-1], name="a.reg")]
    result = lint(desk, *captures)
    assert lint(desk, *reversed(captures)).stdout == result.stdout
    numbers = [re.match(r"(\w): (K\d+)", line).groups() for line in findings(result)]
    assert numbers == sorted(numbers) and {file for file, _ in numbers} == {"a", "b"}


def test_a_capture_of_the_same_product_may_have_what_is_named(desk):
    captures = [desk.capture(*in_process(), key(CLSID, "TypeLib"), '@="%s"' % LIBRARY, name="a.reg"), desk.capture(*library(), name="b.reg")]
    assert len(findings(lint(desk, captures[0]))) == 1
    assert findings(lint(desk, *captures)) == []


def test_without_a_server_the_files_of_classes_are_taken_for_servers(desk):
    neighbour, foreign = '"help"="Z:\\\\build\\\\bin\\\\x.chm"', '"help"="D:\\\\x.chm"'
    assert findings(keykit("lint", desk.capture(*in_process(), VALUE[0], neighbour))) == []
    assert len(findings(keykit("lint", desk.capture(*in_process(), VALUE[0], foreign)))) == 1


def test_another_folder_of_the_build_machine_is_no_difference(desk):
    old = desk.capture(*[line.replace("build", "older") for line in OLD], name="old.reg")
    assert findings(lint(desk, desk.capture(*OLD, name="new.reg"), "--against", old)) == []


def test_a_server_beside_the_given_one_is_the_same_in_both_captures(desk):
    neighbour = [key(CLSID, "InprocServer32"), '@="Z:\\\\build\\\\bin\\\\ps.dll"', '"ThreadingModel"="Both"']
    same = desk.capture(*neighbour)
    assert findings(lint(desk, same, "--against", same)) == []
    older = desk.capture(*[line.replace("build", "older") for line in neighbour], name="old.reg")
    assert findings(lint(desk, same, "--against", older)) == []
    other = desk.capture(*[line.replace("ps.dll", "other.dll") for line in neighbour], name="other.reg")
    assert findings(lint(desk, other, "--against", same)) == ["other: K603 %s: has other data" % value(CLSID + "\\InprocServer32")]


@pytest.mark.parametrize("data", [b"", descriptor()[:-1], descriptor(access(ALLOWED, ALL, EVERYONE))[:-1], b"\2" + descriptor()[1:]])
def test_permissions_that_are_cut_off_are_no_security_descriptor(desk, data):
    found = findings(lint(desk, desk.capture(*permission(data))))
    assert [line for line in found if line.endswith("is no security descriptor")] == found != []


def test_json_has_the_same_findings(desk):
    capture = desk.capture(*in_process('"ThreadingModel"="Bath"'), *interface())
    result = lint(desk, capture, "--json")
    assert result.returncode == 1
    assert json.loads(result.stdout) == [
        {"file": str(capture), "rule": "K203", "name": "an unknown threading model", "key": CLSID + "\\InprocServer32",
         "value": "ThreadingModel", "sentence": "is 'Bath', which COM doesn't know"},
        {"file": str(capture), "rule": "K207", "name": "an interface without a proxy", "key": "HKEY_CLASSES_ROOT\\Interface\\" + IID,
         "sentence": "is an interface without ProxyStubClsid32"},
    ]
    sound = lint(desk, desk.capture(*in_process()), "--json")
    assert (sound.returncode, json.loads(sound.stdout)) == (0, [])


def test_json_is_as_its_schema_says(desk):
    checker = jsonschema.Draft202012Validator(json.loads((ROOT / "docs" / "lint.schema.json").read_text()))
    for _, _, lines, _ in CASES:
        found = json.loads(lint(desk, desk.capture(*lines), "--json").stdout)
        assert found and list(checker.iter_errors(found)) == []
        assert len(list(checker.iter_errors([dict(found[0], rule="C101")]))) == 1


def test_a_finding_is_one_line(desk):
    result = lint(desk, desk.capture(VALUE[0], '"a\r\nb"="D:\\\\x"'))
    assert len(result.stdout.splitlines()) == len(findings(result)) == len(json.loads(lint(desk, desk.folder / "server.reg", "--json").stdout))


# Each would end a line or control a terminal.
CONTROLS = "\r\n\x1b[2J\x7f\x85\x9b\u2028\u2029keykit: all is well"


def test_no_verb_has_a_line_or_a_control_character_of_a_name(desk):
    name = "a" + CONTROLS
    foreign = '@="D:\\\\%s"' % CONTROLS[2:]
    capture = desk.capture(VALUE[0], '"%s"="D:\\\\x"' % name, "[%s\\%s]" % (SOFTWARE, name), foreign)
    results = [lint(desk, capture), desk.emit("reg", capture), desk.emit("wix", capture), keykit("emit", CONTROLS, capture)]
    results.append(keykit("manifest", capture, "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server))
    results.append(keykit("show", desk.folder / (CONTROLS + ".reg")))
    for result in results:
        messages = (result.stderr or result.stdout).decode()
        assert "all is well" in messages
        assert re.sub("[ -~]", "", messages) == "\n" * messages.count("\n"), messages
        assert not re.search("^keykit: all is well", messages, re.M), messages


def test_what_cannot_be_read_is_refused(desk):
    capture = desk.capture(*VALUE)
    for words in ([desk.folder / "none.reg"], [capture, "--against", desk.folder / "none.reg"], [desk.server], []):
        result = lint(desk, *words)
        assert (result.returncode, result.stdout) == (2, b"") and result.stderr.startswith(b"keykit: "), words
    result = keykit("lint", capture, "--server", desk.folder / "none.dll")
    assert (result.returncode, result.stderr.decode()) == (2, "keykit: %s/none.dll: the server's file can't be read\n" % desk.folder)
