"""Usage, inside a Wine session with the request log:
trace_targets.py TARGETS KEYREAP KEEPER OUTPUT MODE BITNESS SHARD SHARDS

TARGETS is the list, KEYREAP and KEEPER are programs, as Windows paths; MODE is a mode word. Captures the modules, type
libraries and programs of BITNESS in shard SHARD out of SHARDS into OUTPUT/ID.reg, each time from the same registry, and
stores the resulting hives in OUTPUT/ID. OUTPUT/session-BITNESS-SHARD contains in `before` and `after` the hives before
all that and those after it, when the registry has been restored, and captures.json as capture_targets.py writes it.
"""

import json
import sys
from pathlib import Path

from capture_targets import Captures, temporary_files
from keeper import Keeper
from targets import read_shard, session_folder


def main(targets, keyreap, keeper, output, mode, bitness, shard, shards):
    output = Path(output)
    targets = read_shard(targets, ("module", "library", "program"), bitness, shard, shards)
    own = session_folder(output, bitness, shard)
    own.mkdir(parents=True)
    keeper = Keeper(keeper)
    Captures(keeper, keyreap, "keyRedir", own).warm_up(targets[0], targets[0])
    captures = Captures(keeper, keyreap, mode, output)
    temporary = [temporary_files()]
    keeper.keep(own / "before")
    for target in targets:
        captures.capture([target])
        keeper.save(output / target.id)
        keeper.restore()
    keeper.save(own / "after")
    temporary.append(temporary_files())
    (own / "captures.json").write_text(json.dumps({"results": captures.results, "temporary": temporary}))


main(*sys.argv[1:])
