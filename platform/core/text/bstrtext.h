#pragma once

#include "platform/os/owned.h"

#include <windows.h>

#include <oleauto.h>

#include <string>

// The strings of COM automation.
namespace keyreap {

struct BstrPolicy {
    using Handle = BSTR;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle text) { return text != nullptr; }
    static void Close(Handle text) { SysFreeString(text); }
};

// A string that a COM call has given to its caller.
using OwnedBstr = Owned<BstrPolicy>;

// The whole string, with any zero in it; null gives the empty text.
inline std::wstring BstrText(BSTR text) {
    return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

} // namespace keyreap
