"""Reads what `keykit emit` writes, one reader for each kind, and evaluates it as the installer would: the values of each
key, by the key's path on the target machine, with type and bytes by name. The readers follow the published descriptions
of the installers, and share nothing with the writers."""

import json
import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tests" / "support"))

import regfile  # noqa: E402

THERE = "C:\\there"
SZ, EXPAND_SZ, BINARY, DWORD, MULTI_SZ, QWORD = 1, 2, 3, 4, 7, 11

ROOTS = {"HKLM": "HKEY_LOCAL_MACHINE", "HKCU": "HKEY_CURRENT_USER", "HKU": "HKEY_USERS", "HKCC": "HKEY_CURRENT_CONFIG"}


def encoded(text):
    return text.encode("utf-16-le", "surrogatepass")


def text_data(text):
    return encoded(text + "\0")


def list_data(texts):
    return encoded("".join(text + "\0" for text in texts) + "\0")


class Registry(dict):
    """The values by name, by key. A key or a name that is set again has to have the same spelling."""

    def add(self, key, name, kind, data):
        assert name not in self.setdefault(key, {}), (key, name)
        self[key][name] = (kind, data)


# Windows Installer

FORMATTED = re.compile(r"\[~\]|\[\\(.)\]|\[#([\w.]+)\]|\[(\w+)\]", re.S)


def formatted(text, files, folder):
    """The text as Windows Installer evaluates it; NULs for separators."""

    def evaluated(found):
        if found[0] == "[~]":
            return "\0"
        if found[1]:
            return found[1]
        return "%s\\%s" % (THERE, files[found[2]]) if found[2] else {folder: THERE + "\\"}[found[3]]

    return FORMATTED.sub(evaluated, text)


def without_doubled(text):
    assert "$" not in text.replace("$$", "")
    return text.replace("$$", "$")


def tag(element):
    return element.tag.rpartition("}")[2]


def wix(data, files, folder):
    """wix and wix3. Returns the registry and the components' attributes."""
    registry, components = Registry(), []
    document = ElementTree.fromstring(data)
    for component in (element for element in document.iter() if tag(element) == "Component"):
        components.append(dict(component.attrib))
        values = [value for key in component for value in key]
        assert [value.get("KeyPath") for value in values].count("yes") + (component.get("KeyPath") == "yes") == 1
        for key in component:
            path = "%s\\%s" % (ROOTS[key.get("Root")], formatted(without_doubled(key.get("Key")), files, folder))
            if len(key) == 0:
                assert key.get("ForceCreateOnInstall") == "yes"
                registry.setdefault(path, {})
            for value in key:
                kind, content = wix_value(value, files, folder)
                registry.add(path, formatted(without_doubled(value.get("Name", "")), files, folder), kind, content)
    return registry, components


def wix_value(value, files, folder):
    def evaluated(text):
        return formatted(without_doubled(text), files, folder)

    kind = value.get("Type")
    if kind == "multiString":
        texts = [item.get("Value") if tag(item) == "MultiString" else item.text or "" for item in value]
        assert len(texts) > 1, "the tools make a string of it"
        return MULTI_SZ, list_data([evaluated(text) for text in texts])
    text = value.get("Value")
    if kind == "integer":
        return DWORD, int(text).to_bytes(4, "little", signed=True)
    if kind == "binary":
        return BINARY, bytes.fromhex(text)
    if kind == "string" and text.startswith("[~]"):
        return MULTI_SZ, list_data(evaluated(text).split("\0")[1:-1])
    return {"string": SZ, "expandable": EXPAND_SZ}[kind], text_data(evaluated(text))


def wixl(data, files, folder):
    registry, components = Registry(), []
    for component in ElementTree.fromstring(data):
        components.append(dict(component.attrib))
        assert [row.get("KeyPath") for row in component].count("yes") == 1
        for row in component:
            path = "%s\\%s" % (ROOTS[row.get("Root")], formatted(without_doubled(row.get("Key")), files, folder))
            name = formatted(without_doubled(row.get("Name")), files, folder)
            if name in ("*", "+"):
                registry.setdefault(path, {})
                continue
            registry.add(path, name, *wixl_value(row, files, folder))
    return registry, components


def wixl_value(row, files, folder):
    text = without_doubled(row.get("Value"))
    if row.get("Type") == "integer":
        return DWORD, int(text).to_bytes(4, "little", signed=True)
    if row.get("Type") == "binary":
        return BINARY, bytes.fromhex(text.removeprefix("#x"))
    if row.get("Type") == "expandable":
        return EXPAND_SZ, text_data(formatted(text.removeprefix("#%"), files, folder))
    if text.startswith("[~]"):
        return MULTI_SZ, list_data(formatted(text, files, folder).split("\0")[1:-1])
    return SZ, text_data(formatted(text, files, folder))


# NSIS

NSIS_TEXT = r'"((?:[^"$]|\$.|\$\\.)*)"'
NSIS_LINE = re.compile(r"  (\w+)(?: /(\w+))? (HK\w+?)(?:32|64)? %s(?: %s)?(?: (.*))?$" % (NSIS_TEXT, NSIS_TEXT), re.S)
NSIS_FIRST = {"${U+24}": "$", "$\\r": "\r", "$\\n": "\n", "$\\t": "\t", '$\\"': '"'}
NSIS_THEN = {"$$": "$", "$INSTDIR": THERE}


