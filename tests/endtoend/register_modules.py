"""Usage, inside a Wine session: register_modules.py KEYREAP REGSVR32 REG FOLDER OUTPUT MODULE...

KEYREAP, REGSVR32 and REG are programs and FOLDER is the folder of the modules, all as Windows paths. Captures
each module into OUTPUT/MODULE/captured.reg. Then registers each module and imports its captured file, each time
starting from the same hives, and stores the resulting hives in OUTPUT/MODULE/registered and OUTPUT/MODULE/imported.
OUTPUT/before contains the hives before the captures, OUTPUT/captured those after them, OUTPUT/statuses.json all exit
statuses.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys

from insession import windows_path, wine

HIVES = ["system.reg", "user.reg", "userdef.reg"]
PREFIX = pathlib.Path(os.environ["WINEPREFIX"])


def stop_server():
    """The server writes the hives when it ends."""
    subprocess.run(["wineserver", "-k"], check=False)
    subprocess.run(["wineserver", "-w"], check=True, timeout=60)


def keep_hives(folder):
    folder.mkdir(parents=True)
    for hive in HIVES:
        shutil.copy(PREFIX / hive, folder / hive)


def put_hives(folder):
    for hive in HIVES:
        shutil.copy(folder / hive, PREFIX / hive)


def capture_all(keyreap, folder, output, modules):
    for module in modules:
        (output / module).mkdir()
        result = windows_path(output / module / "captured.reg")
        yield wine(keyreap, "extreg", folder + "\\" + module, result, "keyRedir")


def run_on_captured_hives(output, kept, *words):
    """Runs a program on the hives after the captures, and stores the hives that it leaves."""
    put_hives(output / "captured")
    status = wine(*words)
    stop_server()
    keep_hives(kept)
    return status


def main(keyreap, regsvr32, reg, folder, output, *modules):
    output = pathlib.Path(output)
    # Wine changes the hives when the first program of a session starts. That must not count.
    wine(regsvr32, "/s", "no such module")
    stop_server()
    keep_hives(output / "before")
    statuses = {"captured": list(capture_all(keyreap, folder, output, modules)), "registered": [], "imported": []}
    stop_server()
    keep_hives(output / "captured")
    for module in modules:
        kept = output / module
        file = windows_path(kept / "captured.reg")
        statuses["registered"].append(
            run_on_captured_hives(output, kept / "registered", regsvr32, "/s", folder + "\\" + module)
        )
        statuses["imported"].append(run_on_captured_hives(output, kept / "imported", reg, "import", file))
    (output / "statuses.json").write_text(json.dumps(statuses))


main(*sys.argv[1:])
