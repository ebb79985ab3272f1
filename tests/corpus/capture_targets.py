"""Usage, inside a Wine session: capture_targets.py TARGETS KEYREAP KEEPER OUTPUT MODE

TARGETS is the list, KEYREAP and KEEPER are programs, as Windows paths; MODE is a mode word. Captures all modules and
type libraries, as many in one command as there is room for, into OUTPUT/ID.reg. The hives in front of all that are
kept in OUTPUT/before, those behind it in OUTPUT/after. OUTPUT/captures.json tells the exit status and the seconds of
each capture by the target's id, and the temporary files in front and behind.
"""

import json
import os
import sys
import time
from pathlib import Path

from keeper import Keeper, command_line, windows_path
from targets import read_targets

# A command line holds at most 32,767 characters; the companion's has a little more in it than the one given here.
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
        """As many of the targets, from the first, as fit into one command line."""
        count = len(targets)
        while len(command_line(self.words(targets[:count]))) > COMMAND_LIMIT:
            count -= 1
        return targets[:count]

    def capture(self, targets):
        """One command: its targets, in order, up to the first that fails. Gives those that it didn't come to."""
        begin = time.time()
        status = self.keeper.run(*self.words(targets))
        for number, target in enumerate(targets):
            if not self.file(target).exists():
                self.results[target.id] = {"status": status}
                return targets[number + 1 :]
            # A session writes its file at its end.
            end = self.file(target).stat().st_mtime
            self.results[target.id] = {"status": 0, "seconds": end - begin}
            begin = end
        assert status == 0
        return []

    def capture_all(self, targets):
        """The 64-bit images first, as the program takes them."""
        while targets:
            batch = self.fitting(targets)
            targets = self.capture(batch) + targets[len(batch) :]


    def warm_up(self, *targets):
        """A first capture leaves the program's own key and what lies below it, a second one the key alone; and a
        process of each bitness writes what Wine sets up for it, which is not the same for both."""
        for target in targets:
            self.capture([target])
        self.results.clear()


def main(targets, keyreap, keeper, output, mode):
    output = Path(output)
    output.mkdir()
    # The program takes the 64-bit images first, and a type library for no such image.
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
