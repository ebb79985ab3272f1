; The examples of both bitnesses in one installer for Inno Setup 6. Built by:
;   ISCC /DX64=<build folder> /DX86=<build folder> /O<folder> /F<name of the installer> example.iss
[Setup]
AppName=Keyreap examples
AppVersion=1.0.0
DefaultDirName={commonpf}\Keyreap examples
DisableProgramGroupPage=yes
ArchitecturesInstallIn64BitMode=x64compatible
PrivilegesRequired=admin

[Files]
Source: "{#X64}\bin\thermometer.dll"; DestDir: "{app}\x64"
Source: "{#X64}\bin\journal.exe"; DestDir: "{app}\x64"
Source: "{#X64}\bin\client.exe"; DestDir: "{app}\x64"
Source: "{#X86}\bin\thermometer.dll"; DestDir: "{app}\x86"
Source: "{#X86}\bin\journal.exe"; DestDir: "{app}\x86"
Source: "{#X86}\bin\client.exe"; DestDir: "{app}\x86"

; What the servers wrote when they were captured.
#include X64 + "\thermometer.iss"
#include X64 + "\journal.iss"
#include X86 + "\thermometer.iss"
#include X86 + "\journal.iss"
