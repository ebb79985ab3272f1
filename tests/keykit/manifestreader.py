"""Reads what `keykit manifest` writes, and evaluates it as the registry entries that it stands for. It follows the published
description of manifests and shares nothing with the writer."""

import re
import xml.etree.ElementTree as ElementTree
from pathlib import Path

NAMESPACE = "{urn:schemas-microsoft-com:asm.v1}"
ARCHITECTURES = {"amd64": 64, "x86": 32}

# The attributes of each element that the published description names.
ATTRIBUTES = {
    "assembly": {"manifestVersion"},
    "assemblyIdentity": {"type", "name", "version", "processorArchitecture"},
    "file": {"name"},
    "comClass": {"clsid", "description", "threadingModel", "tlbid", "progid", "miscStatus", "miscStatusContent", "miscStatusThumbnail",
                 "miscStatusIcon", "miscStatusDocPrint"},
    "progid": set(),
    "typelib": {"tlbid", "version", "helpdir", "resourceid", "flags"},
    "comInterfaceExternalProxyStub": {"iid", "name", "tlbid", "baseInterface", "numMethods", "proxyStubClsid32"},
}
CHILDREN = {"assembly": {"assemblyIdentity", "file", "comInterfaceExternalProxyStub"}, "file": {"comClass", "typelib"}, "comClass": {"progid"}}

# OLEMISC of oleidl.h, but for 0x80000, and LIBFLAGS of oaidl.h.
MISC_STATUS = {
    "recomposeonresize": 0x1, "onlyiconic": 0x2, "insertnotreplace": 0x4, "static": 0x8, "cantlinkinside": 0x10, "canlinkbyole1": 0x20,
    "islinkobject": 0x40, "insideout": 0x80, "activatewhenvisible": 0x100, "renderingisdeviceindependent": 0x200,
    "invisibleatruntime": 0x400, "alwaysrun": 0x800, "actslikebutton": 0x1000, "actslikelabel": 0x2000, "nouiactivate": 0x4000,
    "alignable": 0x8000, "simpleframe": 0x10000, "setclientsitefirst": 0x20000, "imemode": 0x40000, "wantstomenumerge": 0x100000,
    "supportsmultilevelundo": 0x200000,
}
LIBRARY_FLAGS = {"restricted": 1, "control": 2, "hidden": 4, "hasdiskimage": 8}
# DVASPECT of wtypes.h.
ASPECTS = {"miscStatus": "", "miscStatusContent": "\\1", "miscStatusThumbnail": "\\2", "miscStatusIcon": "\\4", "miscStatusDocPrint": "\\8"}

ANY = object()  # a text that the file itself has


class OneOf(tuple):
    """Texts that say the same: all ProgIDs of a class lead to it, whichever of them another entry names."""

    def __eq__(self, other):
        return other in tuple(self)

    __hash__ = tuple.__hash__


def tag(element):
    assert element.tag.startswith(NAMESPACE), element.tag
    return element.tag.removeprefix(NAMESPACE)


def number_of(words, numbers):
    return str(sum(numbers[word] for word in words.split(",") if word))


class Manifest:
    """A manifest whose elements and attributes are all known ones. `folder` is where its files are."""

    def __init__(self, data, folder="Z:\\build\\bin"):
        self.root = ElementTree.fromstring(data)
        self.folder = folder
        self.check(self.root)
        assert self.root.get("manifestVersion") == "1.0"
        identities = self.root.findall(NAMESPACE + "assemblyIdentity")
        assert identities == [self.root[0]]
        self.identity = identities[0].attrib
        assert self.identity["type"] == "win32"
        assert re.fullmatch(r"\d+(\.\d+){3}", self.identity["version"])

    def check(self, element):
        assert set(element.attrib) <= ATTRIBUTES[tag(element)], element.attrib
        for child in element:
            assert tag(child) in CHILDREN[tag(element)]
            self.check(child)

    @property
    def bitness(self):
        return ARCHITECTURES[self.identity["processorArchitecture"]]

    def all(self, name):
        return list(self.root.iter(NAMESPACE + name))

    def entries(self):
        """The texts by key and name, both in upper case. A value of the class's own, such as a flag of 0, may be missing."""
        self.found = {}
        versions = {one.get("tlbid").upper(): one.get("version") for one in self.all("typelib")}
        for file in self.all("file"):
            path = "%s\\%s" % (self.folder, file.get("name"))
            for element in file:
                {"comClass": self.add_class, "typelib": self.add_library}[tag(element)](element, path, versions)
        for element in self.all("comInterfaceExternalProxyStub"):
            self.add_interface(element, versions)
        return self.found

    def add(self, key, text, name=""):
        if text is not None:
            place = ("HKEY_CLASSES_ROOT\\%s" % key).upper(), name.upper()
            assert place not in self.found, place
            self.found[place] = text

    def add_class(self, element, path, versions):
        key = "CLSID\\" + element.get("clsid")
        progids = [element.get("progid")] * ("progid" in element.attrib) + [child.text for child in element]
        self.add(key, element.get("description"))
        self.add(key + "\\InprocServer32", path)
        self.add(key + "\\InprocServer32", element.get("threadingModel"), "ThreadingModel")
        self.add(key + "\\TypeLib", element.get("tlbid"))
        self.add(key + "\\Version", hexadecimal(versions.get(element.get("tlbid", "").upper())))
        self.add(key + "\\ProgID", element.get("progid"))
        self.add(key + "\\VersionIndependentProgID", OneOf(progids) if progids else None)
        for attribute, below in ASPECTS.items():
            self.add(key + "\\MiscStatus" + below, number_of(element.get(attribute, ""), MISC_STATUS))
        for progid in progids:
            self.add(progid, element.get("description"))
            self.add(progid + "\\CLSID", element.get("clsid"))
            self.add(progid + "\\CurVer", OneOf(progids))

    def add_library(self, element, path, _):
        key = "TypeLib\\%s\\%s" % (element.get("tlbid"), hexadecimal(element.get("version")))
        number = "\\%d" % int(element.get("resourceid"), 16) if "resourceid" in element.attrib else ""
        self.add(key, ANY)
        self.add(key + "\\0\\win%d" % self.bitness, path + number)
        self.add(key + "\\FLAGS", number_of(element.get("flags", ""), LIBRARY_FLAGS))
        self.add(key + "\\HELPDIR", self.folder + ("\\" + element.get("helpdir")).rstrip("\\"))

    def add_interface(self, element, versions):
        key = "Interface\\" + element.get("iid")
        self.add(key, element.get("name"))
        self.add(key + "\\NumMethods", element.get("numMethods"))
        self.add(key + "\\BaseInterface", element.get("baseInterface"))
        self.add(key + "\\TypeLib", element.get("tlbid"))
        self.add(key + "\\TypeLib", hexadecimal(versions.get(element.get("tlbid", "").upper())), "Version")
        for name in ("ProxyStubClsid", "ProxyStubClsid32"):
            self.add(key + "\\" + name, element.get("proxyStubClsid32"))


def hexadecimal(version):
    return version and ".".join("%x" % int(part) for part in version.split("."))


def text_of(value):
    """The text of a captured value; None if it isn't one."""
    kind, data = value or (None, None)
    return data.decode("utf-16-le", "surrogatepass").rstrip("\0") if kind in (1, 2) else None


def read(file, **options):
    return Manifest(Path(file).read_bytes(), **options)
