"""keykit emit: every entry of a capture reaches every kind of installer, or is named. What a kind says is evaluated by the
independent readers of readers.py and compared with the capture, which an independent reader reads as well."""

import json
import re
import subprocess

import jsonschema
import pytest
import readers
from conftest import KINDS, PRODUCT, ROOT, Desk, image, keykit
from readers import BINARY, DWORD, EXPAND_SZ, MULTI_SZ, SZ, THERE, list_data, regfile, text_data

FILES = {"server.dll": "server.dll"}
KEY = "HKEY_CLASSES_ROOT\\KeyreapRoad"
CLASS = "HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}"
FILE = THERE + "\\server.dll"


def hexed(data):
    return ",".join("%02x" % byte for byte in data)


# An entry of a capture, and the data that every kind has to bring to the target machine.
FORMS = [
    ('@="plain"', "", SZ, text_data("plain")),
    (r'"quoted \"name\""="C \"quoted\""', 'quoted "name"', SZ, text_data('C "quoted"')),
    (r'"lone"="\"', "lone", SZ, text_data("\\")),
    ('"signs"="$0 %PATH% [x] {y} {{ #3 & <z> \'q\' ; ${a} $INSTDIR [#f] [~] {app}"', "signs", SZ,
     text_data("$0 %PATH% [x] {y} {{ #3 & <z> 'q' ; ${a} $INSTDIR [#f] [~] {app}")),
    ('"{$[name]}"="x"', "{$[name]}", SZ, text_data("x")),
    ('"dollars"="$$"', "dollars", SZ, text_data("$$")),
    ('"number sign"="#3"', "number sign", SZ, text_data("#3")),
    ('"empty"=""', "empty", SZ, text_data("")),
    ('"letters"="\u00e4\u4e00\U0001f600"', "letters", SZ, text_data("\u00e4\u4e00\U0001f600")),
    (r'"path"="Z:\\build\\bin\\server.dll"', "path", SZ, text_data(FILE)),
    (r'"other case"="z:\\BUILD\\bin\\Server.DLL"', "other case", SZ, text_data(FILE)),
    (r'"command"="\"Z:\\build\\bin\\server.dll\" /x \"%1\""', "command", SZ, text_data('"%s" /x "%%1"' % FILE)),
    (r'"icon"="Z:\\build\\bin\\server.dll,-101"', "icon", SZ, text_data(FILE + ",-101")),
    (r'"resource"="Z:\\build\\bin\\server.dll\\2"', "resource", SZ, text_data(FILE + "\\2")),
    (r'"long"="\\\\?\\Z:\\build\\bin\\server.dll"', "long", SZ, text_data(FILE)),
    ('"url"="file:///Z:/build/bin/server.dll"', "url", SZ, text_data("file:///" + FILE)),
    (r'"short"="Z:\\BU~1\\bin\\SERVER~1.DLL"', "short", SZ, text_data("Z:\\BU~1\\bin\\SERVER~1.DLL")),
    (r'"folder"="Z:\\build\\bin"', "folder", SZ, None),
    (r'"neighbour"="Z:\\build\\bin\\other.chm"', "neighbour", SZ, text_data(THERE + "\\other.chm")),
    (r'"Z:\\build\\bin\\server.dll"=dword:00000001', FILE, DWORD, b"\1\0\0\0"),
    ('"expand"=hex(2):' + hexed(text_data("%a% Z:\\build\\bin\\server.dll")), "expand", EXPAND_SZ, text_data("%a% " + FILE)),
    ('"no expand"=hex(2):,00,00', "no expand", EXPAND_SZ, text_data("")),
    ('"multi"=hex(7):' + hexed(list_data(["a", "bc"])), "multi", MULTI_SZ, list_data(["a", "bc"])),
    ('"lone text"=hex(7):' + hexed(list_data(["a {b}"])), "lone text", MULTI_SZ, list_data(["a {b}"])),
    ('"number"=dword:80000010', "number", DWORD, b"\x10\0\0\x80"),
    ('"bytes"=hex:' + ",".join(["ab"] * 25) + ",\\\r\n  cd", "bytes", BINARY, b"\xab" * 25 + b"\xcd"),
]
# The only one whose data differ: the property of a folder ends in a backslash.
FOLDER = {"wix": THERE + "\\", "wix3": THERE + "\\", "wixl": THERE + "\\"}


