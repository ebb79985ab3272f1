"""The servers of tests/samples/checked for the tests of `keykit check`: where they are, which of them are checked, and the
lines that name what is wrong with each one."""

import os
import re
from dataclasses import dataclass

from conftest import ROOT

SOURCES = ROOT / "tests" / "samples" / "checked"
ARCHITECTURES = {64: "x64", 32: "x86"}

RIGHT = ["advapi", "apartmentclass", "category", "extension", "freedata", "neutralhelper", "surrogate", "table", "typelibrary", "versions"]

# In a line, OWN is the machine's software in the view of the server's bitness, FOREIGN in the other view; FOLDER is that
# of the server, and BITS and OTHER are the bitnesses.
PAST = "is written past the redirected roots, as by another process"
LATE = "is written when DllRegisterServer has returned"
OF_USER = "is registered for the user alone who captured it, and nobody else finds it"
NAMES_USER = "names the user who captured it"
BOTH_FAIL = (
    "DllRegisterServer gives 0x80004005 (E_FAIL) while the roots are redirected, and 0x80004005 (E_FAIL) in a full registry"
)
CLASSES = "HKEY_LOCAL_MACHINE\\Software\\Classes"
SETTINGS = "HKEY_CLASSES_ROOT\\CLSID\\{4EC25B64-0899-4A8D-963B-72DCF5FCDCA3}\\Settings"
RENAMED = "HKEY_CLASSES_ROOT\\CLSID\\{215A39E5-EB6A-4ECF-A7AE-A04E9D756683}\\Settings"


@dataclass(frozen=True)
class Wrong:
    """The rule that names the cause, and what its lines say: the place, if there is one, and a sentence. What follows from
    the same cause is found by further rules."""

    rule: str
    causes: tuple
    further: tuple = ()
    further_of_32: tuple | None = None

    def said(self, bitness, folder):
        return [placed(cause, bitness, folder) for cause in self.causes]

    def further_rules(self, bitness):
        return set(self.further if bitness == 64 or self.further_of_32 is None else self.further_of_32)


def placed(text, bitness, folder):
    views = ["HKEY_LOCAL_MACHINE\\Software", "HKEY_LOCAL_MACHINE\\Software\\Wow6432Node"]
    own, foreign = views if bitness == 64 else reversed(views)
    words = {"OWN": own, "FOREIGN": foreign, "BITS": str(bitness), "OTHER": str(96 - bitness)}
    words["FOLDER"] = "Z:" + str(folder).replace("/", "\\")
    return re.sub(r"\b(%s)\b" % "|".join(words), lambda found: words[found[1]], text)


WRONG = {
    "afterreturn": Wrong(
        "C207",
        (
            " OWN\\KeyreapChecked: " + LATE,
            ' OWN\\KeyreapChecked\\AfterReturn, value "Installed": ' + LATE,
        ),
    ),
    "childwrites": Wrong(
        "C206",
        (
            " OWN\\KeyreapChecked: " + PAST,
            ' OWN\\KeyreapChecked\\ChildWrites, value "Installed": ' + PAST,
        ),
        ("C101",),
    ),
    "emptykey": Wrong(
        "C201",
        (
            ": DllRegisterServer gives 0x80004005 (E_FAIL) while the roots are redirected, and 0x00000000 (S_OK) in a full registry: "
            "the capture has a part of a registration; what it looked for last and didn't find there is "
            "open key HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion",
        ),
        ("C101",),
    ),
    "leaves": Wrong("C401", (" %s\\KeyreapChecked.Leaves: is left when the server is unregistered" % CLASSES,)),
    "machinepath": Wrong(
        "C601",
        (
            ' %s, value "Cache": %s' % (SETTINGS, NAMES_USER),
            ' %s, value "Computer": names the computer on which it was captured' % SETTINGS,
            ' %s, value "Documents": %s' % (SETTINGS, NAMES_USER),
        ),
    ),
    "missinglink": Wrong("C204", (": checkedabsent.dll is nowhere; missinglink.dll loads it at the first call",), ("C104", "C202")),
    "missingname": Wrong(
        "C202",
        (
            ": %s; the cause is unknown: no DLL that its tables name is missing, and a name that is given to LoadLibrary alone is in "
            "no table" % BOTH_FAIL,
        ),
        ("C104",),
    ),
    "once": Wrong(
        "C502",
        (
            " HKEY_CLASSES_ROOT\\CLSID\\{61027BC4-CA40-4066-B398-31BDEC0DC991}: is registered only at the first time in a process, "
            "as are 5 others",
        ),
    ),
    "otherview": Wrong(
        "C106",
        (
            ' FOREIGN\\KeyreapChecked\\OtherView, value "Installed": is in the view of the other bitness, and the capture has it in '
            "the server's own",
        ),
        ("C101", "C102"),
        ("C102",),  # the capture has the key, which is in the registry of 64 bits under the same name
    ),
    "peruser": Wrong(
        "C105",
        (
            " HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\{F1DEED93-8CBC-4E83-A22E-3ADC8EC35CAB}: " + OF_USER,
            " HKEY_CURRENT_USER\\Software\\Classes\\KeyreapChecked.PerUser: " + OF_USER,
        ),
        ("C302",),
    ),
    "refuses": Wrong("C503", (": the registrar of the system ended with 5 when the server was there already",)),
    "takes": Wrong("C402", (" %s\\.xml: is not the server's, and unregistering takes it" % CLASSES,)),
    "timed": Wrong(
        "C602",
        (' HKEY_CLASSES_ROOT\\CLSID\\{D17B2423-BEB9-4002-A889-F059C00E98EE}, value "Registered": has other data in each capture',),
        ("C103",),
    ),
    "uncreatable": Wrong(
        "C302",
        (
            " HKEY_CLASSES_ROOT\\CLSID\\{0AEAB173-5C24-410A-A434-9C68888DED2B}: CoCreateInstance gives 0x80040111 "
            "(CLASS_E_CLASSNOTAVAILABLE) after an import of the capture, and so it does after a registration",
        ),
    ),
    "wrongbitness": Wrong(
        "C205",
        (
            ": FOLDER\\checkedhelper.dll is a OTHER-bit file, and the server is of BITS bits; wrongbitness.dll loads it at the "
            "first call",
        ),
        ("C104", "C202"),
    ),
}

