"""Usage, inside a Wine session: register_modules.py KEYREAP REGSVR32 REG FOLDER OUTPUT MODULE...

KEYREAP, REGSVR32 and REG are programs and FOLDER is the folder of the modules, all as Windows paths. Captures
each module into OUTPUT/MODULE/captured.reg. Then, each time from the same hives, lets the module register itself
and imports its captured file, and keeps the hives that this leaves in OUTPUT/MODULE/registered and
OUTPUT/MODULE/imported. OUTPUT/before holds the hives in front of all that, OUTPUT/captured those behind the
captures. OUTPUT/statuses.json tells the exit statuses.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys

HIVES = ["system.reg", "user.reg", "userdef.reg"]
PREFIX = pathlib.Path(os.environ["WINEPREFIX"])


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def wine(*words):
    """The exit status of a Windows program, as far as this system shows it: the low eight bits."""
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    return subprocess.run(["wine", *words], timeout=120, **quiet).returncode


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


def try_alone(output, kept, *words):
    """Runs a program on the hives behind the captures, and keeps what it makes of them."""
    put_hives(output / "captured")
    status = wine(*words)
    stop_server()
    keep_hives(kept)
    return status


def main(keyreap, regsvr32, reg, folder, output, *modules):
    output = pathlib.Path(output)
    # What Wine does to the hives whenever a first program starts is not to count.
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
            try_alone(output, kept / "registered", regsvr32, "/s", folder + "\\" + module)
        )
        statuses["imported"].append(try_alone(output, kept / "imported", reg, "import", file))
    (output / "statuses.json").write_text(json.dumps(statuses))


main(*sys.argv[1:])