def expected_forms(kind):
    values = {name: (of_type, data) for _, name, of_type, data in FORMS}
    values["folder"] = (SZ, text_data(FOLDER.get(kind, THERE)))
    return {name: value for name, value in values.items() if (kind, name) != ("wixl", "dollars")}


# What is named, though the rest is carried. A short name that isn't the server's could be any file's.
NAMES = {"short": "has a path of the build machine: Z:\\BU~1\\bin\\SERVER~1.DLL"}
OWN_NAMES = {"wixl": {"dollars": "has two dollar signs in a row, which wixl changes"}}


@pytest.mark.parametrize("kind", KINDS)
def test_every_form_reaches_every_kind(desk, kind):
    result = desk.emit(kind, desk.capture("[%s]" % KEY, *(line for line, *_ in FORMS)))
    assert result.returncode == 1
    assert dict(re.findall(r'value "(\w+)": (.*)', result.stderr.decode())) == dict(NAMES, **OWN_NAMES.get(kind, {}))
    registry = readers.read(kind, result.stdout, FILES)
    assert registry["HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad"] == expected_forms(kind)


@pytest.mark.parametrize("kind", KINDS)
def test_short_names_are_replaced(desk, kind):
    lines = ["[%s]" % KEY, r'@="Z:\\BUILDS~1\\bin\\MYSERV~1.DLL"']
    (desk.folder / "my server.dll").write_bytes(image(64))
    words = ["--product", PRODUCT, "--server", "%s/my server.dll=Z:\\build sources\\bin\\my server.dll" % desk.folder]
    words += ["--directory", "C:\\there"] if kind == "reg" else []
    result = keykit("emit", kind, desk.capture(*lines), *words)
    assert result.returncode == 0, result.stderr
    registry = readers.read(kind, result.stdout, {"my_server.dll": "my server.dll"})
    assert registry["HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad"] == {"": (SZ, text_data(THERE + "\\my server.dll"))}


@pytest.mark.parametrize("kind", KINDS)
def test_a_name_alone_is_replaced_where_a_file_belongs(desk, kind):
    result = desk.emit(kind, desk.capture("[%s]" % CLASS, '@="server.dll"', "[%s\\InprocServer32]" % CLASS, '@="server.dll"'))
    assert result.returncode == 0, result.stderr
    registry = readers.read(kind, result.stdout, FILES)
    classes = CLASS.replace("HKEY_CLASSES_ROOT", "HKEY_LOCAL_MACHINE\\Software\\Classes")
    assert registry[classes] == {"": (SZ, text_data("server.dll"))}
    assert registry[classes + "\\InprocServer32"] == {"": (SZ, text_data(FILE))}


@pytest.mark.parametrize("kind", ["wix", "wix3", "wixl", "inno", "reg", "json"])
def test_paths_in_lists_are_replaced(desk, kind):
    texts = ["Z:\\build\\bin\\server.dll", "{x}"]
    result = desk.emit(kind, desk.capture("[%s]" % KEY, "@=hex(7):" + hexed(list_data(texts))))
    assert result.returncode == 0, result.stderr
    registry = readers.read(kind, result.stdout, FILES)
    assert registry["HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad"] == {"": (MULTI_SZ, list_data([FILE, "{x}"]))}


# The golden files of the captures


CAPTURES = sorted((ROOT / "tests" / "endtoend" / "golden").glob("*.reg"))
NAMED = re.compile(r'\S+:\d+: (HKEY_.*?)(?:, default value|, value "(.*)")?: (?:has|is|can|could|belongs|names|differs) ', re.S)


def target(path):
    return re.sub(r"^HKEY_CLASSES_ROOT", r"HKEY_LOCAL_MACHINE\\Software\\Classes", path)


def named_in(stderr):
    """Key and value of each message about an entry."""
    messages = re.split(r"^keykit: ", stderr, flags=re.M)[1:]
    return {(found[1], found[2] or "") for found in map(NAMED.match, messages) if found}


def without_tail(kind, data):
    """A text up to its NUL, and a list with the NULs at its end."""
    if kind in (SZ, EXPAND_SZ):
        return text_data(data.decode("utf-16-le", "surrogatepass").rstrip("\0"))
    if kind == MULTI_SZ:
        texts = data.decode("utf-16-le", "surrogatepass").rstrip("\0")
        return list_data(texts.split("\0") if texts else [])
    return data


