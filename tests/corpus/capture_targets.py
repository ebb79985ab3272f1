"""Usage, inside a Wine session: capture_targets.py TARGETS KEYREAP KEEPER OUTPUT MODE

TARGETS is the list, KEYREAP and KEEPER are programs, as Windows paths; MODE is a mode word. Captures all modules and
type libraries into OUTPUT/ID.reg, as many with one command as fit into a line. OUTPUT/before and OUTPUT/after contain
the hives before and after all captures. OUTPUT/captures.json contains the exit status and the seconds of each capture
by the target's id, and the temporary files before and after.
"""

import json
import os
import sys
import time
from pathlib import Path

from keeper import Keeper, command_line, windows_path
from targets import read_targets

# A command line has at most 32,767 characters; the companion's is a little longer than the one passed here.
COMMAND_LIMIT = 32000

TEMPORARY_FOLDERS = ("users/keyreap/AppData/Local/Temp", "users/keyreap/Temp", "windows/temp")


def temporary_files():
    drive = Path(os.environ["WINEPREFIX"]) / "drive_c"
    return sorted(str(file.relative_to(drive)) for folder in TEMPORARY_FOLDERS for file in (drive / folder).rglob("*"))


class Captures:
    def __init__(self, keeper, keyreap, mode, output):
        self.keeper, self.keyreap, self.mode, self.output = keeper, keyreap, mode, output
        self.results = {}

    def file(self, target):
        return self.output / (target.id + ".reg")

    def words(self, targets):
        pairs = [word for target in targets for word in (target.path, windows_path(self.file(target)))]
        return [self.keyreap, "extreg", *pairs, self.mode]

    def fitting(self, targets):
        """The first targets, as many as fit into one command line."""
        count = len(targets)
        while len(command_line(self.words(targets[:count]))) > COMMAND_LIMIT:
            count -= 1
        return targets[:count]

    def capture(self, targets):
        """Captures the targets with one command, which ends at the first failure. Returns the targets after that."""
        begin = time.time()
        status = self.keeper.run(*self.words(targets))
        for number, target in enumerate(targets):
            if not self.file(target).exists():
                self.results[target.id] = {"status": status}
                return targets[number + 1 :]
            # The program writes a file at the end of its capture.
            end = self.file(target).stat().st_mtime
            self.results[target.id] = {"status": 0, "seconds": end - begin}
            begin = end
        assert status == 0
        return []

    def capture_all(self, targets):
        """Captures all targets. The 64-bit images have to come first, as the program captures them first."""
        while targets:
            batch = self.fitting(targets)
            targets = self.capture(batch) + targets[len(batch) :]

    def warm_up(self, *targets):
        """Makes the captures that change the registry. A first one leaves the program's own key with its subkeys, a
        second one only the key; and Wine sets up the registry for the first process of each bitness."""
        for target in targets:
            self.capture([target])
        self.results.clear()


def main(targets, keyreap, keeper, output, mode):
    output = Path(output)
    output.mkdir(parents=True)
    # The program captures the 64-bit images first. Type libraries are not 64-bit images.
    targets = sorted(read_targets(targets, "module", "library"), key=lambda target: target.bitness)
    captures = Captures(Keeper(keeper), keyreap, mode, output)
    captures.warm_up(targets[0], targets[0], targets[-1])
    temporary = [temporary_files()]
    captures.keeper.save(output / "before")
    captures.capture_all(targets)
    captures.keeper.save(output / "after")
    temporary.append(temporary_files())
    (output / "captures.json").write_text(json.dumps({"results": captures.results, "temporary": temporary}))


if __name__ == "__main__":
    main(*sys.argv[1:])
