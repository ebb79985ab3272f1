"""keykit emit --native: what the elements of WiX and the values beside them produce is together exactly what was captured.
wixelements.py evaluates the elements."""

import re
import xml.etree.ElementTree as ElementTree

import pytest
import wixelements
from conftest import KINDS, PRODUCT, Desk, image, keykit
from readers import THERE, Registry, regfile, tag
from test_emit import CAPTURES, FILES, named_in, readable, target, without_tail

NATIVE = ["wix", "wix3"]
CLASS = "{B29A312E-EB83-43BC-A846-E0C0563B8877}"
LIBRARY = "{B29A312E-EB83-43BC-A846-E0C0563B8875}"
INTERFACE = "{B29A312E-EB83-43BC-A846-E0C0563B8876}"
PROXY = "{00020424-0000-0000-C000-000000000046}"
SERVER = r"Z:\\build\\bin\\server.dll"

# Everything that elements can say of an in-process server, key by key.
WHOLE = {
    "CLSID\\" + CLASS: ['@="Road class"'],
    "CLSID\\%s\\InprocServer32" % CLASS: ['@="%s"' % SERVER, '"ThreadingModel"="Apartment"'],
    "CLSID\\%s\\ProgID" % CLASS: ['@="Road.Class.1"'],
    "CLSID\\%s\\VersionIndependentProgID" % CLASS: ['@="Road.Class"'],
    "CLSID\\%s\\TypeLib" % CLASS: ['@="%s"' % LIBRARY],
    "CLSID\\%s\\Version" % CLASS: ['@="1.0"'],
    "CLSID\\%s\\Programmable" % CLASS: [],
    "CLSID\\%s\\Control" % CLASS: [],
    "Road.Class.1": ['@="Road class, first version"'],
    "Road.Class.1\\CLSID": ['@="%s"' % CLASS],
    "Road.Class": ['@="Road class"'],
    "Road.Class\\CLSID": ['@="%s"' % CLASS],
    "Road.Class\\CurVer": ['@="Road.Class.1"'],
    "Interface\\" + INTERFACE: ['@="IRoad"'],
    "Interface\\%s\\ProxyStubClsid32" % INTERFACE: ['@="%s"' % PROXY],
    "Interface\\%s\\NumMethods" % INTERFACE: ['@="9"'],
    "Interface\\%s\\TypeLib" % INTERFACE: ['@="%s"' % LIBRARY, '"Version"="1.a"'],
    "TypeLib\\%s\\1.a" % LIBRARY: ['@="Road library"'],
    "TypeLib\\%s\\1.a\\0\\win64" % LIBRARY: ['@="%s"' % SERVER],
    "TypeLib\\%s\\1.a\\FLAGS" % LIBRARY: ['@="10"'],
    "TypeLib\\%s\\1.a\\HELPDIR" % LIBRARY: [r'@="Z:\\build\\bin"'],
}


def lines_of(entries):
    return [line for key, values in entries.items() for line in ["[HKEY_CLASSES_ROOT\\%s]" % key, *values]]


def expected(capture, kind="wix"):
    """What every kind without --native leaves, which the tests of the kinds compare with the capture."""
    registry = Registry({target(key): values for key, values in regfile.parse(capture.read_bytes()).items()})
    replaced = {SERVER.replace("\\\\", "\\"): THERE + "\\server.dll", "Z:\\build\\bin": THERE + "\\"}
    for key, values in registry.items():
        for name, (of_type, data) in values.items():
            text = data.decode("utf-16-le")
            for old, new in replaced.items():
                text = re.sub(r"%s(?=$|\0|\\|\")" % re.escape(old), new.replace("\\", "\\\\"), text, flags=re.I)
            values[name] = (of_type, text.encode("utf-16-le"))
    return wixelements.folded([registry])


def native(desk, entries, kind="wix", *words):
    """The registry that is left, what is said by values, and the capture."""
    capture = desk.capture(*lines_of(entries))
    result = desk.emit(kind, capture, "--native", *words)
    assert result.returncode == 0, result.stderr
    return *wixelements.evaluated(result.stdout, FILES), capture, result.stdout