@pytest.mark.parametrize("kind", KINDS)
def test_every_entry_of_the_golden_files_is_emitted_or_named(desk, kind):
    emitted, named = 0, 0
    for file in CAPTURES:
        result = desk.emit(kind, file)
        assert result.returncode == 1, "no entry names the server"
        registry, names = readers.read(kind, result.stdout, FILES), named_in(result.stderr.decode("utf-8"))
        for key, values in regfile.parse(file.read_bytes()).items():
            for name, value in values.items():
                found = registry.get(target(key), {}).get(name)
                if found is None or value is None:
                    assert (readable(key), readable(name)) in names, (file, key, name)
                    # The rest has no data in the capture, so no kind can carry it.
                    named += value is not None and value[1] is not None
                else:
                    assert found == (value[0], without_tail(*value)), (file, key, name)
                    emitted += 1
    print("%s: %d entries emitted, %d named" % (kind, emitted, named))
    assert emitted > 2000 and named < emitted / 10


def readable(text):
    """As in a message, where half a character is replaced, and a control character is a blank."""
    return re.sub(r"[\x00-\x1f\x7f-\x9f\u2028\u2029]", " ", text.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "replace"))


@pytest.mark.parametrize("kind", KINDS)
def test_keys_without_values_are_made(desk, kind):
    lines = ["[%s]" % KEY, r'@="Z:\\build\\bin\\server.dll"', "[%s\\empty]" % KEY, "[HKEY_LOCAL_MACHINE\\Software\\Shared]"]
    result = desk.emit(kind, desk.capture(*lines))
    assert result.returncode == 0, result.stderr
    registry = readers.read(kind, result.stdout, FILES)
    assert registry["HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad\\empty"] == {}
    assert registry["HKEY_LOCAL_MACHINE\\Software\\Shared"] == {}


def test_json_is_as_its_schema_says(desk):
    schema = json.loads((ROOT / "docs" / "keykit.schema.json").read_text())
    checker = jsonschema.Draft202012Validator(schema)
    for file in CAPTURES:
        assert list(checker.iter_errors(json.loads(desk.emit("json", file).stdout))) == [], file
    broken = json.loads(desk.emit("json", CAPTURES[0]).stdout)
    broken["components"][0]["keys"][0]["values"][0]["type"] = "REG_SZ"
    assert len(list(checker.iter_errors(broken))) == 1


def test_a_reg_file_that_is_emitted_again_is_the_same(desk):
    """What a capture means is kept: the second time nothing changes any more."""
    for file in CAPTURES:
        first = desk.folder / "first.reg"
        first.write_bytes(desk.emit("reg", file).stdout)
        assert desk.emit("reg", first).stdout == first.read_bytes(), file


# What is refused, and what is named

PATH = r'@="Z:\\build\\bin\\server.dll"'


def test_a_server_of_the_other_bitness_is_refused(tmp_path):
    desk = Desk(tmp_path, 32)
    result = desk.emit("wix", desk.capture("[%s]" % KEY, PATH), "--bitness", "64")
    assert (result.returncode, result.stdout) == (2, b"")
    assert result.stderr == b"keykit: server.dll: it is a 32-bit file, and not of 64 bits\n"


def test_servers_of_both_bitnesses_are_refused(desk):
    (desk.folder / "b.dll").write_bytes(image(32))
    result = desk.emit("wix", desk.capture("[%s]" % KEY, PATH), "--server", desk.folder / "b.dll")
    assert (result.returncode, result.stdout) == (2, b"")


@pytest.mark.parametrize("name", ["server.dll", "SERVER.DLL"])
def test_two_servers_of_one_name_are_refused(desk, name):
    (desk.folder / "x").mkdir()
    (desk.folder / "x" / name).write_bytes(image(64))
    for kind, server in [("nsis", desk.folder / "x" / name), ("wix", desk.server)]:
        result = desk.emit(kind, desk.capture("[%s]" % KEY, PATH), "--server", server)
        assert (result.returncode, result.stdout) == (2, b"")
        assert re.fullmatch(rb"keykit: --server: there are two files of the name (?i:server.dll), and one folder gets them\n", result.stderr)


def test_a_missing_file_is_refused(desk):
    capture = desk.capture("[%s]" % KEY, PATH)
    words = ["emit", "nsis", capture, "--product", PRODUCT, "--server"]
    result = keykit(*words, desk.folder / "none.dll")
    assert (result.returncode, result.stderr.decode()) == (2, "keykit: %s/none.dll: the server's file can't be read\n" % desk.folder)
    result = desk.emit("nsis", desk.folder / "none.reg")
    assert (result.returncode, result.stderr.decode()) == (2, "keykit: %s/none.reg: the capture can't be read\n" % desk.folder)
    result = keykit(*words, capture)
    assert (result.returncode, result.stderr.decode()) == (2, "keykit: %s: it is neither a PE image nor a type library\n" % capture)


