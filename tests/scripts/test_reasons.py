"""Why a file can't be registered, in words: what input_reason of scripts/reasons.sh prints, for files of either bitness."""

import shutil
import subprocess

import pytest

from conftest import ROOT, bash, is_locked, processes_of, until, windows

SAMPLES = ROOT / "build" / "samples"
BITNESSES = ("x64", "x86")

ASK = 'source scripts/common.sh && source scripts/reasons.sh && input_reason "$1"'


def reason(path):
    """What is printed for a Windows path; nothing else may be."""
    result = bash("cd '%s' && %s" % (ROOT, ASK), path)
    assert (result.returncode, result.stderr) == (0, "")
    return result.stdout


def sample(bitness, name):
    return windows(SAMPLES / bitness / name)


@pytest.fixture(params=BITNESSES)
def bitness(request):
    return request.param


def other(bitness):
    return BITNESSES[1 - BITNESSES.index(bitness)]


def test_a_missing_dependency_is_named_with_its_importer(bitness):
    expected = "needs missinglib.dll, which is nowhere; wanted by orphan.dll"
    assert reason(sample(bitness, "orphan.dll")) == expected


def test_a_missing_dependency_of_a_dependency_is_named_with_its_importer(bitness):
    expected = "needs missinglib.dll, which is nowhere; wanted by middle.dll"
    assert reason(sample(bitness, "nested.dll")) == expected


def test_a_function_that_a_dependency_lacks_is_named(bitness):
    expected = "needs the function LaterNumber of lackinglib.dll, which it doesn't have; wanted by lacking.dll"
    assert reason(sample(bitness, "lacking.dll")) == expected


def test_a_dependency_of_the_other_bitness_is_named_with_its_path(bitness, tmp_path):
    shutil.copy(SAMPLES / bitness / "neighbour.dll", tmp_path)
    shutil.copy(SAMPLES / other(bitness) / "neighbourlib.dll", tmp_path)
    kind = {"x64": "64-bit", "x86": "32-bit"}[other(bitness)]
    expected = "needs neighbourlib.dll, but %s is a %s image; wanted by neighbour.dll"
    assert reason(windows(tmp_path / "neighbour.dll")) == expected % (windows(tmp_path / "neighbourlib.dll"), kind)


def test_a_dependency_that_is_no_image_is_named_with_its_path(bitness, tmp_path):
    shutil.copy(SAMPLES / bitness / "neighbour.dll", tmp_path)
    (tmp_path / "neighbourlib.dll").write_bytes(b"a text")
    expected = "needs neighbourlib.dll, but %s is no image; wanted by neighbour.dll"
    assert reason(windows(tmp_path / "neighbour.dll")) == expected % windows(tmp_path / "neighbourlib.dll")


def test_a_program_that_the_system_does_not_start_is_reported(bitness, tmp_path):
    image = (SAMPLES / bitness / "typelibnone.exe").read_bytes()
    (tmp_path / "cut.exe").write_bytes(image[:1500])
    said = reason(windows(tmp_path / "cut.exe"))
    assert said.startswith("has no DllRegisterServer, and can't be started as a program: ") and "(error " in said
    assert "%" not in said


def test_a_dll_main_that_refuses_is_named_as_the_reason(bitness):
    assert reason(sample(bitness, "refusing.dll")) == "its DllMain refuses to be loaded"


def test_a_dependency_whose_dll_main_refuses_is_named(bitness):
    expected = "needs refusing.dll, whose DllMain refuses to be loaded"
    assert reason(sample(bitness, "uponrefusing.dll")) == expected


def test_a_dll_without_the_export_is_no_server(bitness):
    expected = "has no DllRegisterServer, and is no program"
    assert reason(sample(bitness, "resourceonly.dll")) == expected
    assert reason(sample(bitness, "byordinal.dll")) == expected


