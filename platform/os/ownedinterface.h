#pragma once

#include "platform/os/owned.h"

#include <unknwn.h>

namespace keyreap {

template <typename Interface>
struct InterfacePolicy {
    using Handle = Interface*;
    static Handle Empty() { return nullptr; }
    static bool IsValid(Handle object) { return object != nullptr; }
    static void Close(Handle object) { object->Release(); }
};

// One reference to a COM object, released at the end.
template <typename Interface>
using OwnedInterface = Owned<InterfacePolicy<Interface>>;

} // namespace keyreap