@pytest.mark.parametrize("kind", NATIVE)
def test_a_usual_server_is_all_elements(desk, kind):
    registry, values, capture, document = native(desk, WHOLE, kind)
    assert registry == expected(capture)
    assert values == set()
    count = lambda name: document.count(b"<%s " % name)  # noqa: E731
    assert [count(name) for name in (b"File", b"TypeLib", b"Class", b"ProgId", b"Interface")] == [1, 1, 1, 2, 1]


def test_a_program_server_is_a_class_with_its_arguments(desk):
    entries = {"CLSID\\%s\\LocalServer32" % CLASS: [r'@="\"%s\" /automation"' % SERVER]}
    registry, values, capture, document = native(desk, entries)
    assert registry == expected(capture) and values == set()
    assert b'Context="LocalServer32" Argument="/automation"' in document


def test_a_32_bit_server_has_a_32_bit_library(tmp_path):
    entries = {key.replace("win64", "win32"): values for key, values in WHOLE.items()}
    registry, values, capture, _ = native(Desk(tmp_path, 32), entries)
    assert registry == expected(capture) and values == set()
    registry, values, capture, _ = native(Desk(tmp_path, 32), WHOLE)
    assert registry == expected(capture)
    assert ("hkey_local_machine\\software\\classes\\typelib\\%s\\1.a\\0\\win64" % LIBRARY.lower(), "") in values


def test_keys_are_compared_as_the_registry_does(desk):
    entries = {key.replace("TypeLib", "Typelib").replace("CLSID", "clsid"): values for key, values in WHOLE.items()}
    entries = {key.replace(CLASS, CLASS.lower()): values for key, values in entries.items()}
    registry, values, capture, _ = native(desk, entries)
    assert registry == expected(capture) and values == set()


# An entry that an element would say otherwise: what is captured in its place, and which entries are values then.
DIFFERENT = [
    ("CLSID\\%s" % CLASS, ['@="Road [class]"'], [""]),
    ("CLSID\\%s" % CLASS, ['@=" Road class"'], [""]),
    ("CLSID\\%s" % CLASS, ['@="#1"'], [""]),
    ("CLSID\\%s" % CLASS, ['@="Road $class"'], [""]),
    ("CLSID\\%s" % CLASS, ['@=""'], [""]),
    ("CLSID\\%s" % CLASS, ['@="Road class"', '"AppID"="%s"' % PROXY], ["AppID"]),
    ("CLSID\\%s\\InprocServer32" % CLASS, ['@="%s"' % SERVER, '"ThreadingModel"="apartment"'], ["ThreadingModel"]),
    ("CLSID\\%s\\InprocServer32" % CLASS, ['@="%s"' % SERVER, '"ThreadingModel"="Odd"'], ["ThreadingModel"]),
    ("CLSID\\%s\\InprocServer32" % CLASS, [r'@="\"%s\""' % SERVER, '"ThreadingModel"="Apartment"'], ["", "ThreadingModel"]),
    ("CLSID\\%s\\ProgID" % CLASS, ['@="Road.Other"'], [""]),
    ("CLSID\\%s\\TypeLib" % CLASS, ['@="%s"' % LIBRARY.lower()], [""]),
    ("CLSID\\%s\\TypeLib" % CLASS, ['@="%s"' % PROXY], [""]),
    ("CLSID\\%s\\Programmable" % CLASS, ['@="x"'], [""]),
    ("Road.Class.1\\CLSID", ['@="%s"' % CLASS.lower()], [""]),
    ("Road.Class.1\\CLSID", ['@="%s"' % PROXY], [""]),
    ("Road.Class", ['@="Road class"', '"NoOpen"=""'], ["NoOpen"]),
    ("Road.Class\\CurVer", ['@="Road.Class.2"'], [""]),
    ("Interface\\%s" % INTERFACE, ['@=""'], [""]),
    ("Interface\\%s\\ProxyStubClsid32" % INTERFACE, ['@="%s"' % PROXY.lower()], [""]),
    ("Interface\\%s\\NumMethods" % INTERFACE, ['@="09"'], [""]),
    ("Interface\\%s\\NumMethods" % INTERFACE, ['@="4294967295"'], [""]),
    ("Interface\\%s\\TypeLib" % INTERFACE, ['@="%s"' % LIBRARY, '"Version"="1.A"'], ["", "Version"]),
    ("Interface\\%s\\TypeLib" % INTERFACE, ['@="%s"' % LIBRARY], [""]),
    ("TypeLib\\%s\\1.a" % LIBRARY, ['@=""'], [""]),
    ("TypeLib\\%s\\1.a\\FLAGS" % LIBRARY, ['@="16"'], [""]),
    ("TypeLib\\%s\\1.a\\FLAGS" % LIBRARY, ['@="0x8"'], [""]),
    ("TypeLib\\%s\\1.a\\FLAGS" % LIBRARY, ["@=dword:00000008"], [""]),
    ("TypeLib\\%s\\1.a\\HELPDIR" % LIBRARY, ['@=""'], [""]),
    (r"TypeLib\%s\1.a\0\win64" % LIBRARY, [r'@="%s\\2"' % SERVER], [""]),
]