# Their threads still write when the next server of the same command is captured.
WRITES_LATE = {"afterreturn"}

# Wrong without a fault in the capture by keyRedir: a story says it, and a check of a trace's capture.
CAPTURED_RIGHT = ["overwritten", "renamed"]

TRACED_RENAMED = [
    "C101 %s\\CLSID%s: is missing: the registrar of the system wrote it in a registry without classes"
    % (CLASSES, RENAMED.partition("CLSID")[2]),
    "C102 %s being written: is in the capture alone: after a registration in a registry without classes it isn't there" % RENAMED,
    'C701 %s being written, value "Language": could not be read when it was captured' % RENAMED,
    'C701 %s being written, value "Level": could not be read when it was captured' % RENAMED,
]

# Of `keykit explain`: the mode, the line that names the cause, with N for a number, and what the line says to which it refers,
# if it refers to one.
EXPLAINED = {
    "overwritten": (
        "both",
        "N KeyKitExplain.exe (N): set value HKEY_CLASSES_ROOT\\KeyreapChecked.Overwritten, default value: "
        "overwritten later (line N, set value by KeyKitExplain.exe (N))",
        "set value HKEY_CLASSES_ROOT\\KeyreapChecked.Overwritten, default value: in the result",
    ),
    "renamed": (
        "trace",
        "N KeyKitExplain.exe (N): create key %s being written: in the result under this name, though it was renamed later "
        "(line N, rename key to \"Settings\" by KeyKitExplain.exe (N)): a trace doesn't follow that (N times)" % RENAMED,
        "rename key %s being written to \"Settings\": a trace doesn't follow a renaming" % RENAMED,
    ),
    "childwrites": (
        "keyRedir",
        'N reg.exe (N): set value HKEY_LOCAL_MACHINE\\Software\\KeyreapChecked\\ChildWrites, value "Installed": '
        "not in the result: by a process that isn't watched, started by KeyKitExplain.exe (N)",
        None,
    ),
    "emptykey": (
        "keyRedir",
        "N KeyKitExplain.exe (N): open key HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT\\CurrentVersion: "
        "looked for and not found: the redirected roots are empty there, and the registry has it",
        None,
    ),
}

NAMES = sorted([*RIGHT, *WRONG, *CAPTURED_RIGHT])
# Of 32 bits every third one, from the third on: those are among them for which the bitness matters.
WHOLE = os.environ.get("KEYREAP_SAMPLE") == "1"
SAMPLE = {64: NAMES, 32: NAMES if WHOLE else NAMES[2::3]}
SERVERS = [(bitness, name) for bitness, names in SAMPLE.items() for name in names]


IN_OWN_FOLDER = ["neutralhelper", "wrongbitness"]


def server_of(bitness, name):
    folder = ROOT / "build" / "samples" / ARCHITECTURES[bitness] / "checked"
    return (folder / name if name in IN_OWN_FOLDER else folder) / (name + ".dll")
