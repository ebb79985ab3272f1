"""keykit emit: what a removal leaves, since others need it."""

import pytest
import readers

FILES = {"server.dll": "server.dll"}
KEY = "HKEY_CLASSES_ROOT\\KeyreapRoad"
PATH = r'@="Z:\\build\\bin\\server.dll"'
CLASS = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}"

# Keys that a library of the system or every program of a kind writes, with an entry of each.
SHARED = [
    ("HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Cryptography", '"MachineGuid"="x"'),
    ("HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", '"Personal"="x"'),
    ("HKEY_CLASSES_ROOT\\Component Categories\\{B29A312E-EB83-43BC-A846-E0C0563B8878}", '"409"="Thermometers"'),
    ("HKEY_CLASSES_ROOT\\TypeLib\\{EA544A21-C82D-11D1-A3E4-00A0C90AEA82}\\6.0", '@="Visual Basic"'),
]


def kept_keys(kind, desk, capture):
    """The keys of the components that stay, as the registry names them below the root."""
    result = desk.emit(kind, capture)
    assert result.returncode == 0, result.stderr
    document = readers.of_json(result.stdout)[1]
    return [(component["isKept"], key["path"]) for component in document["components"] for key in component["keys"]]


@pytest.mark.parametrize("key, entry", SHARED)
def test_what_others_need_is_not_removed(desk, key, entry):
    capture = desk.capture("[%s]" % KEY, PATH, "[%s]" % key, entry)
    path = key.split("\\", 1)[1]
    kept = dict((path, is_kept) for is_kept, path in kept_keys("json", desk, capture))
    in_classes = {"Software\\Classes\\" + path, path}
    assert [is_kept for name, is_kept in kept.items() if name in in_classes] == [True]
    assert kept["Software\\Classes\\KeyreapRoad"] is False
    _, removal = readers.nsis(desk.emit("nsis", capture).stdout)
    assert removal and not any(path.split("\\")[-1] in line for line in removal)


def test_another_value_of_a_shared_key_is_removed(desk):
    capture = desk.capture("[%s]" % KEY, PATH, "[%s]" % SHARED[0][0], SHARED[0][1], '"ours"="x"')
    _, removal = readers.nsis(desk.emit("nsis", capture).stdout)
    assert any('"ours"' in line for line in removal) and not any("MachineGuid" in line for line in removal)


@pytest.mark.parametrize(
    "key, empty, is_own",
    [
        (CLASS, "Programmable", True),
        ("HKEY_CLASSES_ROOT\\.road", "OpenWithProgids", False),
        ("HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall", "x", False),
    ],
)
def test_an_empty_key_goes_with_all_in_it_only_in_an_object(desk, key, empty, is_own):
    capture = desk.capture("[%s]" % key, PATH, "[%s\\%s]" % (key, empty))
    assert (b"ForceDeleteOnUninstall" in desk.emit("wix", capture).stdout) is is_own
    assert (b'Name="*"' in desk.emit("wixl", capture).stdout) is is_own
    assert (b'Name="+"' in desk.emit("wixl", capture).stdout) is not is_own
