"""Evaluates what `keykit emit --native` writes for WiX: the elements Class, ProgId, TypeLib and Interface produce registry
entries below HKEY_CLASSES_ROOT, RegistryValue is read by readers.py. Follows the schema's published description and shares
nothing with the writer. Only what is said here is known; any other element or attribute is an error."""

import uuid
import xml.etree.ElementTree as ElementTree

import readers
from readers import SZ, Registry, formatted, tag, text_data

FOLDER = "INSTALLFOLDER"
FLAGS = {"Restricted": 1, "Control": 2, "Hidden": 4, "HasDiskImage": 8}
MODELS = {"apartment", "free", "both", "neutral", "single", "rental"}
CONTEXTS = {"InprocServer32": "[#%s]", "LocalServer32": '"[#%s]"'}
CLASSES = {"HKLM": "HKEY_LOCAL_MACHINE\\Software\\Classes", "HKCU": "HKEY_CURRENT_USER\\Software\\Classes"}


def guid(text):
    return "{%s}" % str(uuid.UUID(text)).upper()


class Attributes(dict):
    """An element's; each has to be asked for, and none may be left."""

    def __init__(self, element):
        super().__init__(element.attrib)

    def yes(self, name):
        return {"yes": True, None: False}[self.pop(name, None)]

    def text(self, name):
        text = self.pop(name)
        assert text and text == text.strip() and not set(text) & set("[]{}$"), text
        return text

    def finish(self):
        assert not self, self


class Expansion:
    """The entries that the elements of one document produce."""

    def __init__(self, files, scope, bitness):
        self.files, self.classes, self.bitness = files, CLASSES[scope], bitness
        self.registry = Registry()

    def add(self, key, text, name=""):
        self.registry.add("%s\\%s" % (self.classes, key), name, SZ, text_data(formatted(text, self.files, FOLDER)))

    def add_key(self, key):
        self.registry.setdefault("%s\\%s" % (self.classes, key), {})

    def file(self, element):
        assert element.get("KeyPath") == "yes" and element.get("Source") == self.files[element.get("Id")]
        assert set(element.attrib) == {"Id", "Source", "KeyPath"}
        for child in element:
            {"TypeLib": self.type_library, "Class": self.class_}[tag(child)](child, element.get("Id"))

    def type_library(self, element, file):
        given = Attributes(element)
        assert given.pop("Advertise") == "no"
        library, version = guid(given.pop("Id")), "%x.%x" % (int(given.pop("MajorVersion")), int(given.pop("MinorVersion")))
        key = "TypeLib\\%s\\%s" % (library, version)
        self.add(key, given.text("Description"))
        self.add("%s\\%d\\win%d" % (key, int(given.pop("Language")), self.bitness), "[#%s]" % file)
        self.add(key + "\\FLAGS", str(sum(bit for name, bit in FLAGS.items() if given.yes(name))))
        if "HelpDirectory" in given:
            self.add(key + "\\HELPDIR", "[%s]" % given.pop("HelpDirectory"))
        given.finish()
        for child in element:
            if tag(child) == "Interface":
                self.interface(child, library, version)
            else:
                self.class_(child, file, library)

    def interface(self, element, library=None, version=None):
        assert tag(element) == "Interface" and len(element) == 0
        given = Attributes(element)
        key = "Interface\\" + guid(given.pop("Id"))
        self.add(key, given.text("Name"))
        if library:
            self.add(key + "\\TypeLib", library)
            self.add(key + "\\TypeLib", version, "Version")
        for attribute, below in [("ProxyStubClassId", "ProxyStubClsid"), ("ProxyStubClassId32", "ProxyStubClsid32"), ("BaseInterface", "BaseInterface")]:
            if attribute in given:
                self.add("%s\\%s" % (key, below), guid(given.pop(attribute)))
        if "NumMethods" in given:
            self.add(key + "\\NumMethods", str(int(given.pop("NumMethods"))))
        given.finish()

    def class_(self, element, file, library=None):
        assert tag(element) == "Class"
        given = Attributes(element)
        assert given.pop("Advertise") == "no"
        number, context = guid(given.pop("Id")), given.pop("Context")
        key, description = "CLSID\\" + number, given.pop("Description", None)
        server = CONTEXTS[context] % file
        self.add("%s\\%s" % (key, context), " ".join([server, given.text("Argument")] if "Argument" in given else [server]))
        if description:
            self.add(key, description)
        if "ThreadingModel" in given:
            model = given.pop("ThreadingModel")
            assert model in MODELS
            self.add("%s\\%s" % (key, context), model.capitalize(), "ThreadingModel")
        if "Version" in given:
            self.add(key + "\\Version", given.text("Version"))
        if library:
            self.add(key + "\\TypeLib", library)
        for mark in ("Control", "Insertable", "Programmable"):
            if given.yes(mark):
                self.add_key("%s\\%s" % (key, mark))
        given.finish()
        assert len(element) <= 1
        for child in element:
            self.prog_id(child, number, key, description)

    def prog_id(self, element, number, key, description, parent=None):
        """One in another is the same class without a version, and names the other as the current one."""
        assert tag(element) == "ProgId" and len(element) <= (0 if parent else 1)
        given = Attributes(element)
        assert given.pop("Advertise") == "no"
        name = given.text("Id")
        self.add(name, given.pop("Description", description))
        self.add(name + "\\CLSID", number)
        self.add("%s\\%s" % (key, "VersionIndependentProgID" if parent else "ProgID"), name)
        if parent:
            self.add(name + "\\CurVer", parent)
        given.finish()
        for child in element:
            self.prog_id(child, number, key, description, name)


def bitness_of(component):
    return {"always64": 64, "always32": 32, "yes": 64, "no": 32}[component.get("Bitness") or component.get("Win64")]


def evaluated(data, files, scope="HKLM"):
    """The registry that the document leaves, with folded keys; and the keys that are said by RegistryKey."""
    document = ElementTree.fromstring(data)
    group = next(element for element in document.iter() if tag(element) == "ComponentGroup")
    expansions = []
    for component in group:
        expansion = Expansion(files, scope, bitness_of(component))
        for element in [child for child in component if tag(child) != "RegistryKey"]:
            {"File": expansion.file, "Interface": expansion.interface}[tag(element)](element)
            component.remove(element)
            # The reader of values asserts that there is one key path.
            if tag(element) == "File":
                assert not [value for value in component.iter() if value.get("KeyPath")]
                component.set("KeyPath", "yes")
        expansions.append(expansion)
    registry, _ = readers.wix(ElementTree.tostring(document), files, FOLDER)
    values = {(key.lower(), name) for key, entries in registry.items() for name in entries or [None]}
    return folded([registry, *(expansion.registry for expansion in expansions)]), values


def folded(registries):
    """One registry with keys in lower case. An entry that is said twice is an error."""
    whole = Registry()
    for registry in registries:
        for key, entries in registry.items():
            whole.setdefault(key.lower(), {})
            for name, (kind, data) in entries.items():
                whole.add(key.lower(), name, kind, data)
    return whole