def test_a_file_that_is_no_reg_file_is_refused_with_its_place(desk):
    result = desk.emit("nsis", desk.capture("[%s]" % KEY, "no entry"))
    assert (result.returncode, result.stdout) == (2, b"")
    assert re.match(r"keykit: \S+/server.reg:4:1: expected ", result.stderr.decode())


def test_a_type_library_needs_the_bitness(desk):
    (desk.folder / "server.tlb").write_bytes(b"MSFT\2\0")
    capture = desk.capture("[%s]" % KEY, '@="%s"' % ("Z:" + str(desk.folder).replace("/", "\\") + "\\server.tlb").replace("\\", "\\\\"))
    words = ["emit", "nsis", capture, "--product", PRODUCT, "--server", desk.folder / "server.tlb"]
    result = keykit(*words)
    assert (result.returncode, result.stderr) == (2, b"keykit: server.tlb: a type library has no bitness; --bitness says it\n")
    result = keykit(*words, "--bitness", "32")
    assert result.returncode == 0, result.stderr
    assert b"HKLM32" in result.stdout and b'"$INSTDIR\\server.tlb"' in result.stdout


@pytest.mark.parametrize(
    "words, sentence",
    [
        (["--product", "x"], "--product: 'x' is no GUID"),
        (["--directory", "$INSTDIR"], "--directory: '$INSTDIR' is no identifier, which wix needs"),
        (["--replace", "C:\\x"], "--replace: 'C:\\x' is not PATH=NAME"),
        (["--scope", "all"], "--scope: all not in {machine,user}"),
        (["--bitness", "16"], "--bitness: 16 not in {32,64}"),
    ],
)
def test_a_wrong_word_is_named(desk, words, sentence):
    product = [] if "--product" in words else ["--product", PRODUCT]
    result = keykit("emit", "wix", desk.capture("[%s]" % KEY, PATH), "--server", desk.server, *product, *words)
    assert (result.returncode, result.stdout, result.stderr.decode()) == (2, b"", "keykit: %s\n" % sentence)


def test_the_words_that_are_needed_are_needed(desk):
    capture = desk.capture("[%s]" % KEY, PATH)
    for words in (["emit"], ["emit", "wix"], ["emit", "wix", capture], ["emit", "wix", capture, "--product", PRODUCT],
                  ["emit", "wix", capture, "--server", desk.server], ["carry", capture], []):
        result = keykit(*words)
        assert (result.returncode, result.stdout) == (2, b"") and result.stderr.startswith(b"keykit: "), words


def test_what_the_machine_has_is_named_for_a_user(desk):
    lines = ["[%s]" % KEY, PATH, "[HKEY_LOCAL_MACHINE\\Software\\Road]", '"one"="1"', '"two"="2"']
    result = desk.emit("inno", desk.capture(*lines), "--scope", "user")
    assert result.returncode == 1
    assert [name for _, name in sorted(named_in(result.stderr.decode()))] == ["one", "two"]
    registry = readers.read("inno", result.stdout, FILES)
    assert registry["HKEY_CURRENT_USER\\Software\\Classes\\KeyreapRoad"] == {"": (SZ, text_data(FILE))}
    assert b"HKCU64" in result.stdout and b"HKLM" not in result.stdout and b"HKA" not in result.stdout


def test_another_path_of_the_build_machine_is_replaced(desk):
    lines = ["[%s]" % KEY, PATH, r'"help"="D:\\docs\\en\\x.chm"', r'"system"="C:\\windows\\system32\\y.dll"']
    words = ["--replace", "D:\\docs=DOCS", "--replace", "C:\\windows\\system32=SystemFolder"]
    result = desk.emit("wix", desk.capture(*lines), *words)
    assert result.returncode == 0, result.stderr
    assert b'Value="[DOCS]en\\x.chm"' in result.stdout and b'Value="[SystemFolder]y.dll"' in result.stdout
    result = desk.emit("wix", desk.capture("[%s]" % KEY, PATH), *words[:2])
    assert (result.returncode, result.stderr) == (1, b"keykit: no entry names D:\\docs\n")