@pytest.mark.parametrize("key, lines, values", DIFFERENT, ids=lambda word: re.sub(r"\W+", " ", str(word))[-40:])
def test_what_an_element_would_say_otherwise_stays_a_value(desk, key, lines, values):
    registry, said, capture, _ = native(desk, dict(WHOLE, **{key: lines}))
    assert registry == expected(capture)
    path = "hkey_local_machine\\software\\classes\\" + key.lower()
    assert sorted(name for of, name in said if of == path) == values


# A key that an element would make, and that was not captured.
@pytest.mark.parametrize("key", WHOLE)
def test_no_element_adds_an_entry_that_was_not_captured(desk, key):
    registry, _, capture, _ = native(desk, {of: values for of, values in WHOLE.items() if of != key})
    assert registry == expected(capture)


@pytest.mark.parametrize("language", ["409", "10", "07", "a", "x"])
def test_a_language_that_is_spelled_otherwise_in_the_attribute_is_no_element(desk, language):
    registry, _, capture, document = native(desk, {key.replace("\\0\\", "\\%s\\" % language): values for key, values in WHOLE.items()})
    assert registry == expected(capture)
    assert b"<TypeLib " not in document


@pytest.mark.parametrize("version", ["1.A", "01.0", "1", "1.10000", "1.0.0", "1.", "x.0"])
def test_a_version_that_an_element_would_spell_otherwise_is_no_element(desk, version):
    registry, _, capture, document = native(desk, {key.replace("1.a", version): values for key, values in WHOLE.items()})
    assert registry == expected(capture)
    assert b"<TypeLib " not in document


def test_two_languages_of_a_version_are_one_element(desk):
    entries = dict(WHOLE, **{"TypeLib\\%s\\1.a\\9\\win64" % LIBRARY: ['@="%s"' % SERVER]})
    registry, values, capture, _ = native(desk, entries)
    assert registry == expected(capture)
    assert len(values) == 1


def test_two_servers_of_a_class_are_one_element(desk):
    entries = dict(WHOLE, **{"CLSID\\%s\\LocalServer32" % CLASS: [r'@="\"%s\""' % SERVER]})
    registry, values, capture, _ = native(desk, entries)
    assert registry == expected(capture)
    assert [key.rpartition("\\")[2] for key, _ in values] == ["localserver32"]


def test_every_entry_of_the_golden_files_is_said_once(desk):
    elements, entries = 0, 0
    for file in CAPTURES:
        result = desk.emit("wix", file, "--native")
        assert result.returncode == 1, "no entry names the server"
        registry, values = wixelements.evaluated(result.stdout, FILES)
        names = {(key.lower(), name) for key, name in named_in(result.stderr.decode("utf-8"))}
        captured = wixelements_of(file)
        for key, found in registry.items():
            for name, value in found.items():
                assert value == captured[key][name], (file, key, name)
        for key, found in captured.items():
            for name in found:
                assert name in registry.get(key, {}) or (readable(source(key)), readable(name)) in names, (file, key, name)
        elements += sum(len(found) for found in registry.values()) - sum(name is not None for _, name in values)
        entries += sum(len(found) for found in registry.values())
    print("%d entries, %d of them in elements" % (entries, elements))
    assert entries > 2000 and elements > 30


