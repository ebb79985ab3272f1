#pragma once

#include "platform/os/owned.h"

#include <windows.h>

#include <oleauto.h>

#include <string>

// The strings of COM automation.
namespace keyreap {

// A string that a COM call has given to its caller.
using OwnedBstr = Owned<ClosedBy<BSTR, SysFreeString>>;

// The whole string, with any zero in it; null gives the empty text.
inline std::wstring BstrText(BSTR text) {
    return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

} // namespace keyreap
