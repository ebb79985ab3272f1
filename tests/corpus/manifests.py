"""The manifests of the corpus: which classes they have, how many of them are created, and why the others are not."""

import json
import re
import subprocess
from collections import Counter
from dataclasses import dataclass
from pathlib import Path

import regfile
from manifest_targets import ASSEMBLY
from manifestreader import Manifest, text_of
from sessions import ROOT, base_drive
from targets import host_file

KEYKIT = ROOT / "build" / "tools" / "keykit"

CLASS = re.compile(r"HKEY_CLASSES_ROOT\\CLSID\\(\{[-0-9A-F]{36}\})(\\InprocServer32)?(?:\\.*)?$", re.I)
NOTE = re.compile(r"HKEY_CLASSES_ROOT\\CLSID\\(\{[-0-9A-F]{36}\})[^:]*?: (belongs to a class .*?)(?:: .*)?$", re.I | re.M)


def classes_of(capture):
    """The captured classes with their threading models, by the CLSID in upper case."""
    found = {}
    for key, values in capture.items():
        match = CLASS.match(key)
        if match:
            one = found.setdefault(match[1].upper(), {"clsid": match[1], "threadingModel": ""})
            if match[2]:
                models = [text_of(value) for name, value in values.items() if name.upper() == "THREADINGMODEL"]
                one["threadingModel"] = (models or [one["threadingModel"]])[0]
    return found


class Made:
    """The manifest of one captured module."""

    def __init__(self, capture, target, folder):
        self.target, self.capture = target, capture
        self.parsed = regfile.parse(capture.read_bytes())
        self.classes = classes_of(self.parsed)
        self.file = folder / target.id / (ASSEMBLY % Path(target.name).stem)
        self.file.parent.mkdir(parents=True)
        server = "%s=%s" % (host_file(target.path, base_drive()), self.registered_path())
        words = [KEYKIT, "manifest", capture, "--server", server, "-o", self.file]
        result = subprocess.run(words, capture_output=True, stdin=subprocess.DEVNULL)
        self.status, self.notes = result.returncode, result.stderr.decode()
        if self.classes:
            (self.file.parent / "classes.json").write_text(json.dumps(list(self.classes.values())))

    def registered_path(self):
        """The path under which the module knows itself. A 32-bit one that is loaded already may know its folder as system32."""
        other = self.target.path.replace("\\syswow64\\", "\\system32\\")
        texts = {(text_of(value) or "").upper() for values in self.parsed.values() for value in values.values()}
        return other if other.upper() in texts and self.target.path.upper() not in texts else self.target.path

    @property
    def manifest(self):
        return Manifest(self.file.read_bytes(), folder=self.registered_path().rpartition("\\")[0])

    def reasons(self):
        """Why a class isn't in the manifest, by the CLSID in upper case."""
        return {match[1].upper(): match[2] for match in NOTE.finditer(self.notes)}


def made_manifests(folder, captures, targets):
    found = [Made(captures / (target.id + ".reg"), target, folder) for target in targets]
    for one in found:
        if not one.classes:
            one.file.unlink()
            one.file.parent.rmdir()
    return [one for one in found if one.classes]


@dataclass(frozen=True)
class Outcome:
    """What became of one class."""

    target: str
    bitness: str
    clsid: str
    model: str
    reason: str  # why it isn't in the manifest; empty if it is
    by_manifest: object  # an HRESULT, or how the program ended
    registered: object

    @staticmethod
    def is_success(result):
        return isinstance(result, int) and result < 0x80000000

    @property
    def is_created(self):
        return self.is_success(self.by_manifest)

    @property
    def is_created_registered(self):
        return self.is_success(self.registered)


def outcomes_of(made, output):
    for one in made:
        results = json.loads((output / (one.target.id + ".json")).read_text())
        reasons = one.reasons()
        for clsid, fields in one.classes.items():
            by_manifest, registered = (results[way][fields["clsid"]] for way in ("manifest", "registered"))
            yield Outcome(one.target.id, one.target.bitness, clsid, fields["threadingModel"], reasons.get(clsid, ""), by_manifest, registered)


def readable(result):
    return "0x%08X" % result if isinstance(result, int) else result


def totals(made, outcomes):
    """The lines of the report."""
    for bitness in sorted({one.bitness for one in outcomes}, reverse=True):
        own = [one for one in outcomes if one.bitness == bitness]
        servers = sum(one.target.bitness == bitness for one in made)
        created, registered = sum(one.is_created for one in own), sum(one.is_created_registered for one in own)
        both = sum(one.is_created and one.is_created_registered for one in own)
        yield "%s: %d servers have %d classes, %d of them in manifests." % (bitness, servers, len(own), sum(not one.reason for one in own))
        yield "%s: %d created by the manifest alone, %d after registration, %d in both ways." % (bitness, created, registered, both)
        for title, chosen in (
            ("registered only", [one for one in own if one.is_created_registered and not one.is_created]),
            ("by the manifest only", [one for one in own if one.is_created and not one.is_created_registered]),
            ("in neither way", [one for one in own if not one.is_created and not one.is_created_registered]),
        ):
            counts = Counter(cause(one) for one in chosen)
            for text, count in sorted(counts.items(), key=lambda item: (-item[1], item[0])):
                yield "%s: %s: %d: %s" % (bitness, title, count, text)


def cause(one):
    if one.is_created:
        return "after registration " + readable(one.registered)
    if one.reason:
        return one.reason
    if one.is_created_registered or one.by_manifest == one.registered:
        return readable(one.by_manifest)
    return "%s, and after registration %s" % (readable(one.by_manifest), readable(one.registered))
