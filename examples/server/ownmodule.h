#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>

namespace keyreap::examples {

// The full path of the module that this code is in.
std::wstring OwnPath();

// The type library in this module's resources, or null; the caller releases it.
ITypeLib* OwnTypeLibrary();

// What the own type library says of an interface, or null; the caller releases it.
ITypeInfo* OwnTypeInfo(REFIID interfaceId);

} // namespace keyreap::examples
