"""Usage, inside a Wine session:
unregister_targets.py TARGETS KEEPER OUTPUT BITNESS SHARD SHARDS

TARGETS is the list and KEEPER a program, as a Windows path. Takes each module of BITNESS in shard SHARD out of SHARDS. Lets
regsvr32 register it and then unregister it, each time starting from the same registry, and stores the hives after each of the two
in OUTPUT/ID/registered and OUTPUT/ID/unregistered. OUTPUT/session-BITNESS-SHARD contains in `before` the hives before all that,
and in statuses.json by the target's id the statuses of the two.
"""

import json
import sys
from pathlib import Path

from keeper import Keeper
from targets import read_shard, session_folder, system_program


class Removals:
    def __init__(self, keeper, output):
        self.keeper, self.output = keeper, output

    def registrar(self, target, *words):
        return self.keeper.run(system_program(target.bitness, "regsvr32.exe"), *words, "/s", target.path)

    def statuses(self, target):
        registered = self.registrar(target)
        self.keeper.save(self.output / target.id / "registered")
        unregistered = self.registrar(target, "/u")
        self.keeper.save(self.output / target.id / "unregistered")
        self.keeper.restore()
        return {"registered": registered, "unregistered": unregistered}


def main(targets, keeper, output, bitness, shard, shards):
    output = Path(output)
    targets = read_shard(targets, ("module",), bitness, shard, shards)
    own = session_folder(output, bitness, shard)
    own.mkdir(parents=True)
    removals = Removals(Keeper(keeper), output)
    # Wine sets up a part of the registry for the first process of the bitness.
    removals.keeper.run(system_program(bitness, "regsvr32.exe"), "/s", "C:\\missing.dll")
    removals.keeper.keep(own / "before")
    statuses = {target.id: removals.statuses(target) for target in targets}
    (own / "statuses.json").write_text(json.dumps(statuses))


main(*sys.argv[1:])