def nsis_text(quoted):
    """As the compiler reads it: symbols, the environment and escapes first, and then dollar signs and variables."""
    assert not re.search(r"\$\{(?!U\+24\})|\$%", quoted), "the preprocessor may replace it"
    text = re.sub(r"\$\{U\+24\}|\$\\.", lambda found: NSIS_FIRST[found[0]], quoted)
    return re.sub(r"\$\$|\$INSTDIR", lambda found: NSIS_THEN[found[0]], text)


def nsis(data):
    """The registry after the macro Register, and the lines of the macro Unregister."""
    text = data.decode("utf-8-sig")
    macros = re.findall(r"^!macro \w+_(Register|Unregister)\n(.*?)^!macroend\n", text, re.M | re.S)
    assert [name for name, _ in macros] == ["Register", "Unregister"]
    registry = Registry()
    for line in macros[0][1].splitlines():
        command, _, root, key, name, rest = NSIS_LINE.match(line).groups()
        path, name = "%s\\%s" % (ROOTS[root], nsis_text(key)), nsis_text(name)
        if command == "DeleteRegValue":
            del registry[path][name]
        else:
            registry.add(path, name, *nsis_value(command, rest))
    return registry, macros[1][1].splitlines()


def nsis_value(command, rest):
    if command == "WriteRegDWORD":
        return DWORD, int(rest, 16).to_bytes(4, "little")
    if command == "WriteRegMultiStr":
        return MULTI_SZ, bytes.fromhex(rest)
    text = re.fullmatch(NSIS_TEXT, rest, re.S)[1]
    if command == "WriteRegBin":
        return BINARY, bytes.fromhex(text)
    return {"WriteRegStr": SZ, "WriteRegExpandStr": EXPAND_SZ}[command], text_data(nsis_text(text))


# Inno Setup

INNO_PARAMETER = re.compile(r'(\w+): (?:"((?:[^"]|"")*)"|([^";]*))(?:; |$)')
INNO_TYPES = {"string": SZ, "expandsz": EXPAND_SZ, "dword": DWORD, "qword": QWORD, "binary": BINARY, "multisz": MULTI_SZ}
INNO_CONSTANTS = {"{{": "{", "{app}": THERE, "{break}": "\0"}


INNO_BRACE = re.compile(r"\{\{|\{\w+\}")


def inno_text(text):
    """A brace that begins neither a constant nor a pair is an error."""
    assert "{" not in INNO_BRACE.sub("", text), text
    return INNO_BRACE.sub(lambda found: INNO_CONSTANTS[found[0]], text)


def inno_parameters(line):
    parameters, at = {}, 0
    while at < len(line):
        found = INNO_PARAMETER.match(line, at)
        assert found and found[1] not in parameters, line
        parameters[found[1]] = found[3] if found[2] is None else found[2].replace('""', '"')
        at = found.end()
    return parameters


def inno(data):
    """The registry, and the parameters of each line."""
    head, *lines = data.decode("utf-8-sig").split("\n")[:-1]
    assert head == "[Registry]"
    registry, entries = Registry(), [inno_parameters(line) for line in lines]
    for entry in entries:
        path = "%s\\%s" % (ROOTS[re.sub(r"(32|64)$", "", entry["Root"])], inno_text(entry["Subkey"]))
        registry.setdefault(path, {})
        if "ValueType" in entry:
            kind = INNO_TYPES[entry["ValueType"]]
            registry.add(path, inno_text(entry.get("ValueName", "")), kind, inno_data(kind, entry["ValueData"]))
    return registry, entries


def inno_data(kind, text):
    if kind == DWORD:
        return int(text).to_bytes(4, "little")
    if kind == QWORD:
        return int(text.removeprefix("$"), 16).to_bytes(8, "little")
    if kind == BINARY:
        return bytes.fromhex(text)
    text = inno_text(text)
    return list_data(text.split("\0") if text else []) if kind == MULTI_SZ else text_data(text)


# The others


def reg(data):
    assert data.endswith(b"\r\0\n\0\r\0\n\0")
    return Registry(regfile.parse(data[:-4]))


def json_text(pieces, folder):
    texts = {"literal": lambda text: text, "directory": lambda name: {folder: THERE}[name], "file": lambda name: THERE + "\\" + name}
    return "".join(texts[kind](content) for piece in pieces for kind, content in piece.items())


def of_json(data):
    """The registry, and the whole document."""
    document = json.loads(data)
    registry = Registry()
    for key in (key for component in document["components"] for key in component["keys"]):
        path = "%s\\%s" % (key["root"], key["path"])
        registry.setdefault(path, {})
        for value in key["values"]:
            registry.add(path, json_text(value["name"], document["directory"]), value["type"], json_data(value, document["directory"]))
    return registry, document


def json_data(value, folder):
    if "text" in value:
        return text_data(json_text(value["text"], folder))
    if "list" in value:
        return list_data([json_text(text, folder) for text in value["list"]])
    return value["number"].to_bytes(4, "little") if "number" in value else bytes.fromhex(value["bytes"])


def read(kind, data, files):
    """The registry that any kind's output leaves."""
    if kind in ("wix", "wix3"):
        return wix(data, files, "INSTALLFOLDER")[0]
    if kind == "wixl":
        return wixl(data, files, "INSTALLFOLDER")[0]
    if kind == "reg":
        return reg(data)
    return {"nsis": nsis, "inno": inno, "json": of_json}[kind](data)[0]
