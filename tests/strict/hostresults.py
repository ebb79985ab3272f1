"""Reads and compares the files of run_hosts in tests/corpus/sessions.py: what the strict host adds to a result, and what the
removal of a trace then deletes."""

import json
from dataclasses import dataclass
from functools import cache, cached_property, lru_cache

import hostrules
import proofs
import replayrules
import resultsigns
from registry import Registry, removed, written
from sessions import HOSTS


@dataclass(frozen=True)
class Deleted:
    """What a run deletes from the registry on the strict host and not on the host as it is."""

    keys: frozenset
    values: frozenset  # pairs of a key and a name

    def __bool__(self):
        return bool(self.keys or self.values)


NOTHING = Deleted(frozenset(), frozenset())

# The rules by which the system's own entries are in a result.
OF_THE_SYSTEM = ("made_again", "set_by_the_system")


def not_the_systems(deleted, differences, bitness):
    """The keys of deletions that no entry of the system in the result explains. What the server wrote is deleted on both
    hosts, so it explains none."""
    explained = {proofs.normal_path(difference.key, bitness) for difference, rule in differences if rule in OF_THE_SYSTEM}
    keys = deleted.keys | {key for key, _ in deleted.values}
    return sorted(key for key in keys if not proofs.is_at_or_above(proofs.normal_path(key, bitness), explained))


class HostResults:
    def __init__(self, folder, targets):
        self.folder, self.targets = folder, targets

    def place(self, host, mode):
        """The mode `node` is that of traces in the registry of a fresh prefix."""
        return self.folder / host / ("node/trace" if mode == "node" else mode)

    def file(self, host, mode, target):
        return self.place(host, mode) / (target.id + ".reg")

    @cached_property
    def statuses(self):
        found = {}
        for file in self.folder.rglob("captures.json"):
            folder = file.parent.parent if file.parent.name.startswith("session-") else file.parent
            for name, result in json.loads(file.read_text())["results"].items():
                found[folder, name] = result["status"]
        return found

    def status(self, host, mode, target):
        return self.statuses[self.place(host, mode), target.id]

    def is_captured(self, mode, target):
        return self.status("plain", mode, target) == 0

    # Results

    def entries(self, host, mode, target):
        return replayrules.entries(self.file(host, mode, target).read_bytes())

    @cache
    def differences(self, mode, target):
        """The differences of the strict host's result from the other one, each with the name of its rule or None."""
        entries = [self.entries(host, mode, target) for host in HOSTS]
        return hostrules.differences(*entries, self.before("strict", mode, target))

    def redirected_apart(self, target):
        """The differences of a redirected result, without GUIDs that the server makes up."""
        plain, strict = (self.file(host, "keyRedir", target).read_bytes() for host in HOSTS)
        if plain == strict:
            return []
        found = hostrules.differences(replayrules.entries(plain), replayrules.entries(strict))
        return [str(difference) for difference, rule in found if rule != "made_up"] if found else ["other bytes"]

    def signs(self, mode, target):
        return resultsigns.signs(self.file("strict", mode, target).read_bytes())

    # The registry

    @lru_cache(maxsize=16)
    def registry(self, folder):
        return Registry(folder)

    def before(self, host, mode, target):
        sessions = self.place(host, mode).glob("session-%s-*" % target.bitness)
        session = next(folder for folder in sorted(sessions) if target.id in self.captured_in(folder))
        return self.registry(session / "before")

    @cache
    def captured_in(self, session):
        return json.loads((session / "captures.json").read_text())["results"]

    @lru_cache(maxsize=4)
    def after(self, host, mode, target):
        return Registry(self.place(host, mode) / target.id)

    def removed(self, host, mode, target):
        """The keys that a run removes, and the values, also those of these keys."""
        before, after = self.before(host, mode, target), self.after(host, mode, target)
        found = removed(before, after)
        values = {(key, name) for key, values in found.items() for name in values}
        return frozenset(found.keys() - after.keys), frozenset(values)

    def left(self, host, mode, target):
        """The keys that a run makes, or in which it leaves other values."""
        return set(written(self.before(host, mode, target), self.after(host, mode, target)))

    @cache
    def deleted(self, mode, target):
        """What the strict host's run deletes beyond the other one."""
        if not self.is_captured(mode, target):
            return NOTHING
        plain, strict = (self.removed(host, mode, target) for host in HOSTS)
        return Deleted(strict[0] - plain[0], strict[1] - plain[1])

    def unexplained_deletions(self, mode, target):
        return not_the_systems(self.deleted(mode, target), self.differences(mode, target), target.bitness)

    def left_beyond(self, mode, target):
        plain, strict = (self.left(host, mode, target) for host in HOSTS)
        return sorted(strict - plain)

    def unexplained_changes(self, mode, target):
        """The changes of the strict host's registry that its own result doesn't explain."""
        captured = proofs.captured(self.file("strict", mode, target), target.bitness)
        before, after = (read("strict", mode, target) for read in (self.before, self.after))
        return proofs.unexplained_changes(captured, target.bitness, before, after)
