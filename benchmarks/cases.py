"""The whole processes that ./bench measures. A case has two or more sides that do the same in different ways. A side
is a sequence of programs: {case: [[side, [[word, ...], ...]], ...]}"""

from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
BUILD = ROOT / "build"
REGISTRY = BUILD / "x64" / "benchmarks" / "registrybench.exe"
BARE = BUILD / "x64" / "benchmarks" / "barecapture.exe"
KEYREAP = BUILD / "stage" / "bin" / "x64" / "Keyreap.exe"
DRIVE_C = BUILD / "wine" / "base" / "drive_c"
WINE = "/usr/bin/wine"

VALUES = BUILD / "x64" / "benchmarks" / "manyvalues.dll"
VALUES_KEY = "Software\\KeyreapBenchValues"

SYSTEM = "C:\\windows\\system32\\"
SYSTEM32 = "C:\\windows\\syswow64\\"  # for 32-bit programs
TREE = "HKCU\\Software\\Keyreap Bench"


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def servers():
    """Wine's own modules that register themselves: the names of both exports are adjacent."""
    exports = b"\0DllGetClassObject\0DllRegisterServer\0"
    files = sorted((DRIVE_C / "windows" / "system32").iterdir())
    return [file for file in files if file.suffix in (".dll", ".ocx", ".ax") and exports in file.read_bytes()]


def of_all_sizes(files, count):
    """`count` of the files: sorted by size and cut into `count` equal parts, the middle one of each part."""
    ordered = sorted(files, key=lambda file: (file.stat().st_size, file.name))
    return [ordered[(2 * part + 1) * len(ordered) // (2 * count)].name for part in range(count)]


def regsvr32(module):
    return [WINE, SYSTEM + "regsvr32.exe", "/s", SYSTEM + module]


def keyreap(work, modules, mode, system=SYSTEM):
    pairs = [word for module in modules for word in (system + module, windows_path(work / (module + ".reg")))]
    return [WINE, windows_path(KEYREAP), "extreg", *pairs, mode]


def zero_or_one(words):
    """A command whose exit status may also be 1."""
    return ["bash", "-c", '"$@" || [[ $? == 1 ]]', "bash", *words]


def export(key, file):
    return [WINE, SYSTEM + "reg.exe", "export", key, windows_path(file), "/y"]


def single_server(sizes, work, mode):
    """Each module by itself, captured in a mode and registered."""
    return {
        module: [["ours", [keyreap(work, [module], mode)]], ["other", [regsvr32(module)]]] for module in sizes.modules
    }


def nothing():
    """Both programs with nothing to do."""
    ours, other = [WINE, windows_path(KEYREAP), "nothing"], [WINE, SYSTEM + "regsvr32.exe", "/?"]
    return {"nothing": [["ours", [zero_or_one(ours)]], ["other", [zero_or_one(other)]]]}


def bare_capture(work, modules):
    """The system calls of a capture, and nothing else."""
    return [WINE, windows_path(BARE), *(word for module in modules for word in bare_pair(work, module))]


def bare_pair(work, module):
    return SYSTEM + module, windows_path(work / (module + ".bare"))


def bare_list(work, module):
    return work / (module + ".list")


def redirected(sizes, work):
    """Each module by itself, captured by redirection, by the bare steps of that, and registered."""
    cases = single_server(sizes, work, "keyRedir")
    for module, sides in cases.items():
        sides.append(["bare", [bare_capture(work, [module])]])
    return cases


def bare_traced(sizes, work):
    """The steps of a traced capture without the trace: the list replaces its content."""
    cases = {}
    for module in sizes.modules:
        words = ["--list", windows_path(bare_list(work, module)), *bare_pair(work, module)]
        cases[module] = [["ours", [[WINE, windows_path(BARE), *words]]], ["other", [regsvr32(module)]]]
    return cases


def with_values(count, words):
    """A command in which manyvalues.dll writes that many values."""
    return ["env", "KEYREAP_BENCH_VALUES=%d" % count, *words]


def value_list(work, count, below):
    """The list of these values for the bare steps: in the order in which Keyreap removes them, the newest first."""
    file = work / ("values%d%s.list" % (count, below[:4]))
    names = "".join("V%07d\n" % number for number in reversed(range(count)))
    file.write_text("K%s%s\n%s" % (below, VALUES_KEY, names), encoding="utf-16-le")
    return windows_path(file)


def bare_values(work, count, mode):
    option, below = ("--live", "") if mode == "trace" else ("--list", "HKCU\\")
    words = [option, value_list(work, count, below), windows_path(VALUES), windows_path(work / "values.bare")]
    return with_values(count, [WINE, windows_path(BARE), *words])


def many_values(work, count, mode):
    """A server of many values in one key, captured in a mode and by its bare steps."""
    ours = [WINE, windows_path(KEYREAP), "extreg", windows_path(VALUES), windows_path(work / "values.reg"), mode]
    return {"values": [["ours", [with_values(count, ours)]], ["other", [bare_values(work, count, mode)]]]}


def captures_of_both(sizes, work):
    """A capture of each bitness."""
    bitnesses = {"x64": SYSTEM, "x86": SYSTEM32}
    return {name: [["ours", [keyreap(work, sizes.modules[:1], "both", system)]]] for name, system in bitnesses.items()}


def long_log(sizes, work):
    """A capture of either bitness in a session that has a long request log, and the reading of that log."""
    log = '"$WINEPREFIX/drive_c/windows/keyreap-requests.log"'
    reading = ["bash", "-c", "cat " + log]
    size = ["bash", "-c", "stat -c %s " + log + ' > "$1"', "bash", str(work / "log.size")]
    ours = [[name, side[1]] for name, [side] in captures_of_both(sizes, work).items()]
    return {"log": [*ours, ["other", [reading]], ["size", [size]]]}


def many_servers(sizes, work):
    modules = [file.name for file in servers()[: sizes.servers]]
    ours, bare = keyreap(work, modules, "keyRedir"), bare_capture(work, modules)
    other = [regsvr32(module) for module in modules]
    return {"many": [["ours", [ours]], ["other", other], ["bare", [bare]]]}


def usual_way(sizes, work):
    """Export, register, export again, compare."""
    before = [work / ("before%d.reg" % number) for number in range(len(sizes.exported))]
    after = [work / ("after%d.reg" % number) for number in range(len(sizes.exported))]
    other = [export(key, file) for key, file in zip(sizes.exported, before)]
    other.append(regsvr32(sizes.modules[0]))
    other += [export(key, file) for key, file in zip(sizes.exported, after)]
    other += [zero_or_one(["cmp", str(old), str(new)]) for old, new in zip(before, after)]
    return {"export": [["ours", [keyreap(work, sizes.modules[:1], "keyRedir")]], ["other", other]]}


def tree(sizes, work):
    """A big tree harvested, written without a registry, and exported."""
    program = [WINE, windows_path(REGISTRY)]
    counts = [str(sizes.tree_keys), str(sizes.tree_values)]
    return {
        "tree": [
            ["harvest", [[*program, "harvest", windows_path(work / "harvested.reg")]]],
            ["enumerate", [[*program, "enumerate"]]],
            ["write", [[*program, "write", windows_path(work / "written.reg"), *counts]]],
            ["export", [export(TREE, work / "exported.reg")]],
        ]
    }


def fill_tree(sizes):
    return [WINE, windows_path(REGISTRY), "fill", str(sizes.tree_keys), str(sizes.tree_values)]
