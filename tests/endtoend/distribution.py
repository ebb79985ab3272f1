"""Servers of the Wine distribution that the tests capture."""

MODULES = [
    "msxml3.dll",
    "scrrun.dll",
    "quartz.dll",
    "urlmon.dll",
    "msi.dll",
    "windowscodecs.dll",
    "jscript.dll",
    "shdocvw.dll",
    "wmp.dll",
    "hhctrl.ocx",
]

SYSTEM_FOLDERS = {"x64": "C:\\windows\\system32", "x86": "C:\\windows\\syswow64"}
