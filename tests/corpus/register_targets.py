"""Usage, inside a Wine session with empty classes:
register_targets.py TARGETS KEEPER LOADER CAPTURES OUTPUT BITNESS SHARD SHARDS

TARGETS is the list, KEEPER and LOADER (loaderror, in BITNESS) are programs, as Windows paths; CAPTURES is the folder
of the files that were captured in the mode keyRedir. Takes each module and program of BITNESS in shard SHARD out of
SHARDS. Lets the system register it and imports its captured file, each time starting from the same registry, and
stores the resulting hives in OUTPUT/ID/registered and OUTPUT/ID/imported. OUTPUT/session-BITNESS-SHARD contains in
`before` and `after` the hives before and after all that, and in statuses.json by the target's id the statuses of the
registration and the import, and the load error of a module that was not captured.
"""

import json
import sys
from pathlib import Path

from keeper import Keeper, command_line, windows_path
from targets import read_shard, session_folder, system_program


def registration(target):
    """The command line that registers a target. That of a program ends in a space, as in a capture."""
    if target.kind == "program":
        return '"%s" /REGSERVER ' % target.path
    return command_line([system_program(target.bitness, "regsvr32.exe"), "/s", target.path])


class Registrations:
    def __init__(self, keeper, loader, captures, output):
        self.keeper, self.loader, self.captures, self.output = keeper, loader, captures, output

    def warm_up(self, bitness):
        """Lets Wine set up the registry for the first process of the bitness."""
        self.keeper.run(system_program(bitness, "regsvr32.exe"), "/s", "C:\\missing.dll")

    def kept(self, target, name, line):
        """Runs a program on the initial registry, and stores the hives that it leaves."""
        status = self.keeper.run_line(line)
        self.keeper.save(self.output / target.id / name)
        self.keeper.restore()
        return status

    def statuses(self, target):
        result = {"registered": self.kept(target, "registered", registration(target))}
        file = self.captures / (target.id + ".reg")
        if file.exists():
            words = [system_program(target.bitness, "reg.exe"), "import", windows_path(file)]
            result["imported"] = self.kept(target, "imported", command_line(words))
        elif target.kind == "module":
            result["error"] = self.keeper.run(self.loader, target.path)
        return result


def main(targets, keeper, loader, captures, output, bitness, shard, shards):
    output = Path(output)
    targets = read_shard(targets, ("module", "program"), bitness, shard, shards)
    own = session_folder(output, bitness, shard)
    own.mkdir(parents=True)
    registrations = Registrations(Keeper(keeper), loader, Path(captures), output)
    registrations.warm_up(bitness)
    registrations.keeper.keep(own / "before")
    statuses = {target.id: registrations.statuses(target) for target in targets}
    registrations.keeper.save(own / "after")
    (own / "statuses.json").write_text(json.dumps(statuses))


main(*sys.argv[1:])
