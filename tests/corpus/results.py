"""Reads and compares the files that the sessions of the corpus wrote."""

import json
from dataclasses import replace
from functools import cache, cached_property, lru_cache

import proofs
import replayrules
import resultsigns
from registry import Registry, same
from sessions import CAPTURES, SHARDS, base_drive
from targets import BITNESSES, host_file, in_shard, session_folder


def unproven(differences):
    """The differences that no rule explains, as texts."""
    return [str(difference) for difference, rule in differences if rule is None]


def read_all(files):
    """The entries of several JSON files as one."""
    result = {}
    for file in files:
        result.update(json.loads(file.read_text()))
    return result


class Results:
    modes = (*CAPTURES, "trace")
    second_reader = ""  # a line of the report

    def __init__(self, folder, targets):
        self.folder, self.targets = folder, targets

    def file(self, mode, target):
        return self.folder / mode / (target.id + ".reg")

    # Statuses

    @cached_property
    def captures(self):
        """The status and the seconds of each capture, by mode and by the id of the target."""
        found = {mode: json.loads((self.folder / mode / "captures.json").read_text()) for mode in CAPTURES}
        results = {mode: report["results"] for mode, report in found.items()}
        results["trace"] = {}
        for report in self.reports_of_traces:
            results["trace"].update(report["results"])
        return results

    @cached_property
    def reports_of_traces(self):
        return [json.loads(file.read_text()) for file in sorted(self.folder.glob("trace/session-*/captures.json"))]

    @cached_property
    def registrations(self):
        return read_all(sorted(self.folder.glob("registered/session-*/statuses.json")))

    def status(self, mode, target):
        return self.captures[mode][target.id]["status"]

    def seconds(self, mode, target):
        return self.captures[mode][target.id].get("seconds")

    def registrar_status(self, target):
        return self.registrations[target.id]["registered"]

    def load_error(self, target):
        """The system's error for loading a module that was not captured; 0 for any other target."""
        return self.registrations[target.id].get("error", 0)

    def is_captured(self, target):
        return self.status("trace" if target.kind == "program" else "keyRedir", target) == 0

    def is_unloadable(self, target):
        return self.load_error(target) != 0

    def first_bytes(self, target):
        with host_file(target.path, base_drive()).open("rb") as opened:
            return opened.read(2)

    # Captures and registries

    @lru_cache(maxsize=16)
    def capture(self, mode, target):
        return proofs.captured(self.file(mode, target), target.bitness)

    @cached_property
    def sessions(self):
        """The folder of the session that captured a target, by the kind of session and the target's id."""
        found = {}
        for kind, kinds in (("registered", ("module", "program")), ("trace", ("module", "library", "program"))):
            for bitness in BITNESSES.values():
                for shard in range(SHARDS):
                    for target in in_shard(self.targets, kinds, bitness, shard, SHARDS):
                        found[kind, target.id] = session_folder(self.folder / kind, bitness, shard)
        return found

    @lru_cache(maxsize=32)
    def registry(self, folder):
        return Registry(folder)

    def before(self, kind, target):
        """The registry before a target's registration or its trace."""
        return self.registry(self.sessions[kind, target.id] / "before")

    @lru_cache(maxsize=4)
    def registered(self, target):
        return Registry(self.folder / "registered" / target.id / "registered")

    # The proofs: pairs of a difference and the name of the rule that explains it, or None

    def with_rules(self, target, differences, *rules):
        """Each difference with the name of the rule that explains it, or None."""
        if not differences:
            return
        before = proofs.Views(self.before("registered", target), target.bitness).of({one.key for one in differences})
        # A program is captured only by trace.
        again = self.capture("trace" if target.kind == "program" else "again", target)
        traced = self.capture("trace", target)
        for one in differences:
            place = one.key, one.name
            known = replace(one, before=value(before, *place), again=value(again, *place), traced=there(traced, *place))
            yield one, proofs.rule_of(known, rules)

    def compared(self, target, prove, mode, registry, *rules):
        differences = prove(self.capture(mode, target), target.bitness, self.before("registered", target), registry)
        return list(self.with_rules(target, differences, *rules))

    @cache
    def against_registrar(self, target):
        rules = (proofs.made_up, proofs.found_there, proofs.name_of_the_loaded)
        return self.compared(target, proofs.same_as_registered, "keyRedir", self.registered(target), *rules)

    @cache
    def against_import(self, target):
        imported = Registry(self.folder / "registered" / target.id / "imported")
        return self.compared(target, proofs.same_as_imported, "keyRedir", imported)

    @cache
    def trace_against_registrar(self, target):
        rule = proofs.name_of_the_loaded
        return self.compared(target, proofs.traced_as_registered, "trace", self.registered(target), rule)

    @cache
    def trace_against_harvest(self, target):
        differences = proofs.traced_as_harvested(self.capture("trace", target), self.capture("keyRedir", target))
        return [(difference, None) for difference in differences]

    @cache
    def replay_against_harvest(self, target):
        files = [self.file(mode, target).read_bytes() for mode in ("keyRedir", "both")]
        found = list(replayrules.differences(*files))
        both = [proofs.Difference(one.key, one.name, one.harvested, one.replayed) for one in found]
        made_up = [rule for _, rule in self.with_rules(target, both, proofs.made_up)]
        return [(one, replayrules.rule_of(one) or rule) for one, rule in zip(found, made_up)]

    @cache
    def second_against_first(self, target):
        """The results of the same command, run twice."""
        comparison = proofs.Comparison(self.capture("again", target))
        first = self.capture("keyRedir", target)
        comparison.all_ours_there(comparison.capture, first)
        comparison.all_theirs_here(first)
        differences = [replace(one, again=one.other) for one in comparison.differences()]
        return [(one, proofs.rule_of(one, (proofs.made_up,))) for one in differences]

    @cache
    def unexplained_changes(self, target):
        after = Registry(self.folder / "trace" / target.id)
        before = self.before("trace", target)
        return proofs.unexplained_changes(self.capture("trace", target), target.bitness, before, after)

    def signs(self, mode, target):
        """The signs that a capture isn't what the server registered."""
        return resultsigns.signs(self.file(mode, target).read_bytes())

    # Leftovers

    def left_by(self, mode):
        folder = self.folder / mode
        before, after = json.loads((folder / "captures.json").read_text())["temporary"]
        left = sorted(set(after) ^ set(before))
        return left + changes(Registry(folder / "before"), Registry(folder / "after"))

    def left_by_traces(self):
        pairs = [report["temporary"] for report in self.reports_of_traces]
        return [file for before, after in pairs for file in sorted(set(before) ^ set(after))]

    def left_by_sessions(self):
        """The comparisons are valid only if every run of a session started from the same registry."""
        left = []
        for session in sorted(set(self.sessions.values())):
            found = changes(Registry(session / "before"), Registry(session / "after"))
            left += ["%s: %s" % (session, change) for change in found]
        return left


def value(keys, key, name):
    return keys.get(key, {}).get(name)


def there(keys, key, name):
    return name in keys.get(key, {})


def changes(before, after):
    if same(before, after):
        return []
    keys = before.keys ^ after.keys
    return sorted(keys | {key for key in before.keys & after.keys if before.lines(key) != after.lines(key)})
