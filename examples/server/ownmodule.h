#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>

namespace keyreap::examples {

// The full path of the module that contains this code.
std::wstring OwnPath();

// The type library in this module's resources, or null; the caller releases it.
ITypeLib* OwnTypeLibrary();

// The own type library's description of an interface, or null; the caller releases it.
ITypeInfo* OwnTypeInfo(REFIID interfaceId);

} // namespace keyreap::examples
