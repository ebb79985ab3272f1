#pragma once

#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <string>
#include <vector>

namespace keyreap {

// What a child process can do for a test. Its exit status is that of the first call that failed, or 0.
//   hold NAME LOG EVENT        starts a logger session, sets the event, and stays until it is killed
//   write SUBKEY VALUE         sets a value of a key of HKEY_CURRENT_USER
//   set HANDLE VALUE           sets a value through an inherited handle
//   fetch PROCESS HANDLE VALUE sets a value through a copy of another process's handle
int RunAsChild(const std::vector<std::wstring>& words);

// Starts this program as such a child. With `inherits` it inherits the inheritable handles.
struct Child {
    OwnedHandle process;
    DWORD id = 0;
};
Child StartChild(const std::wstring& words, bool inherits = false);

// Runs a child to its end and returns its id; a status other than 0 fails the test.
DWORD RunChild(const std::wstring& words, bool inherits = false);

} // namespace keyreap