def wixelements_of(file):
    """The capture's entries that a kind can carry, as the target machine has them."""
    registry = Registry()
    for key, values in regfile.parse(file.read_bytes()).items():
        for name, value in values.items():
            carried = value is not None and value[1] is not None
            registry.setdefault(target(key).lower(), {})[name] = (value[0], without_tail(*value)) if carried else None
    return registry


def source(key):
    return key.replace("hkey_local_machine\\software\\classes", "hkey_classes_root", 1)


# The file


def components_of(document):
    return [element for element in ElementTree.fromstring(document).iter() if tag(element) == "Component"]


def test_a_library_is_below_its_own_file(desk):
    (desk.folder / "other.dll").write_bytes(image(64))
    entries = dict(WHOLE, **{"TypeLib\\%s\\1.a\\0\\win64" % LIBRARY: [r'@="Z:\\build\\bin\\other.dll"']})
    result = desk.emit("wix", desk.capture(*lines_of(entries)), "--native", "--server", r"%s/other.dll=Z:\build\bin\other.dll" % desk.folder)
    assert result.returncode == 0, result.stderr
    registry, _ = wixelements.evaluated(result.stdout, dict(FILES, **{"other.dll": "other.dll"}))
    assert registry["hkey_local_machine\\software\\classes\\typelib\\%s\\1.a\\0\\win64" % LIBRARY.lower()][""][1] == (
        THERE + "\\other.dll\0").encode("utf-16-le")  # fmt: skip
    files = {component.find("{*}File").get("Id"): component for component in components_of(result.stdout)}
    assert {name: len(component.findall("{*}File/{*}TypeLib")) for name, component in files.items()} == {"server.dll": 0, "other.dll": 1}


def test_the_file_is_the_key_path_and_is_removed_with_its_component(desk):
    shared = "[HKEY_CLASSES_ROOT\\Interface\\{00020400-0000-0000-C000-000000000046}]"
    user = "[HKEY_CURRENT_USER\\Software\\Road]"
    capture = desk.capture(*lines_of(WHOLE), shared, '@="IDispatch"', user, '"x"="y"')
    result = desk.emit("wix3", capture, "--native")
    assert result.returncode == 0, result.stderr
    found = {component.get("Id"): component for component in components_of(result.stdout)}
    assert {name: len(component.findall("{*}File")) for name, component in found.items()} == {
        "server_x64": 1, "server_x64_kept": 0, "server_x64_user": 0}  # fmt: skip
    assert {name: [tag(child) for child in component] for name, component in found.items() if name != "server_x64"} == {
        "server_x64_kept": ["RegistryKey"], "server_x64_user": ["RegistryKey"]}  # fmt: skip


def test_a_file_that_no_component_can_have_is_named(desk):
    capture = desk.capture("[HKEY_CURRENT_USER\\Software\\Road]", '"x"="%s"' % SERVER)
    result = desk.emit("wix", capture, "--native")
    assert result.returncode == 1 and b"<File " not in result.stdout
    assert result.stderr == b"keykit: server.dll: is in no component, since none is removed with it\n"


def test_a_users_product_has_its_elements_in_the_users_classes(desk):
    capture = desk.capture(*lines_of(WHOLE))
    result = desk.emit("wix", capture, "--native", "--scope", "user")
    registry, values = wixelements.evaluated(result.stdout, FILES, "HKCU")
    machine = expected(capture)
    assert registry == {key.replace("local_machine", "current_user", 1): entries for key, entries in machine.items()}
    assert values == set()


@pytest.mark.parametrize("kind", [kind for kind in KINDS if kind not in NATIVE])
def test_other_kinds_have_no_such_elements(desk, kind):
    result = desk.emit(kind, desk.capture(*lines_of(WHOLE)), "--native")
    assert (result.returncode, result.stdout) == (2, b"")
    assert result.stderr.decode() == "keykit: --native: it is for wix and wix3, and not for %s\n" % kind


def test_the_product_decides_the_components_with_elements_too(desk):
    def guids(*words):
        return [component.get("Guid") for component in components_of(desk.emit("wix", desk.capture(*lines_of(WHOLE)), *words).stdout)]

    assert guids("--native") == guids()
    assert keykit("emit", "wix", "--help").stdout.count(b"--native") == 1
    assert PRODUCT.upper() not in guids()