@pytest.mark.parametrize(
    "lines, sentence",
    [
        ([r'"odd"=hex(2):41,00,42'], 'value "odd": is a text that ends within a character'),
        ([r'"odd"=hex(7):41,00,00,00,42'], 'value "odd": is a text that ends within a character'),
        ([r'"bytes"=hex:43,00,3a,00,5c,00,78,00'], 'value "bytes": has a path of the build machine in its bytes'),
        ([r"[HKEY_CLASSES_ROOT\V\C:/build/other]", '"x"="y"'], "V\\C:/build/other: has a path of the build machine in its name: C:/build/other"),
        ([r"[HKEY_CLASSES_ROOT\V\Z:/build/bin/server.dll]"], "has a path of the build machine in its name: Z:/build/bin/server.dll"),
        ([r"[HKEY_LOCAL_MACHINE\Software\Wow6432Node\Road]", '"x"="y"'], "Road: names the 32-bit view, which an installer chooses by itself"),
        ([r"[HKEY_CLASSES_ROOT\Wow6432Node\CLSID\{B29A312E-EB83-43BC-A846-E0C0563B8877}]", '"x"="y"'], "names the 32-bit view, which"),
    ],
)
def test_what_works_on_the_build_machine_alone_is_named(desk, lines, sentence):
    result = desk.emit("nsis", desk.capture("[%s]" % KEY, PATH, *lines))
    assert result.returncode == 1 and sentence in result.stderr.decode()
    assert result.stderr.count(b"\n") == 1


def test_the_result_goes_to_a_file(desk):
    capture, out = desk.capture("[%s]" % KEY, PATH), desk.folder / "out.nsh"
    printed = desk.emit("nsis", capture).stdout
    result = desk.emit("nsis", capture, "-o", out)
    assert (result.returncode, result.stdout) == (0, b"")
    assert out.read_bytes() == printed
    result = desk.emit("nsis", capture, "-o", desk.folder / "none" / "out.nsh")
    assert result.returncode == 2 and b"it can't be written" in result.stderr


# GUIDs, components and the removal


