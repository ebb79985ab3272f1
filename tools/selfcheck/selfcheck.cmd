@echo off
rem Tries this release on this machine; docs\windows.md says what it does. Start it from an administrator's prompt.
rem Its result is results\keyreap-selfcheck.zip beside this file.
"%~dp0selfcheck.exe" %*
exit /b %ERRORLEVEL%
