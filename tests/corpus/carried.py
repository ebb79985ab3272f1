"""What an installer has to contain of a capture, derived from the capture by an independent reader and from docs/installer.md:
every value under the key where the installer writes it, with the server's path and folder replaced."""

import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "keykit"))

from readers import EXPAND_SZ, MULTI_SZ, SZ, THERE, list_data, regfile, text_data  # noqa: E402

CLASSES = "HKEY_LOCAL_MACHINE\\Software\\Classes"

# Keys that every system has.
CONTAINERS = {key.lower() for key in ("HKEY_CURRENT_USER", "HKEY_USERS", "HKEY_LOCAL_MACHINE", "HKEY_LOCAL_MACHINE\\Software", CLASSES)}

# Keys whose default value is a file.
PLACES = {"inprocserver32", "inprochandler32", "localserver32", "inprocserver", "localserver", "defaulticon", "toolboxbitmap32", "win32", "win64"}

AFTER_NAME = r"(?=[\"\s,;'|\\/?*<>#&)]|\Z)"


def installed(key):
    return re.sub(r"^HKEY_CLASSES_ROOT(?=\\|$)", lambda _: CLASSES, key)


class Carried:
    """What must be carried of a server's capture. Keys and names are in lower case."""

    def __init__(self, data, path):
        self.path, self.folder, self.name = path, path.rpartition("\\")[0], path.rpartition("\\")[2]
        self.values, keys = {}, {}
        for key, values in regfile.parse(data).items():
            keys.setdefault(installed(key).lower(), {}).update(values)
        for key, values in keys.items():
            for name, value in values.items():
                self.values[key, self.replaced(name).lower()] = self.value(value, key.rpartition("\\")[2] in PLACES and not name)
        self.parents = {key[:at] for key in keys for at in range(len(key)) if key[at] == "\\"}
        self.empty_keys = {key for key, values in keys.items() if not values and not is_above(key, keys)} - CONTAINERS

    def replaced(self, text, is_place=False):
        for path, there, after in ((self.path, THERE + "\\" + self.name, AFTER_NAME), (self.folder, THERE, r"(?=[\\/\",;]|\Z)")):
            text = re.sub(r"(?<![A-Za-z0-9])" + re.escape(path) + after, lambda _, there=there: there, text, flags=re.I)
        if is_place:
            text = re.sub(r"\A(\"?)" + re.escape(self.name) + AFTER_NAME, lambda found: found[1] + THERE + "\\" + self.name, text, flags=re.I)
        return text

    def value(self, value, is_place):
        """The value on the target machine; None if the capture has no data of it."""
        if value is None or value[1] is None:
            return None
        kind, data = value
        texts = data.decode("utf-16-le", "surrogatepass").rstrip("\0").split("\0") if kind in (SZ, EXPAND_SZ, MULTI_SZ) else []
        if kind in (SZ, EXPAND_SZ):
            return kind, text_data(self.replaced(texts[0], is_place))
        return (kind, list_data([self.replaced(text) for text in texts if text])) if kind == MULTI_SZ else value


def is_above(key, keys):
    return any(other.startswith(key + "\\") for other in keys)


MESSAGE = re.compile(r"keykit: .*?\.reg:\d+: (HKEY_.*?)(?:, (default value)|, value \"(.*)\")?: ([a-z].*)")


class Named:
    """The values and keys that a verb names on standard error: those that aren't carried, and those with a path that is left."""

    def __init__(self, text):
        self.values, self.keys, self.paths, self.others = set(), set(), set(), []
        for line in text.splitlines():
            found = MESSAGE.fullmatch(line)
            if not found:
                self.others.append(line)
                continue
            key, is_default, name, reason = found.groups()
            place = installed(key).lower(), (name or "").lower()
            if not is_default and name is None:
                self.keys.add(place[0])
            else:
                (self.paths if reason.startswith("has a path of the build machine") else self.values).add(place)