def test_guids_follow_from_the_product_and_not_from_the_entries(desk):
    def guids(*lines, product=PRODUCT, scope="machine"):
        words = ["--product", product, "--scope", scope, "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server]
        output = keykit("emit", "wix", desk.capture(*lines), *words).stdout
        return [component["Guid"] for component in readers.wix(output, FILES, "INSTALLFOLDER")[1]]

    one = guids("[%s]" % KEY, PATH)
    assert one == guids("[%s]" % CLASS, PATH)
    others = [guids("[%s]" % KEY, PATH, product=PRODUCT.replace("1", "2")), guids("[%s]" % KEY, PATH, scope="user")]
    others.append(guids("[HKEY_CURRENT_USER\\Software\\Road]", PATH))
    assert len({guid for guids in [one, *others] for guid in guids}) == 4


def test_what_others_need_stays(desk):
    shared = "HKEY_CLASSES_ROOT\\Interface\\{00020400-0000-0000-C000-000000000046}"
    capture = desk.capture("[%s]" % KEY, PATH, "[%s]" % shared, '@="IDispatch"')
    for kind in ("wix", "wix3"):
        _, components = readers.wix(desk.emit(kind, capture).stdout, FILES, "INSTALLFOLDER")
        assert [component.get("Permanent") for component in components] == [None, "yes"], kind
    _, components = readers.wixl(desk.emit("wixl", capture).stdout, FILES, "INSTALLFOLDER")
    assert [component["Guid"] == "" for component in components] == [False, True], "without a GUID nothing is removed"
    document = readers.of_json(desk.emit("json", capture).stdout)[1]
    assert [component["isKept"] for component in document["components"]] == [False, True]
    _, removal = readers.nsis(desk.emit("nsis", capture).stdout)
    assert removal and not any("00020400" in line for line in removal)
    _, lines = readers.inno(desk.emit("inno", capture).stdout)
    assert [line.get("Flags") for line in lines if "00020400" in line["Subkey"]] == [None]


def test_the_removal_of_a_script_takes_values_first_and_then_empty_keys_from_the_deepest(desk):
    capture = desk.capture("[%s\\deep\\deeper]" % KEY, PATH)
    _, removal = readers.nsis(desk.emit("nsis", capture).stdout)
    depths = [line.count("\\") for line in removal[1:]]
    assert removal[0].startswith("  DeleteRegValue HKLM64 ") and depths == sorted(depths, reverse=True)
    assert all(line.startswith("  DeleteRegKey /ifempty HKLM64 ") for line in removal[1:])
    _, lines = readers.inno(desk.emit("inno", capture).stdout)
    flags = [line["Flags"] for line in lines]
    assert flags == ["uninsdeletekeyifempty"] * (len(lines) - 1) + ["uninsdeletevalue"], "the removal goes backwards"


def test_64_bit_lines_of_inno_are_for_64_bit_systems_alone(tmp_path):
    for bitness in (64, 32):
        folder = tmp_path / str(bitness)
        folder.mkdir()
        desk = Desk(folder, bitness)
        _, lines = readers.inno(desk.emit("inno", desk.capture("[%s]" % KEY, PATH)).stdout)
        assert {line["Root"] for line in lines} == {"HKLM%d" % bitness}
        assert {line.get("Check") for line in lines} == {"IsWin64" if bitness == 64 else None}


# Compilers of installers

PACKAGE = """<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
  <Product Id="*" Name="Road" Version="1.0.0" Language="1033" Manufacturer="Road" UpgradeCode="b29a312e-eb83-43bc-a846-e0c0563b8802">
    <Package Compressed="yes" InstallerVersion="200"/>
    <Media Id="1" Cabinet="files.cab" EmbedCab="yes"/>
    <Directory Id="TARGETDIR" Name="SourceDir"><Directory Id="WindowsVolume"><Directory Id="INSTALLFOLDER" Name="there">
      <Component Id="Files" Guid="b29a312e-eb83-43bc-a846-e0c0563b8803" Win64="yes">
        <File Id="server.dll" Source="server.dll" KeyPath="yes"/>
      </Component>
    </Directory></Directory></Directory>
    <Feature Id="All" Level="1"><ComponentRef Id="Files"/><ComponentGroupRef Id="server_x64"/></Feature>
  </Product>
</Wix>
"""

# Hives as the Registry table has them.
HIVES = {"1": "HKEY_CURRENT_USER", "2": "HKEY_LOCAL_MACHINE", "3": "HKEY_USERS"}


def rows_of(msi):
    """Key, name and text of each row of the Registry table."""
    printed = subprocess.run(["msiinfo", "export", msi, "Registry"], check=True, capture_output=True).stdout.decode("utf-8")
    for line in printed.replace("\r\n", "\n").split("\n")[3:-1]:
        _, root, key, name, text, _ = line.split("\t")
        yield "%s\\%s" % (HIVES[root], key.rstrip("\\")), name, text


def test_wixl_takes_what_is_for_the_third_version(desk):
    """A status of 0 proves nothing, so the rows are read back. wixl has no lists, makes no keys without values, writes
    bytes and expandable texts without the signs that say their types, crashes at letters outside its code page, and makes three dollar signs of two."""
    left_out = {"multi", "letters", "short", "dollars"}
    lines = [line for line, name, *_ in FORMS if name not in left_out]
    result = desk.emit("wix3", desk.capture("[%s]" % KEY, *lines))
    assert result.returncode == 0, result.stderr
    (desk.folder / "server.wxs").write_bytes(result.stdout)
    (desk.folder / "package.wxs").write_text(PACKAGE)
    subprocess.run(["wixl", "--arch", "x64", "-o", "road.msi", "package.wxs", "server.wxs"], check=True, cwd=desk.folder)
    found = {name: formatted_row(text) for _, name, text in rows_of(desk.folder / "road.msi")}
    expected = {name: value for name, value in expected_forms("wix3").items() if name not in left_out}
    assert {readers.formatted(name, FILES, "INSTALLFOLDER"): value for name, value in found.items()} == {
        name: row_text(*value) for name, value in expected.items()
    }
    assert {key for key, *_ in rows_of(desk.folder / "road.msi")} == {"HKEY_LOCAL_MACHINE\\Software\\Classes\\KeyreapRoad"}


def formatted_row(text):
    text = text[1:] if text.startswith("##") else text
    return readers.formatted(text, FILES, "INSTALLFOLDER")


def row_text(kind, data):
    """The data as wixl writes them."""
    if kind == DWORD:
        return "#%d" % int.from_bytes(data, "little", signed=True)
    if kind == MULTI_SZ:
        return "\0" + data.decode("utf-16-le")[:-1]
    return data.hex() if kind == BINARY else data.decode("utf-16-le").rstrip("\0")
