#pragma once

#include "kit/check/checkfacts.h"
#include "regmodel/regentry.h"

#include <string>
#include <string_view>

namespace keyreap {

// A key's path in the form in which a capture's keys and the registry's own are comparable: folded, the
// classes below Software\Classes of the machine, the numbered control sets as the current one, and for a
// 32-bit server without Wow6432Node, which the registry has and a capture may lack.
std::wstring ComparedKey(std::wstring_view path, int bitness);

// The same for an object of a user's classes, which HKEY_CLASSES_ROOT shows too.
std::wstring ComparedClassesOfUser(std::wstring_view comparedKey);

// The same for an interface in the 32-bit view of the machine's classes. The system's library of type
// libraries writes an interface into both views, and the redirected roots have one.
std::wstring ComparedInterfaceOfBothViews(std::wstring_view comparedKey);

// The same key without Wow6432Node: in the view of a 64-bit server itself.
std::wstring ComparedKeyInOwnView(std::wstring_view comparedKey);

// True for the classes themselves and for the keys that have the objects of all servers, which no server
// removes.
bool IsContainerOfClasses(std::wstring_view comparedKey);

// True if the capture has the data as far as it can: it ends a text at its first NUL, and has an entry that
// is no value in the place of a type without a form of its own.
bool AreSameData(const RegEntry& captured, const ValueData& data);

// True if the texts differ at most in how the system names a file: by case, by system32 for syswow64 where it
// was loaded before, or by \\?\ at the start, under which a library of types is loaded from an image.
bool MayBeSameFile(const RegEntry& captured, const ValueData& data);

// True if both are GUIDs, which a server may make up whenever it registers.
bool AreGuids(const RegEntry& captured, const ValueData& data);

} // namespace keyreap
