"""Servers in C that the tests of a live host compile, and how they ask KeyKitLive about them."""

import json
import subprocess

from conftest import ROOT

LIVE = ROOT / "scripts" / "live.sh"
ARCHITECTURES = {64: "x64", 32: "x86"}
PREFIXES = {64: "x86_64-w64-mingw32", 32: "i686-w64-mingw32"}

# Does nothing, and reports a failure.
FAILING = "HRESULT WINAPI DllRegisterServer(void) { return E_ACCESSDENIED; }\n"

# Uses up the stack.
ENDLESS = "int deeper(volatile char *above) { char here[4096]; here[0] = *above; return deeper(here) + here[0]; }\n" \
    "HRESULT WINAPI DllRegisterServer(void) { char none = 0; return deeper(&none); }\n"
CRASHING = "HRESULT WINAPI DllRegisterServer(void) { *(volatile int *)0 = 1; return S_OK; }\n"

# Prints what looks like answers, and the beginning of a line.
PRINTING = """#include <stdio.h>
HRESULT WINAPI DllRegisterServer(void) {
    DWORD written;
    printf("{\\"result\\":7}\\n{\\"done\\":true,\\"step\\":0}\\nloading ");
    fflush(stdout);
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "{\\"result\\":8}\\n{", 14, &written, 0);
    return S_FALSE;
}
"""

# Starts a process that has all handles that a program can inherit, and goes on for minutes.
LEAVING = """HRESULT WINAPI DllRegisterServer(void) {
    STARTUPINFOW start = {sizeof(start)};
    PROCESS_INFORMATION process;
    WCHAR line[] = L"C:\\\\windows\\\\system32\\\\ping.exe -n 300 127.0.0.1";
    return CreateProcessW(0, line, 0, 0, TRUE, 0, 0, 0, &start, &process) ? S_OK : E_FAIL;
}
"""

# Loads a module of the system, and unloads it at once.
LOADING = """HRESULT WINAPI DllRegisterServer(void) {
    FreeLibrary(LoadLibraryW(L"cabinet.dll"));
    return S_OK;
}
"""

# Names without letters, without partners of surrogates, and with what separates names elsewhere.
NAMING = """HRESULT WINAPI DllRegisterServer(void) {
    HKEY key;
    RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\\\Odd/name \\xD800", &key);
    RegSetValueExW(key, L"\\xDC00 \\xD83D\\xDE00\\"\\\\", 0, 0x1234, (const BYTE *)"\\0\\xFF", 2);
    RegSetValueExW(key, L"", 0, REG_NONE, 0, 0);
    RegCloseKey(key);
    return S_OK;
}
"""

# Makes a link to a key of many keys.
LINKING = """HRESULT WINAPI DllRegisterServer(void) {
    static const WCHAR target[] = L"\\\\Registry\\\\Machine\\\\Software\\\\Microsoft";
    HKEY key;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\\\Link", 0, 0, REG_OPTION_CREATE_LINK, KEY_ALL_ACCESS, 0, &key, 0);
    return RegSetValueExW(key, L"SymbolicLinkValue", 0, REG_LINK, (const BYTE *)target, sizeof(target) - sizeof(WCHAR));
}
"""


def windows(path):
    return "Z:" + str(path).replace("/", "\\")


def linked(folder, bitness, name, source, *words, exports=("DllRegisterServer",)):
    """Compiles a DLL."""
    (folder / "server.c").write_text("#include <windows.h>\n" + source)
    (folder / "server.def").write_text("EXPORTS\n%s\n" % "\n".join(exports))
    command = [PREFIXES[bitness] + "-gcc-posix", "-w", "-shared", "-static", "server.c", "server.def", "-o", name, "-Wl,--enable-stdcall-fixup"]
    subprocess.run([*command, *words, "-ladvapi32", "-lole32"], cwd=folder, check=True)
    return folder / name


def asked(folder, bitness, request, *options):
    """The answers to a request, in a session of its own, but the first one, which is the bitness."""
    file = folder / "request.json"
    file.write_text(json.dumps(request))
    words = [LIVE, ARCHITECTURES[bitness], file, "--see", ROOT / "build", "--write", folder, *options]
    result = subprocess.run(words, capture_output=True, stdin=subprocess.DEVNULL, timeout=120)
    answers = [json.loads(line) for line in result.stdout.decode().splitlines()]
    assert answers[0] == {"bitness": bitness}
    return answers[1:]


def taken(folder, bitness, *steps, options=()):
    """The answers to each of some steps, without their numbers and the last word that it is done."""
    numbered = asked(folder, bitness, {"question": "steps", "steps": list(steps)}, *options)
    answers = [[] for _ in steps]
    for answer in numbered:
        answers[answer.pop("step")].append(answer)
    return [[answer for answer in some if answer != {"done": True} and "bitness" not in answer] for some in answers]


def run(*words):
    """A step that runs a program of the system."""
    program = "C:\\windows\\system32\\%s.exe" % words[0]
    return {"step": "run", "program": program, "line": subprocess.list2cmdline([program, *words[1:]])}


def ask(question, **words):
    return {"step": "ask", "request": {"question": question, **words}}


def call(server, export="DllRegisterServer"):
    return ask("call", server=windows(server), export=export)


SNAPSHOT, DIFFERENCE = {"step": "snapshot"}, {"step": "difference"}


def data(number, content):
    return {"type": number, "data": content.hex()}


def text(units):
    return data(1, (units + "\0").encode("utf-16-le"))
