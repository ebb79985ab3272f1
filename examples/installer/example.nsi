; The examples of both bitnesses in one installer. Built by:
;   makensis -NOCD -DX64=<build folder> -DX86=<build folder> -DOUTPUT=<setup.exe> example.nsi
Unicode true
ManifestSupportedOS all
Name "Keyreap examples"
OutFile "${OUTPUT}"
InstallDir "$PROGRAMFILES64\Keyreap examples"
RequestExecutionLevel admin
; No times in the installer: the same files give the same bytes.
SetDateSave off
SetCompressor /SOLID lzma

!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Keyreap examples"

; What the servers wrote when they were captured.
!include "${X64}\thermometer.nsh"
!include "${X64}\journal.nsh"
!include "${X86}\thermometer.nsh"
!include "${X86}\journal.nsh"

Section
  SetOutPath "$INSTDIR\x64"
  File "${X64}\bin\thermometer.dll"
  File "${X64}\bin\journal.exe"
  File "${X64}\bin\client.exe"
  SetOutPath "$INSTDIR\x86"
  File "${X86}\bin\thermometer.dll"
  File "${X86}\bin\journal.exe"
  File "${X86}\bin\client.exe"
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKLM64 "${UNINSTALL}" "DisplayName" "Keyreap examples"
  WriteRegStr HKLM64 "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  !insertmacro thermometer_x64_Register
  !insertmacro journal_x64_Register
  !insertmacro thermometer_x86_Register
  !insertmacro journal_x86_Register
SectionEnd

Section "Uninstall"
  !insertmacro journal_x86_Unregister
  !insertmacro thermometer_x86_Unregister
  !insertmacro journal_x64_Unregister
  !insertmacro thermometer_x64_Unregister
  DeleteRegKey HKLM64 "${UNINSTALL}"
  Delete "$INSTDIR\x64\thermometer.dll"
  Delete "$INSTDIR\x64\journal.exe"
  Delete "$INSTDIR\x64\client.exe"
  Delete "$INSTDIR\x86\thermometer.dll"
  Delete "$INSTDIR\x86\journal.exe"
  Delete "$INSTDIR\x86\client.exe"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR\x64"
  RMDir "$INSTDIR\x86"
  RMDir "$INSTDIR"
SectionEnd
