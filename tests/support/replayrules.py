"""The rules by which the replay of a trace may differ from the harvest of the redirected trees. Two captures of the
same server, one in the mode keyRedir and one in the mode both, differ only by these rules.

`unexplained(harvested, replayed)` takes the bytes of the two files and returns the differences that no rule explains;
`explained` counts the other differences by the name of their rule. Three deviations do not count as differences:

  - order: the replay sorts the entries, the harvest writes them in the order of enumeration;
  - spelling: the replay spells a key as the trace first named it, the harvest as it was created;
  - values on root keys: the replay has them under the key that the root was redirected to.

No rule is needed for deleted values: the trees were empty, so a server can only delete its own values.
"""

import re
from collections import Counter
from dataclasses import dataclass

import regfile

# The replay writes this for a value that was set and can't be read any more.
FILLER = (regfile.SZ, ("\u5555" * 10 + "\0").encode("utf-16-le"))

ROOTS = {
    "hkcr": "hkey_classes_root",
    "hkcu": "hkey_current_user",
    "hku": "hkey_users",
    "hklm": "hkey_local_machine",
}
STAND_IN = re.compile(r"hkey_current_user\\software\\velmoro\\tesselink\\temporary\\(hkcr|hkcu|hku|hklm)$")

# The keys that the redirection itself creates, before the trace begins.
MADE_BY_REDIRECTION = {
    *ROOTS.values(),
    "hkey_local_machine\\software",
    "hkey_local_machine\\software\\classes",
}

CONTROL_SET = "hkey_local_machine\\system\\currentcontrolset"


@dataclass(frozen=True)
class Difference:
    """A difference in a value, or in a whole key if there is no name. The side that lacks it has None; otherwise a key
    is its values by name, and a value is its type and data."""

    key: str
    name: str | None
    harvested: object
    replayed: object
    # These two describe the key in the harvest.
    has_subkeys: bool
    is_noise: bool

    def __str__(self):
        what = self.key if self.name is None else "%s: %r" % (self.key, self.name)
        return "%s: harvested %s, replayed %s" % (what, self.harvested, self.replayed)


def wide_numbers(difference):
    """The harvest writes a REG_QWORD with the previous value's text, the replay with its own bytes."""
    sides = (difference.harvested, difference.replayed)
    return difference.name is not None and all(side and side[0] == regfile.QWORD for side in sides)


def keys_of_the_redirection(difference):
    """Every harvest contains the four roots and the machine's empty `Software\\Classes`."""
    return difference.key in MADE_BY_REDIRECTION and difference.harvested == {} and difference.replayed is None


def implied_keys(difference):
    """The replay omits a key with subkeys and without values, because the subkeys imply it."""
    return difference.has_subkeys and difference.harvested == {} and difference.replayed is None


def control_set_noise(difference):
    """The replay treats the keys of the machine's control set as noise of the system if none of them has a value."""
    return difference.is_noise and difference.harvested == {} and difference.replayed is None


def deleted_keys(difference):
    """The replay contains a deleted key, with a filler for each value that was set in it."""
    if difference.name is not None or difference.harvested is not None:
        return False
    return all(value == FILLER for value in difference.replayed.values())


def lost_values(difference):
    """The replay reads values after the registration, and writes a filler for one that it doesn't find: the value's key
    was deleted meanwhile or is below Wow6432Node. (The replay knows only one view of the registry and searches the
    key of the same name outside Wow6432Node.)"""
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
    """The replayed keys, with those that a root was redirected to under the name of the root."""
    return {named_root(path): values for path, values in keys.items()}


def named_root(path):
    stand_in = STAND_IN.match(path)
    return ROOTS[stand_in[1]] if stand_in else path


def folded(path):
    """The path without Wow6432Node, as the replay removes it: one component in exactly this spelling, and that of the
    machine in any spelling."""
    path = re.sub(r"\\Wow6432Node", "", path, count=1)
    return re.sub(r"^(HKEY_LOCAL_MACHINE\\Software)\\Wow6432Node(?=\\)", r"\1", path, count=1, flags=re.I)


def harvested_entries(data):
    """The harvested keys under the names that the replay uses. Where two keys get the same name, the values of the key
    below Wow6432Node are left out."""
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
