"""How the result of a replayed trace may differ from the harvest of the redirected trees, as rules: two captures of
the same server, one in the mode keyRedir and one in the mode both, differ by these and by nothing else.

`unexplained(harvested, replayed)` takes the bytes of the two files and gives the differences that no rule explains;
`explained` counts the others by the name of their rule. Three rules are no difference here at all:

  - order: the replay sorts what the harvest writes as it is enumerated;
  - spelling: the replay spells a key as the trace named it first, the harvest as it was created;
  - values on root keys: in the replay they stand under the key that stood for the root meanwhile.

There is no rule about a value that was deleted: in trees that were empty a server can only delete its own.
"""

import re
from collections import Counter
from dataclasses import dataclass

import regfile

# What the replay writes for a value that was set and can't be read any more.
FILLER = (regfile.SZ, ("\u5555" * 10 + "\0").encode("utf-16-le"))

ROOTS = {
    "hkcr": "hkey_classes_root",
    "hkcu": "hkey_current_user",
    "hku": "hkey_users",
    "hklm": "hkey_local_machine",
}
STAND_IN = re.compile(r"hkey_current_user\\software\\velmoro\\tesselink\\temporary\\(hkcr|hkcu|hku|hklm)$")

# The keys that the redirection makes itself; the trace begins behind that.
MADE_BY_REDIRECTION = {
    *ROOTS.values(),
    "hkey_local_machine\\software",
    "hkey_local_machine\\software\\classes",
}


CONTROL_SET = "hkey_local_machine\\system\\currentcontrolset"


@dataclass(frozen=True)
class Difference:
    """Of a key, or of a value if there is a name. What one side doesn't have is None there; a key that is there has
    its values by name, a value its type and data."""

    key: str
    name: str | None
    harvested: object
    replayed: object
    # Of the key in the harvest.
    has_subkeys: bool
    is_noise: bool

    def __str__(self):
        what = self.key if self.name is None else "%s: %r" % (self.key, self.name)
        return "%s: harvested %s, replayed %s" % (what, self.harvested, self.replayed)


def wide_numbers(difference):
    """The harvest writes a REG_QWORD from the text of the value in front of it, the replay from its own bytes."""
    sides = (difference.harvested, difference.replayed)
    return difference.name is not None and all(side and side[0] == regfile.QWORD for side in sides)


def keys_of_the_redirection(difference):
    """The four roots, and the machine's empty `Software\\Classes`, stand in every harvest."""
    return difference.key in MADE_BY_REDIRECTION and difference.harvested == {} and difference.replayed is None


def implied_keys(difference):
    """A key with subkeys and without values goes without saying in the replay."""
    return difference.has_subkeys and difference.harvested == {} and difference.replayed is None


def control_set_noise(difference):
    """The replay takes keys of the machine's control set for noise of the system if none of them has a value."""
    return difference.is_noise and difference.harvested == {} and difference.replayed is None


def deleted_keys(difference):
    """A key that the server deleted is a header in the replay, with a filler for each value that it had been given."""
    if difference.name is not None or difference.harvested is not None:
        return False
    return all(value == FILLER for value in difference.replayed.values())


def lost_values(difference):
    """The replay reads a value when all is over, and writes a filler where it isn't any more: the value's key was
    deleted meanwhile, or stands below Wow6432Node. (The replay knows one view of the registry, and looks for the key
    of the same name outside.)"""
    return difference.name is not None and difference.harvested is None and difference.replayed == FILLER


RULES = (wide_numbers, keys_of_the_redirection, implied_keys, control_set_noise, deleted_keys, lost_values)


def entries(data):
    """Keys by their lower-cased paths, with values by their lower-cased names."""
    result = {}
    for path, values in regfile.parse(data).items():
        known = result.setdefault(path.lower(), {})
        known.update({name.lower(): value for name, value in values.items()})
    return result


def with_roots_by_name(keys):
    """The replayed keys, with those that stood for a root under the name of that root."""
    return {named_root(path): values for path, values in keys.items()}


def named_root(path):
    stand_in = STAND_IN.match(path)
    return ROOTS[stand_in[1]] if stand_in else path


def folded(path):
    """As the replay folds a path: one component named exactly so, or the machine's in any spelling."""
    path = re.sub(r"\\Wow6432Node", "", path, count=1)
    return re.sub(r"^(HKEY_LOCAL_MACHINE\\Software)\\Wow6432Node(?=\\)", r"\1", path, count=1, flags=re.I)


def harvested_entries(data):
    """The harvested keys as the replay names them. Where two keys fold into one, a value of the one below Wow6432Node
    only counts as missing in the other."""
    keys = {}
    for path, values in regfile.parse(data).items():
        place = folded(path).lower()
        known = keys.setdefault(place, {})
        if place == path.lower():
            known.update({name.lower(): value for name, value in values.items()})
    return keys


def is_within(key, other):
    return key == other or key.startswith(other + "\\")


def noise(keys):
    """The keys of the machine's control set, if none of them has a value."""
    found = {key for key in keys if is_within(key, CONTROL_SET)}
    return set() if any(keys[key] for key in found) else found


def differences(harvested, replayed):
    before, after = harvested_entries(harvested), with_roots_by_name(entries(replayed))
    parents, noisy = {key.rpartition("\\")[0] for key in before}, noise(before)
    for key in sorted({*before, *after}):
        traits = key in parents, key in noisy
        if key not in before or key not in after:
            yield Difference(key, None, before.get(key), after.get(key), *traits)
            continue
        for name in sorted({*before[key], *after[key]}):
            sides = before[key].get(name), after[key].get(name)
            if name not in before[key] or name not in after[key] or sides[0] != sides[1]:
                yield Difference(key, name, *sides, *traits)


def rule_of(difference):
    """The name of the rule that explains a difference, or None."""
    return next((rule.__name__ for rule in RULES if rule(difference)), None)


def unexplained(harvested, replayed):
    return [str(difference) for difference in differences(harvested, replayed) if rule_of(difference) is None]


def explained(harvested, replayed):
    rules = [rule_of(difference) for difference in differences(harvested, replayed)]
    return Counter(rule for rule in rules if rule)