def test_a_type_library_that_cannot_be_registered_has_its_error_in_words(bitness, tmp_path):
    expected = "its type library can't be registered: it can't be loaded (0x80029c4a)"
    assert reason(sample(bitness, "typelibdamaged.exe")) == expected
    damaged = tmp_path / "damaged.tlb"
    damaged.write_bytes((SAMPLES / bitness / "calculator.tlb").read_bytes()[:100])
    assert reason(windows(damaged)) == expected


def test_a_file_that_is_no_image_is_reported(tmp_path):
    for content in (b"a text", b""):
        (tmp_path / "text.dll").write_bytes(content)
        assert reason(windows(tmp_path / "text.dll")) == "is no DLL, no program and no type library"


def test_a_damaged_image_is_reported(bitness, tmp_path):
    image = (SAMPLES / bitness / "plain.dll").read_bytes()
    damaged = tmp_path / "damaged.dll"
    damaged.write_bytes(image[:100])
    assert reason(windows(damaged)) == "is a damaged image"


def test_an_image_for_another_machine_is_reported(tmp_path):
    image = bytearray((SAMPLES / "x64" / "plain.dll").read_bytes())
    machine = int.from_bytes(image[60:64], "little") + 4
    image[machine : machine + 2] = b"\x64\xaa"
    (tmp_path / "arm.dll").write_bytes(image)
    assert reason(windows(tmp_path / "arm.dll")) == "is an image for another machine (0xaa64)"


def test_a_file_with_nothing_wrong_has_no_reason(bitness, tmp_path):
    for name in ("plain.dll", "neighbour.dll", "typelibnone.exe", "calculator.tlb", "exportingorphan.exe"):
        assert reason(sample(bitness, name)) == ""
    assert reason(windows(tmp_path / "nobody.dll")) == ""


def test_names_outside_ascii_are_printed_unchanged(bitness, tmp_path):
    shutil.copy(SAMPLES / bitness / "orphan.dll", tmp_path / "sérvër ✓.dll")
    expected = "needs missinglib.dll, which is nowhere; wanted by sérvër ✓.dll"
    assert reason(windows(tmp_path / "sérvër ✓.dll")) == expected


def test_a_delay_loaded_library_that_is_missing_is_no_reason(bitness):
    system = {"x64": "system32", "x86": "syswow64"}[bitness]
    assert reason("C:\\windows\\%s\\msxml3.dll" % system) == ""


def test_an_examination_that_takes_too_long_gives_no_reason(bitness):
    result = bash("cd '%s' && source scripts/common.sh && source scripts/reasons.sh && REASON_LIMIT=0.01 && input_reason \"$1\""
                  % ROOT, sample(bitness, "orphan.dll"))
    assert (result.returncode, result.stdout, result.stderr) == (0, "", "")


STAYING = """
#include <windows.h>
BOOL WINAPI DllMain(HINSTANCE, DWORD, void*) { Sleep(INFINITE); return TRUE; }
extern "C" __declspec(dllexport) long __stdcall DllRegisterServer() { return 0; }
"""


def test_an_examination_ends_with_its_caller(pool, tmp_path):
    """The library's DllMain never returns, and the time limit is too long to matter."""
    (tmp_path / "staying.cpp").write_text(STAYING)
    command = ["x86_64-w64-mingw32-g++-posix", "-shared", "-static", "staying.cpp", "-o", "staying.dll"]
    subprocess.run(command, cwd=tmp_path, check=True)
    ask = "cd '%s' && %s" % (ROOT, ASK.replace("&& input", "&& REASON_LIMIT=100000 && input"))
    asking = subprocess.Popen(["/bin/bash", "-c", ask, "bash", windows(tmp_path / "staying.dll")], env=pool.environment)
    until(lambda: len(processes_of(pool.prefix())) > 3)
    asking.kill()
    asking.wait()
    until(lambda: not is_locked(str(pool.prefix()) + ".lock"))
    assert processes_of(pool.prefix()) == []
