"""The registry after each sample server registered itself, one function for each."""

from document import BINARY, DWORD, EXPAND, MULTI, NONE, QWORD, SZ, raw, redirected_roots

EVERY_TYPE = [*range(13), 0x12345]
SIZES = [0, 1, 2, 3, 4, 5, 25, 26, 50, 51, 518, 519, 520, 521, 522, 2000]
LARGE_SIZE = 100_000
EIGHT_BYTES = bytes(range(1, 9))


def pattern(kind, size):
    if kind in (SZ, EXPAND, MULTI):
        letters = (
            "\0" if kind == MULTI and i % 5 == 4 else chr(ord("a") + i % 26) for i in range(size // 2 + 1)
        )
        return raw("".join(letters))[:size]
    return bytes((i * 7 + 3) % 256 for i in range(size))


def everytype():
    roots = redirected_roots()
    places = {
        "HKEY_LOCAL_MACHINE": ("Software\\KeyreapEveryType", [*SIZES, LARGE_SIZE]),
        "HKEY_USERS": (".DEFAULT\\Software\\KeyreapEveryType", SIZES),
        "HKEY_CURRENT_USER": ("Software\\KeyreapEveryType", SIZES),
        "HKEY_CLASSES_ROOT": ("Keyreap.EveryType", SIZES),
    }
    for root, (path, sizes) in places.items():
        key = roots[root].child(path).text("", "every type")
        for kind in EVERY_TYPE:
            key.child("Types").set(f"{kind:05x}", kind, raw("ab\0\0"))
            for size in sizes:
                key.child(f"Sizes\\{kind:05x}").set(f"{size:06d}", kind, pattern(kind, size))
    return roots


TEXTS = {
    "": "the default\0",
    "backslash alone": "\\\0",
    "backslash at the end": "C:\\folder\\\0",
    "backslash first and again": "\\foo\\bar\0",
    "backslash first only": "\\foo\0",
    "backslashes, two": "\\\\\0",
    "control characters": "\x01\t\x1b\x7f\0",
    "CR": "a\rb\0",
    "CR LF": "a\r\nb\r\n\0",
    "LF": "a\nb\0",
    "NUL alone": "\0",
    "NUL inside": "seen\0unseen\0",
    "quote alone": '"\0',
    "quote first and again": '"quoted"\0',
    "quote first only": '"quoted\0',
    "quote in the middle": 'a"b\0',
    "quoted path": '"C:\\a b\\c.exe" /x\0',
    "surrogate halves, both wrong": "\ude00\ud83d\0",
    "surrogate, high half": "a\ud83d\0",
    "surrogate, low half": "\ude00z\0",
    "surrogate pair": "\ud83d\ude00\0",
    "terminated twice": "a\0\0",
    "unicode": "Gr\u00fc\u00dfe \u65e5\u672c\ufffe\ufeff\0",
    "unterminated": "open end",
    "variable": "%SystemRoot%\\x\0",
}

LISTS = {
    "": "the\0default\0\0",
    "empty": "\0",
    "empty, twice terminated": "\0\0",
    "empty text first": "\0a\0\0",
    "empty text inside": "a\0\0b\0\0",
    "line breaks inside": "a\r\nb\0c\nd\0e\rf\0\0",
    "one": "one\0\0",
    "three": "one\0two\0three\0\0",
    "unterminated": "a\0b",
    "unterminated list": "a\0b\0",
}

NUMBERS = {
    "": 16,
    "largest": 0xFFFFFFFF,
    "largest signed": 0x7FFFFFFF,
    "letters": 0xABCDEF01,
    "one": 1,
    "zero": 0,
}


def texts():
    roots = redirected_roots()
    key = roots["HKEY_CLASSES_ROOT"].child("Keyreap.Texts")
    for name, text in TEXTS.items():
        key.child("Text").set(name, SZ, raw(text))
        key.child("Expand").set(name, EXPAND, raw(text))
    for name, text in LISTS.items():
        key.child("List").set(name, MULTI, raw(text))
    for name, number in NUMBERS.items():
        key.child("Numbers").dword(name, number)
    borrowed(key.child("Borrowed"))
    return roots


def borrowed(key):
    key.set("00 first", QWORD, EIGHT_BYTES)
    key.dword("01", 16)
    key.set("02 behind a number", QWORD, EIGHT_BYTES)
    key.set("03 behind another", QWORD, EIGHT_BYTES)
    key.text("04", "C:\\x")
    key.set("05 behind a text", QWORD, EIGHT_BYTES)
    key.set("06", EXPAND, raw("%odd%\0"))
    key.set("07 behind an expand text", QWORD, EIGHT_BYTES)
    key.set("08", MULTI, raw("a\0b\0\0"))
    key.set("09 behind a list", QWORD, EIGHT_BYTES)
    key.set("10", BINARY, b"\xde\xad")
    key.set("11 behind bytes", QWORD, EIGHT_BYTES)
    key.set("12", NONE, b"\xbe")
    key.set("13 behind a type that leaves the text", QWORD, EIGHT_BYTES)
    key.set("14", NONE, b"")
    key.set("15 behind an empty value", QWORD, EIGHT_BYTES)
    key.text("16", "x" * 60)
    key.set("17 behind a long text", QWORD, EIGHT_BYTES)
    key.set("18 empty itself", QWORD, b"")
    key.text("19", "last of the parent")
    key.child("Alone").set("", QWORD, EIGHT_BYTES)


ODD_VALUE_NAMES = [
    " ",
    '"',
    '"first only',
    '"first and again"',
    "@",
    "[brackets]",
    "\\",
    "\\first only",
    "\\first\\and again",
    'a"b',
    "C:\\a\\b.dll",
    "CR LF\r\n",
    "equals=sign",
    "semicolon;",
    "Upper Case",
    "\u00c4rger",
    "\ud83d\ude00",
    "\ud83d high half",
    "\ude00 low half",
]


def names():
    roots = redirected_roots()
    key = roots["HKEY_CLASSES_ROOT"].child("Keyreap.Names")
    for name in ODD_VALUE_NAMES:
        key.child("Odd").text(name, "x")
    for length in (259, 260, 261, 16383):
        long = key.child(str(length))
        long.text("a", "in front").text("n" * length, "long").text("z", "behind")
        long.child("Child").text("", "below")
    for length in (259, 260):
        key.child(f"{length} and data").text("n" * length, "d" * 1000)
    return roots


ODD_KEY_NAMES = [
    "[brackets]",
    "]half[",
    '"quoted"',
    "with = and ;",
    "-leading minus",
    "Upper Case",
    "%variable%",
    "for/ward",
    "\u00c4rger",
    "\ud83d\ude00",
    "\ud83d high half",
    "\ude00 low half",
]


def keys():
    roots = redirected_roots()
    key = roots["HKEY_CLASSES_ROOT"].child("Keyreap.Keys")
    key.child("Odd").dword("", 1)
    for name in ODD_KEY_NAMES:
        key.child("Odd").child(name).text("", "x")
    longest = "k" * 255
    key.child(longest + "\\" + longest).text("", "longest")
    key.child("Empty")
    key.child("Deep" + "\\level" * 100).text("", "bottom")
    for number in range(300):
        key.child(f"Wide\\{number}").dword("", number)
        key.child("Values").dword(str(number), number)
    defaults(key.child("Default"))
    key.child("Mixed\\a child").text("", "child")
    key.child("Mixed").text("z value", "value")
    return roots


def defaults(key):
    key.child("unset").text("other", "set")
    key.child("set").text("", "set")
    key.child("empty").text("", "")
    key.child("number").dword("", 1)
    key.child("none").set("", NONE, b"")


def one_text(root, path, name, text):
    roots = redirected_roots()
    roots[root].child(path).text(name, text)
    return roots


def failing():
    return one_text("HKEY_CLASSES_ROOT", "Keyreap.Failing", "", "written before failing")


def silent():
    return redirected_roots()


def plain():
    return one_text("HKEY_CLASSES_ROOT", "Keyreap.Plain", "", "plain")


def neighbour():
    roots = redirected_roots()
    roots["HKEY_CLASSES_ROOT"].child("Keyreap.Dependent").dword("", 42)
    return roots


def lifetime():
    roots = redirected_roots()
    roots["HKEY_CURRENT_USER"].child("Software\\KeyreapLifetime").dword("loaded", 1).dword("registered", 1)
    return roots


def peruser():
    roots = redirected_roots()
    classes = roots["HKEY_CURRENT_USER"].child("Software\\Classes")
    class_id = "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D01}"
    classes.child("Keyreap.PerUser").text("", "per user")
    classes.child("Keyreap.PerUser\\CLSID").text("", class_id)
    server = classes.child(f"CLSID\\{class_id}\\InprocServer32")
    server.text("", "peruser.dll").text("ThreadingModel", "Apartment")
    return roots


def everyview():
    """Redirected classes are one tree in all views."""
    roots = redirected_roots()
    key = roots["HKEY_CLASSES_ROOT"].child("Keyreap.EveryView")
    key.text("by the other view, from the own", "found").text("by the other view, without a view", "found")
    key.text("without a view, from the other", "found").text("live classes from the other view", "not found")
    key.child("Without a view").text("", "without")
    key.child("By the own view").text("", "own")
    key.child("By the other view").text("", "other")
    key.child("By all views").text("", "last")
    return roots


def renaming():
    """All values of the renamed keys, under the new names."""
    roots = redirected_roots()
    key = roots["HKEY_CURRENT_USER"].child("Software\\KeyreapRenaming").dword("renamed", 1)
    for renamed in (key.child("New"), key.child("New\\Below")):
        renamed.text("before", "set before the renaming").text("after", "set after the renaming")
    key.child("New, left alone").text("before", "set before the renaming")
    key.child("New, empty")
    return roots


def pausing():
    """All entries of the sample, which was allowed to continue."""
    roots = redirected_roots()
    roots["HKEY_CLASSES_ROOT"].child("Keyreap.Pausing").text("", "half").text("rest", "written")
    roots["HKEY_CURRENT_USER"].child("Software\\KeyreapPausing").text("", "half")
    roots["HKEY_LOCAL_MACHINE"].child("Software\\KeyreapPausing").text("", "half")
    return roots


def surroundings():
    """Redirected roots are empty except for HKLM\\Software\\Classes; both libraries were loaded at the start."""
    roots = redirected_roots()
    key = roots["HKEY_CLASSES_ROOT"].child("Keyreap.Surroundings")
    key.dword("HKEY_CLASSES_ROOT", 0)
    key.dword("HKEY_CURRENT_USER", 0)
    key.dword("HKEY_LOCAL_MACHINE", 1)
    key.dword("HKEY_LOCAL_MACHINE\\Software\\Classes", 1)
    key.dword("HKEY_LOCAL_MACHINE\\Software\\Microsoft", 0)
    key.dword("HKEY_USERS", 0)
    key.dword("IPHLPAPI.DLL", 1)
    key.dword("MPR.DLL", 1)
    key.dword("single-threaded apartment", 1)
    return roots


# LoadTypeLibEx of Wine registers a library's path with this prefix; RegisterTypeLib registers it unchanged.
LOADED = "\\\\?\\"

OLE_AUTOMATION_PROXY = "{00020424-0000-0000-C000-000000000046}"


def type_library(classes, system, prefix=""):
    """The system's entries for calculator.tlb; MODULE and FOLDER are placeholders for the paths of the run.

    The spelling Typelib and the flag 8 are Wine's own.
    """
    library = "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D11}"
    version = classes.child(f"Typelib\\{library}\\1.0").text("", "Keyreap sample: calculator")
    version.child(f"0\\{system}").text("", prefix + "{MODULE}")
    version.child("FLAGS").text("", "8")
    version.child("HELPDIR").text("", prefix + "{FOLDER}")
    interface = classes.child("Interface\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D10}").text("", "ICalculator")
    interface.child("ProxyStubClsid").text("", OLE_AUTOMATION_PROXY)
    interface.child("ProxyStubClsid32").text("", OLE_AUTOMATION_PROXY)
    interface.child("TypeLib").text("", library).text("Version", "1.0")


def calculator(system):
    roots = redirected_roots()
    classes = roots["HKEY_CLASSES_ROOT"]
    class_id = "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D12}"
    for prog_id in ("Keyreap.Calculator", "Keyreap.Calculator.1"):
        classes.child(prog_id).text("", "Calculator Class")
        classes.child(prog_id + "\\CLSID").text("", class_id)
    classes.child("Keyreap.Calculator\\CurVer").text("", "Keyreap.Calculator.1")
    key = classes.child("CLSID\\" + class_id).text("", "Calculator Class")
    key.child("InprocServer32").text("", "{MODULE}").text("ThreadingModel", "Both")
    key.child("ProgID").text("", "Keyreap.Calculator.1")
    key.child("Programmable")
    key.child("TypeLib").text("", "{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D11}")
    key.child("Version").text("", "1.0")
    key.child("VersionIndependentProgID").text("", "Keyreap.Calculator")
    type_library(classes, system)
    return roots


def exporting(system):
    """A DLL with the extension .exe and a type library: every path is that of the file itself."""
    roots = redirected_roots()
    roots["HKEY_CLASSES_ROOT"].child("Keyreap.Exporting").text("", "{MODULE}")
    type_library(roots["HKEY_CLASSES_ROOT"], system, LOADED)
    return roots


def library_alone(system):
    roots = redirected_roots()
    type_library(roots["HKEY_CLASSES_ROOT"], system, LOADED)
    return roots
