"""Usage, inside a Wine session with empty classes:
manifest_targets.py TARGETS KEEPER LIVE MANIFESTS OUTPUT BITNESS SHARD SHARDS

TARGETS is the list, KEEPER and LIVE (KeyKitLive, in BITNESS) are programs, as Windows paths. MANIFESTS/ID contains the manifest
of each module that has classes, and classes.json, its classes with their threading models. Takes each of these modules of
BITNESS in shard SHARD out of SHARDS. Creates its classes by the manifest, and then after an ordinary registration, each time
starting from the same registry. Stores in OUTPUT/ID.json the results by `manifest` and `registered`: by each class an HRESULT,
or how the program ended while it was created. OUTPUT/session-BITNESS-SHARD has in `before` and `after` the hives.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from keeper import Keeper, windows_path
from targets import host_file, read_shard, session_folder, system_program

# The seconds after which a class that doesn't answer counts as one that hangs.
LIMIT = 30

ASSEMBLY = "%s.classes.manifest"


def drive():
    return Path(os.environ["WINEPREFIX"]) / "drive_c"


def prepared(target, manifests):
    """Places the manifest beside the module, whose copy is on drive C:. Returns its path for Windows."""
    file = host_file(target.path, drive())
    if not target.path.startswith("C:"):
        own = drive() / "manifests"
        own.mkdir(exist_ok=True)
        file = Path(shutil.copy(file, own))
    manifest = file.parent / (ASSEMBLY % Path(target.name).stem)
    shutil.copy(manifests / target.id / manifest.name, manifest)
    return "C:\\" + str(manifest.relative_to(drive())).replace("/", "\\")


class Live:
    """Asks KeyKitLive for classes, and goes on after one that ends it."""

    def __init__(self, program):
        self.program = program

    def answers(self, request):
        """The answers of one start, and how it ended if not by itself."""
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            file.write(json.dumps(request))
            file.flush()
            words = ["wine", self.program, windows_path(file.name)]
            process = subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            try:
                printed, ending = process.communicate(timeout=LIMIT)[0], "ended the program"
            except subprocess.TimeoutExpired:
                process.kill()
                printed, ending = process.communicate()[0], "didn't answer"
        lines = [json.loads(line) for line in printed.decode().splitlines()]
        assert lines and "bitness" in lines[0], printed
        return lines[1:], ending

    def created(self, classes, manifest):
        results, left = {}, list(classes)
        while left:
            request = {"question": "create", "folders": [], "classes": left, "manifest": manifest}
            answers, ending = self.answers(request)
            if answers and "failure" in answers[0]:
                return {one["clsid"]: "no context: %d" % answers[0]["error"] for one in classes}
            results.update({answer["clsid"]: answer["result"] for answer in answers})
            left = left[len(answers) :]
            if left:
                results[left.pop(0)["clsid"]] = ending
        return results


def main(targets, keeper, live, manifests, output, bitness, shard, shards):
    manifests, output = Path(manifests), Path(output)
    targets = [target for target in read_shard(targets, ("module",), bitness, shard, shards) if (manifests / target.id).is_dir()]
    own = session_folder(output, bitness, shard)
    own.mkdir(parents=True)
    keeper, live = Keeper(keeper), Live(live)
    keeper.run(system_program(bitness, "regsvr32.exe"), "/s", "C:\\missing.dll")
    keeper.keep(own / "before")
    for target in targets:
        classes = json.loads((manifests / target.id / "classes.json").read_text())
        result = {"manifest": live.created(classes, prepared(target, manifests))}
        keeper.restore()
        keeper.run(system_program(bitness, "regsvr32.exe"), "/s", target.path)
        result["registered"] = live.created(classes, "")
        keeper.restore()
        (output / (target.id + ".json")).write_text(json.dumps(result))
    keeper.save(own / "after")


if __name__ == "__main__":
    main(*sys.argv[1:])
