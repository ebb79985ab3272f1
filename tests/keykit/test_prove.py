"""A server works by its manifest alone: in a Wine session in whose registry no class is registered, keykit creates the classes,
and the client of the examples calls the thermometer."""

import os
import shutil
import signal
import subprocess
import time
from pathlib import Path

import pytest
from conftest import KEYKIT, ROOT, Desk, keykit
from manifestreader import Manifest
from test_manifest import CLASS, OTHER, SERVED, SERVER

SESSION = [ROOT / "scripts" / "wine-session.sh", "--ready", "--no-display", "--empty-classes"]
COMPILERS = {64: "x86_64-w64-mingw32-gcc-posix", 32: "i686-w64-mingw32-gcc-posix"}
ARCHITECTURES = {64: "x64", 32: "x86"}
THERMOMETER = "{B29A312E-EB83-43BC-A846-E0C0563B8877}"

BITNESSES = pytest.mark.parametrize("bitness", [64, 32])


def thermometer(bitness):
    return ROOT / "build" / "stage" / "samples" / ARCHITECTURES[bitness] / "thermometer.dll"


@pytest.fixture(scope="session", autouse=True)
def live():
    """What is out of date is built here, so that no test prints the progress of it."""
    subprocess.run([KEYKIT, "--help", "--prove"], check=True, capture_output=True)


@pytest.fixture(scope="session")
def captures(tmp_path_factory):
    """The captured thermometer of each bitness."""
    folder = tmp_path_factory.mktemp("captures")
    files = {bitness: folder / ("thermometer-%d.reg" % bitness) for bitness in ARCHITECTURES}
    words = [word for bitness, file in files.items() for word in (thermometer(bitness), file)]
    subprocess.run([ROOT / "keyreap", "extreg", *words, "keyRedir"], check=True, capture_output=True)
    return files


def prove(*words, **options):
    return subprocess.run([KEYKIT, "manifest", *map(str, words), "--prove"], capture_output=True, stdin=subprocess.DEVNULL, **options)


def left_behind():
    return sorted(Path("/tmp").glob("keykit-*"))


@BITNESSES
def test_the_thermometer_is_created_by_its_manifest(captures, bitness):
    before = left_behind()
    result = prove(captures[bitness], "--server", thermometer(bitness))
    assert (result.returncode, result.stderr) == (0, b"keykit: 1 of 1 classes are created by the manifest alone\n")
    assert Manifest(result.stdout).bitness == bitness
    assert left_behind() == before


def compiled(folder, bitness, source, name="server.dll"):
    (folder / "server.c").write_text(source)
    (folder / "server.def").write_text("EXPORTS\nDllGetClassObject\n")
    words = [COMPILERS[bitness], "-shared", "-static", "server.c", "server.def", "-o", name, "-Wl,--enable-stdcall-fixup", "-lole32", "-luuid"]
    subprocess.run(words, cwd=folder, check=True)


# The first class crashes; no other is known.
CRASHING = """#include <windows.h>
HRESULT WINAPI DllGetClassObject(const CLSID *class_id, const IID *wanted, void **found) {
    if ((class_id->Data1 & 0xF) == 0xE && class_id->Data4[7] == 0x77) *(volatile int *)0 = 1;
    *found = 0;
    return CLASS_E_CLASSNOTAVAILABLE;
}
"""


