"""The rules by which a result on the strict host differs from one on the host as it is (scripts/host.sh). A result has the
same entries, with these exceptions:

  - spelled_in_capitals: the kernel spells the machine's 32-bit nodes WOW6432Node. The replay removes only the spelling
    Wow6432Node from a name, and only below the machine's Software it takes any spelling. So a class that a 32-bit server
    registers keeps the node. It may also be there without the node, but then with no other data.
  - made_again: the creation of a key that exists is a creation. A key without values and subkeys of its own that was there
    before is in the file, since the system asked for its creation while it served the target.
  - set_by_the_system: what the system sets in the target's process at its start, or for it, counts as the target's.
  - made_up: a GUID that the server makes up differs from run to run.
"""

from dataclasses import replace
from functools import cache
from pathlib import Path

import proofs

ROOT = Path(__file__).resolve().parents[2]

# What the system changes at the start of a program, as the set-up recorded it (tools/startrecorder).
RECORDING = ROOT / "build" / "wine" / "start" / "recording.txt"

USER = "\\registry\\user\\s-1-5-21-0-0-0-1000\\"
MACHINE = "\\registry\\machine\\"

# Keys that Wine keeps in memory alone. A saved hive doesn't have them.
IN_MEMORY = (
    "hkey_current_user\\software\\wine\\fonts\\cache",
    "hkey_current_user\\software\\wine\\temporary system parameters",
)

# Those that a whole run needs. A GUID is made up by few servers of the distribution, which another release may lack.
RULES = ("spelled_in_capitals", "made_again", "set_by_the_system")

NODE = "hkey_classes_root\\wow6432node\\"


def key_of(path):
    """A recorded key under the name that captures have."""
    return path.replace(USER, "hkey_current_user\\").replace(MACHINE, "hkey_local_machine\\")


@cache
def recorded():
    """The values that the system sets, as pairs of a key and a name, and the keys in which it sets any value."""
    lines = [line.split("\t") for line in RECORDING.read_text().splitlines()]
    values = {(key_of(line[2]), line[3]) for line in lines if line[1] == "set"}
    return values, {key_of(line[1]) for line in lines if line[0] == "inner"}


def is_set_by_the_system(key, name):
    values, keys = recorded()
    return (key, name) in values or key in keys


def is_there(before, key):
    """Whether the key was in a live registry. A 32-bit server's name of it lacks the node."""
    if before is None:
        return False
    node = key.replace("\\software\\", "\\software\\wow6432node\\", 1)
    return key in before.keys or node in before.keys or any(is_at_or_below(key, other) for other in IN_MEMORY)


def is_at_or_below(key, other):
    return key == other or key.startswith(other + "\\")


def without_nodes(entries):
    """The entries with the classes of the 32-bit node under the names of the others, the keys that had the node, and what
    differs between a class and the one of its name in the node."""
    found, named, apart = {}, set(), []
    for key, values in entries.items():
        plain = key.replace(NODE, "hkey_classes_root\\", 1)
        known = found.setdefault(plain, {})
        apart += [
            proofs.Difference(plain, name, known[name], values[name])
            for name in known.keys() & values.keys()
            if known[name] != values[name]
        ]
        known.update(values)
        if plain != key:
            named.add(plain)
    return found, named, apart


def rule_of(difference, before):
    key, name, ours, theirs = difference.key, difference.name, difference.captured, difference.other
    if proofs.made_up(difference):
        return "made_up"
    if name is not None:
        return "set_by_the_system" if theirs is None and is_set_by_the_system(key, name) else None
    if theirs is None and not ours:
        return "made_again" if is_there(before, key) else None
    if theirs is None:
        return "set_by_the_system" if all(is_set_by_the_system(key, one) for one in ours) else None
    return None


def differences(plain, strict, before=None):
    """Each difference between two results with the name of its rule, or None. `before` is the live registry that both
    began with, if there is one."""
    strict, named, apart = without_nodes(strict)
    comparison = proofs.Comparison(strict)
    comparison.all_ours_there(strict, plain)
    comparison.all_theirs_here(plain)
    # A second capture is the other host's.
    found = [replace(one, again=one.other) for one in comparison.differences()]
    in_capitals = [proofs.Difference(key, None, "with its node", "without it") for key in sorted(named)]
    ruled = [(one, rule_of(one, before)) for one in found]
    return ruled + [(one, "spelled_in_capitals") for one in in_capitals] + [(one, None) for one in apart]
