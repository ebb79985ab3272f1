"""The grammar of WiX fragments: it takes what the published reference allows, and refuses files that are broken in one way."""

import pytest
from conftest import image
from test_emit import CAPTURES, FORMS, KEY
from wixgrammar import FOLDER, complaints

GOOD = {"wix": "good.wxs", "wix3": "good3.wxs"}

LONE_LIBRARY = "<TypeLib Id='12345678-9ABC-DEF0-1234-56789ABCDEF5' Language='0'/>"

# The kind, what the file of that kind has once, what replaces it, and a part of the complaint.
BROKEN = {
    "an attribute of the other version": ("wix", 'ABCDEF0" Bitness="always64"', 'ABCDEF0" Win64="yes"', "Component"),
    "an unknown word of an attribute": ("wix", 'ABCDEF0" Bitness="always64"', 'ABCDEF0" Bitness="x64"', "Bitness"),
    "the namespace of the other version": ("wix", "wixtoolset.org/schemas/v4/wxs", "schemas.microsoft.com/wix/2006/wi", "namespace"),
    "a type library that is below no file": ("wix", '<RegistryKey Root="HKMU"', f"{LONE_LIBRARY}<RegistryKey Root='HKMU'", "TypeLib"),
    "an Id of more than 72 characters": ("wix", '<Component Id="shared"', f'<Component Id="{73 * "s"}"', "Id"),
    "an Id that begins with a digit": ("wix", '<Component Id="shared"', '<Component Id="2"', "Id"),
    "an interface without name": ("wix", ' Name="IServer"', "", "Interface"),
    "a GUID with a digit too few": ("wix", "ABCDEF4", "ABCDEF", "Guid"),
    "a number of more than 32 bits": ("wix", '"4294967295"', '"4294967296"', "Value"),
    "half a byte": ("wix", '"00ff"', '"00f"', "Value"),
    "a type of values that there isn't": ("wix", '"expandable"', '"expandString"', "Type"),
    "a root inside a key": ("wix", '<RegistryKey Key="sub">', '<RegistryKey Root="HKLM" Key="sub">', "RegistryKey"),
    "a list that also has a Value": ("wix", 'Type="multiString">', 'Type="multiString" Value="zero">', "RegistryValue"),
    "a list of one text": ("wix", '<MultiString Value="two"/>', "", "of one text"),
    "a threading model with a capital": ("wix", '"both"', '"Both"', "ThreadingModel"),
    "a second key path": ("wix", 'Value="[#server.dll]"', 'Value="[#server.dll]" KeyPath="yes"', "one key path"),
    "a second component of an Id": ("wix", '<Component Id="shared"', '<Component Id="server.dll"', "Id is its own"),
    "a second component of a GUID": ("wix", "ABCDEF4", "ABCDEF0", "GUID is its own"),
    "a component without directory": ("wix3", ' Directory="INSTALLFOLDER"', "", "Component"),
    "a Value without Type": ("wix3", ' Type="string"', "", "RegistryValue"),
    "a text of a list as in the other version": ("wix3", "<MultiStringValue>one</", '<MultiStringValue Value="one"></', "Value"),
    "an advertised class": ("wix3", 'automation" Advertise="no"', 'automation" Advertise="yes"', "Advertise"),
    "a removal that names no time": ("wix3", ' Action="removeOnInstall"', "", "RemoveRegistryKey"),
    "arguments of a library": ("wix3", "LocalServer32", "InprocServer32", "for a program"),
}


@pytest.mark.parametrize("kind", GOOD)
def test_a_right_file_is_taken(kind):
    assert complaints(kind, (FOLDER / GOOD[kind]).read_bytes()) == []


@pytest.mark.parametrize("name", BROKEN)
def test_a_broken_file_is_refused(name):
    kind, right, wrong, complaint = BROKEN[name]
    text = (FOLDER / GOOD[kind]).read_text()
    assert text.count(right) == 1
    found = complaints(kind, text.replace(right, wrong).encode())
    assert any(complaint in line for line in found), found


# Every kind and every way to write it, as words of keykit emit.
WAYS = [["wix"], ["wix3"], ["wix", "--native"], ["wix3", "--native"]]


@pytest.mark.parametrize("way", WAYS, ids=" ".join)
def test_what_keykit_writes_is_as_the_reference_says(desk, way):
    odd = ["x-y.dll", "x_y.dll", "%s.dll" % (100 * "a")]
    for name in odd:
        (desk.folder / name).write_bytes(image(64))
    entries = [line for name in odd for line in ("[%s\\%s]" % (KEY, name), r'@="Z:\\build\\bin\\%s"' % name)]
    files = [*CAPTURES, desk.capture("[%s]" % KEY, *(line for line, *_ in FORMS), *entries)]
    words = [word for name in odd for word in ("--server", "%s=Z:\\build\\bin\\%s" % (desk.folder / name, name))]
    outputs = [desk.emit(way[0], file, *way[1:], *words).stdout for file in files]
    for file, output in zip(files, outputs):
        assert complaints(way[0], output) == [], file
    assert sum(output.count(b"<RegistryValue ") for output in outputs) > 2000
