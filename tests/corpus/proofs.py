"""The proofs, each a list of the differences that contradict it, and the rules that explain differences on this host.

Three rules apply to every comparison:

  - classes: HKEY_CLASSES_ROOT is another name of HKEY_LOCAL_MACHINE\\Software\\Classes.
  - views: a hive has the keys of a 32-bit server below Wow6432Node, a capture has them under the names that it used.
  - carried: a capture contains a text up to its first NUL, and no data of types without a form of their own.
"""

import re
from dataclasses import dataclass

import regfile
from registry import removed, written

SZ, EXPAND, BINARY, DWORD, MULTI = 1, 2, 3, 4, 7
EMPTY_TEXTS = [(EXPAND, b"\0\0"), (MULTI, b"\0\0")]

GUID = re.compile(r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\Z")

CLASSES = "hkey_local_machine\\software\\classes"


@dataclass(frozen=True)
class Difference:
    """A value that the capture and the other side don't both have, or have with other data. A key that only one side
    has, if there is no name: with the values of that side."""

    key: str
    name: str | None
    captured: object
    other: object
    # For a value: its data in the registry before both and in a second capture, and whether a trace has it.
    before: object = None
    again: object = None
    traced: bool = False

    def __str__(self):
        what = self.key if self.name is None else "%s: %r" % (self.key, self.name)
        return "%s: captured %s, otherwise %s" % (what, self.captured, self.other)


def found_there(difference):
    """A server that checks before it writes finds the value in a live registry and leaves it unchanged. (A trace shows
    that it wrote nothing.)"""
    return None not in (difference.name, difference.captured, difference.before) and (
        difference.other == difference.before and not difference.traced
    )


def name_of_the_loaded(difference):
    """A module that was loaded before keeps the path that it was loaded with, which may differ in case, and in a 32-bit
    process by the redirected name of its folder."""
    if difference.name is None:
        return False
    texts = [text_of(side) for side in (difference.captured, difference.other)]
    if None in texts:
        return False
    one, other = (text.lower().replace("\\syswow64\\", "\\system32\\") for text in texts)
    return one == other and ":\\" in one


def made_up(difference):
    """A server generates a new GUID each time that it registers, so two captures have different ones."""
    sides = (difference.captured, difference.other, difference.again)
    return difference.name is not None and (
        difference.again != difference.captured and all(GUID.match(text_of(side) or "") for side in sides)
    )


def text_of(value):
    return value[1].decode("utf-16-le").rstrip("\0") if value and value[0] == SZ else None


def rule_of(difference, rules):
    """The name of the rule that explains a difference, or None."""
    return next((rule.__name__ for rule in rules if rule(difference)), None)


def in_classes(key):
    return key == CLASSES or key.startswith(CLASSES + "\\")


def normal_path(path, bitness):
    path = re.sub(r"^hkey_classes_root(?=\\|$)", lambda _: CLASSES, path.lower())
    return path.replace("\\wow6432node", "") if bitness == "x86" else path


def normal(keys, bitness):
    """Keys under their normal paths, with values by their lower-cased names."""
    result = {}
    # Where a hive has a key for each bitness, the 32-bit one is what a 32-bit server sees.
    for path in sorted(keys, key=lambda path: "\\wow6432node" in path.lower()):
        known = result.setdefault(normal_path(path, bitness), {})
        known.update({name.lower(): value for name, value in keys[path].items()})
    return result


def carried(value):
    """The part of a value that a captured file can contain; None if it contains none of its data."""
    kind, data = value
    if kind in (SZ, EXPAND):
        text = data.decode("utf-16-le", "surrogatepass").split("\0")[0] + "\0"
        return kind, text.encode("utf-16-le", "surrogatepass")
    return value if kind in (BINARY, DWORD, MULTI) else None


def all_carried(keys):
    return {key: {name: carried(value) for name, value in values.items()} for key, values in keys.items()}


def captured(file, bitness):
    return normal(regfile.parse(file.read_bytes()), bitness)


class Views:
    """The keys of a registry as a server of one bitness sees them."""

    def __init__(self, registry, bitness):
        self.registry, self.places = registry, {}
        for key in sorted(registry.keys, key=lambda key: "\\wow6432node" in key):
            self.places.setdefault(normal_path(key, bitness), []).append(key)

    def of(self, keys):
        """The values of these keys."""
        result = {}
        for key in keys:
            for place in self.places.get(key, []):
                result.setdefault(key, {}).update(self.registry.values(place))
        return all_carried(result)


class Comparison:
    """The differences between a capture and another registration of the same server."""

    def __init__(self, capture):
        self.capture, self.found = capture, {}

    def difference(self, key, name, ours, theirs):
        self.found[key, name] = Difference(key, name, ours, theirs)

    def differences(self):
        return [self.found[place] for place in sorted(self.found, key=str)]

    def values(self, key, ours, theirs, names):
        for name in names:
            if ours.get(name) != theirs.get(name) or (name in ours) != (name in theirs):
                self.difference(key, name, ours.get(name), theirs.get(name))

    def all_ours_there(self, keys, theirs):
        """Finds captured keys and values that the other side lacks or has with other data."""
        for key in keys:
            ours = self.capture[key]
            if key in theirs:
                self.values(key, ours, theirs[key], ours)
            else:
                self.difference(key, None, ours, None)

    def all_theirs_here(self, theirs):
        """Finds keys and values of the other side that the capture lacks or has with other data."""
        for key, values in theirs.items():
            if key in self.capture:
                self.values(key, self.capture[key], values, values)
            else:
                self.difference(key, None, None, values)


def same_as_registered(capture, bitness, before, registered):
    """A capture contains what the system's registrar leaves. The classes, which were empty, must be equal. Outside the
    classes everything captured must exist, and everything new must be captured."""
    new = all_carried(normal(written(before, registered), bitness))
    new.setdefault(CLASSES, {})
    comparison = Comparison(capture)
    comparison.all_ours_there([key for key in capture if in_classes(key)], new)
    outside = [key for key in capture if not in_classes(key)]
    comparison.all_ours_there(outside, Views(registered, bitness).of(outside))
    comparison.all_theirs_here(new)
    return comparison.differences()


def importable(values):
    """The importer ignores an entry without data, and an expandable text or a list of length 0."""
    return {name: value for name, value in values.items() if value and value not in EMPTY_TEXTS}


def same_as_imported(capture, bitness, before, imported):
    """An import of the captured file into a registry with empty classes creates everything that was captured, and
    nothing else."""
    wanted = {key: importable(values) for key, values in capture.items()}
    new = all_carried(normal(written(before, imported), bitness))
    new.setdefault(CLASSES, {})
    comparison = Comparison(wanted)
    comparison.all_ours_there(wanted, Views(imported, bitness).of(wanted))
    comparison.all_theirs_here(new)
    return comparison.differences()


def recorded_by_trace(keys):
    """The keys that a trace records: those with values or without subkeys."""
    parents = {key.rpartition("\\")[0] for key in keys}
    return {key: values for key, values in keys.items() if values or key not in parents}


def traced_as_registered(traced, bitness, before, registered):
    """A trace of the live registry captures what the system's registrar leaves there. (A server that checks before it
    writes finds the live keys in both cases.)"""
    new = all_carried(normal(written(before, registered), bitness))
    comparison = Comparison(traced)
    comparison.all_ours_there(traced, Views(registered, bitness).of(traced))
    comparison.all_theirs_here(recorded_by_trace(new))
    return comparison.differences()


def traced_as_harvested(traced, harvested):
    """A trace and a harvest are equal in the classes, which were empty for both."""
    ours, theirs = ({key: values for key, values in keys.items() if in_classes(key)} for keys in (traced, harvested))
    theirs = {key: values for key, values in recorded_by_trace(theirs).items() if key != CLASSES}
    comparison = Comparison(ours)
    comparison.all_ours_there(ours, harvested)
    comparison.all_theirs_here(theirs)
    return comparison.differences()


def is_at_or_above(key, others):
    return any(other == key or other.startswith(key + "\\") for other in others)


def unexplained_changes(traced, bitness, before, after):
    """The changes of the live registry by a capture by trace, without those that its rules require: a value that the
    server overwrote is removed too, and so is a parent key with all its values when its last subkey is removed."""
    changes = ["new: %s: %s" % change for change in written(before, after).items()]
    for key, values in removed(before, after).items():
        place = normal_path(key, bitness)
        if key not in after.keys:
            explained = is_at_or_above(place, traced)
        else:
            explained = set(values) <= set(traced.get(place, {}))
        if not explained:
            changes.append("gone: %s: %s" % (key, values))
    return changes