@BITNESSES
def test_a_class_that_crashes_is_named_and_those_after_it_are_still_created(tmp_path, bitness):
    desk = Desk(tmp_path, bitness)
    compiled(tmp_path, bitness, CRASHING)
    lines = [*SERVED, "[%s\\InprocServer32]" % OTHER, SERVER, '"ThreadingModel"="Free"']
    result = prove(desk.capture(*lines), "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server)
    crashing, other = (key.rpartition("\\")[2] for key in (CLASS, OTHER))
    assert result.returncode == 1
    assert result.stderr.decode().splitlines() == [
        "keykit: %s: the program ended while it was created" % crashing,
        "keykit: %s: CoCreateInstance gave 0x80040111" % other,
        "keykit: 0 of 2 classes are created by the manifest alone",
    ]


def run_client(folder, word="thermometer"):
    return subprocess.run([*SESSION, "wine", folder / "client.exe", word], capture_output=True, cwd=folder, stdin=subprocess.DEVNULL)


@pytest.fixture
def installed(tmp_path, request):
    """A folder with the client and the thermometer, as they are installed."""
    bitness = request.node.callspec.params["bitness"]
    shutil.copy(ROOT / "build" / ARCHITECTURES[bitness] / "tests" / "manifest_client.exe", tmp_path / "client.exe")
    shutil.copy(thermometer(bitness), tmp_path)
    return tmp_path


ANSWER = b"thermometer: 100 C are 212 F, -40 C are -40 F\r\n"
NO_ANSWER = b"there is no such object\r\n"




@BITNESSES
def test_a_client_works_by_its_own_manifest_alone(installed, captures, bitness):
    assert run_client(installed).stdout == NO_ANSWER, "nothing is registered"
    words = [captures[bitness], "--server", thermometer(bitness), "--for", installed / "client.exe"]
    result = keykit("manifest", *words, "-o", installed / "client.exe.manifest")
    assert result.returncode == 0, result.stderr
    answer = run_client(installed)
    assert (answer.returncode, answer.stdout) == (0, ANSWER)


CLIENT_MANIFEST = """<?xml version="1.0" encoding="utf-8"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity type="win32" name="client" version="1.0.0.0" processorArchitecture="%s"/>
  <dependency><dependentAssembly>
    <assemblyIdentity type="win32" name="thermometer.classes" version="1.0.0.0" processorArchitecture="%s"/>
  </dependentAssembly></dependency>
</assembly>
"""


@BITNESSES
def test_a_client_works_by_an_assembly_that_it_depends_on(installed, captures, bitness):
    architecture = {64: "amd64", 32: "x86"}[bitness]
    (installed / "client.exe.manifest").write_text(CLIENT_MANIFEST % (architecture, architecture))
    assert run_client(installed).stdout != ANSWER, "there is no such assembly yet"
    words = [captures[bitness], "--server", thermometer(bitness), "-o", installed / "thermometer.classes.manifest"]
    result = keykit("manifest", *words)
    assert result.returncode == 0, result.stderr
    answer = run_client(installed)
    assert (answer.returncode, answer.stdout) == (0, ANSWER)


# Prints what looks like an answer, and a text without the end of a line. No class is known.
TALKING = """#include <windows.h>
#include <stdio.h>
HRESULT WINAPI DllGetClassObject(const CLSID *class_id, const IID *wanted, void **found) {
    DWORD written;
    printf("{}\\n{\\"clsid\\":\\"%s\\",\\"result\\":0}\\nloading ");
    fflush(stdout);
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "{}\\nloading ", 11, &written, 0);
    *found = 0;
    return CLASS_E_CLASSNOTAVAILABLE;
}
""" % THERMOMETER


@BITNESSES
def test_what_a_server_prints_is_no_answer(tmp_path, bitness):
    desk = Desk(tmp_path, bitness)
    compiled(tmp_path, bitness, TALKING)
    result = prove(desk.capture(*SERVED, "[%s\\InprocServer32]" % OTHER, SERVER), "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server)
    assert result.returncode == 1
    assert result.stderr.decode().splitlines() == [
        *("keykit: %s: CoCreateInstance gave 0x80040111" % key.rpartition("\\")[2] for key in (CLASS, OTHER)),
        "keykit: 0 of 2 classes are created by the manifest alone",
    ]


# The second class, which is made for any thread, creates the first one, which is made for the main one.
CREATING = """#define COBJMACROS
#include <windows.h>
#include <objbase.h>
static HRESULT WINAPI query(IClassFactory *self, const IID *wanted, void **found) { *found = self; return S_OK; }
static ULONG WINAPI count(IClassFactory *self) { return 1; }
static HRESULT WINAPI create(IClassFactory *self, IUnknown *outer, const IID *wanted, void **found) { *found = self; return S_OK; }
static HRESULT WINAPI lock(IClassFactory *self, BOOL isLocked) { return S_OK; }
static IClassFactoryVtbl functions = {query, count, count, create, lock};
static IClassFactory factory = {&functions};
HRESULT WINAPI DllGetClassObject(const CLSID *class_id, const IID *wanted, void **found) {
    CLSID first = *class_id;
    IUnknown *object = 0;
    if (class_id->Data4[7] == 0x78) {
        first.Data4[7] = 0x77;
        CoCreateInstance(&first, 0, CLSCTX_INPROC_SERVER, &IID_IUnknown, (void **)&object);
    }
    *found = &factory;
    return S_OK;
}
"""


@BITNESSES
def test_a_class_of_any_thread_may_create_one_of_the_main_thread(tmp_path, bitness):
    desk = Desk(tmp_path, bitness)
    compiled(tmp_path, bitness, CREATING)
    capture = desk.capture(*SERVED, "[%s\\InprocServer32]" % OTHER, SERVER, '"ThreadingModel"="Free"')
    result = prove(capture, "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server, timeout=60)
    assert (result.returncode, result.stderr) == (0, b"keykit: 2 of 2 classes are created by the manifest alone\n")


# Its objects crash when they are released.
UNRELEASABLE = """#include <windows.h>
static HRESULT WINAPI query(IClassFactory *self, const IID *wanted, void **found) { *found = self; return S_OK; }
static ULONG WINAPI count(IClassFactory *self) { return 1; }
static ULONG WINAPI crash(IClassFactory *self) { *(volatile int *)0 = 1; return 0; }
static IClassFactoryVtbl crashing = {query, count, crash};
static IClassFactory object = {&crashing};
static HRESULT WINAPI create(IClassFactory *self, IUnknown *outer, const IID *wanted, void **found) { *found = &object; return S_OK; }
static HRESULT WINAPI lock(IClassFactory *self, BOOL isLocked) { return S_OK; }
static IClassFactoryVtbl functions = {query, count, count, create, lock};
static IClassFactory factory = {&functions};
HRESULT WINAPI DllGetClassObject(const CLSID *class_id, const IID *wanted, void **found) { *found = &factory; return S_OK; }
"""


@BITNESSES
def test_an_object_that_crashes_when_it_is_released_was_created(tmp_path, bitness):
    desk = Desk(tmp_path, bitness)
    compiled(tmp_path, bitness, UNRELEASABLE)
    result = prove(desk.capture(*SERVED), "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server)
    assert (result.returncode, result.stderr) == (0, b"keykit: 1 of 1 classes are created by the manifest alone\n")


# Never answers.
WAITING = """#include <windows.h>
HRESULT WINAPI DllGetClassObject(const CLSID *class_id, const IID *wanted, void **found) {
    for (;;) Sleep(1000);
}
"""


def is_loaded(folder):
    """Some process has a server from that folder in its memory."""
    for maps in Path("/proc").glob("[0-9]*/maps"):
        try:
            if any(str(folder) in line and line.endswith("server.dll") for line in maps.read_text().splitlines()):
                return True
        except OSError:
            continue
    return False


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_proof_that_a_signal_ends_leaves_no_files(tmp_path, number):
    desk, temporary = Desk(tmp_path), tmp_path / "temporary"
    temporary.mkdir()
    compiled(tmp_path, 64, WAITING)
    words = [KEYKIT, "manifest", desk.capture(*SERVED), "--server", "%s=Z:\\build\\bin\\server.dll" % desk.server, "--prove"]
    environment = {**os.environ, "TMPDIR": str(temporary)}
    with subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment) as process:
        end = time.monotonic() + 60
        while not (is_under_way := is_loaded(temporary)) and time.monotonic() < end:
            time.sleep(0.1)
        process.send_signal(number)
        process.communicate(timeout=30)
    assert is_under_way
    assert process.returncode == -number
    assert list(temporary.iterdir()) == []
