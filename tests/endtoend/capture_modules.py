"""Usage, inside a Wine session: capture_modules.py KEYREAP SAVEHIVES FOLDER OUTPUT MODULE...

KEYREAP and SAVEHIVES are programs and FOLDER is the folder of the modules, all as Windows paths. Captures each module
into OUTPUT/MODULE/redirected.reg by redirection and into OUTPUT/MODULE/default.reg in the default mode. OUTPUT/before
and OUTPUT/after contain the hives before and after the captures in the default mode, OUTPUT/statuses.json all exit
statuses.
"""

import json
import pathlib
import sys

from insession import windows_path, wine


def save_hives(savehives, folder):
    folder.mkdir()
    return wine(savehives, windows_path(folder))


def main(keyreap, savehives, folder, output, *modules):
    output = pathlib.Path(output)

    def capture(module, name, *mode):
        result = windows_path(output / module / name)
        return wine(keyreap, "extreg", folder + "\\" + module, result, *mode)

    for module in modules:
        (output / module).mkdir()
    statuses = [capture(module, "redirected.reg", "keyRedir") for module in modules]
    statuses.append(save_hives(savehives, output / "before"))
    statuses += [capture(module, "default.reg") for module in modules]
    statuses.append(save_hives(savehives, output / "after"))
    (output / "statuses.json").write_text(json.dumps(statuses))


main(*sys.argv[1:])
