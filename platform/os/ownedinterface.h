#pragma once

#include "platform/os/owned.h"

#include <unknwn.h>

namespace keyreap {

template <typename Interface>
void ReleaseInterface(Interface* object) {
    object->Release();
}

// One reference to a COM object, released at the end.
template <typename Interface>
using OwnedInterface = Owned<ClosedBy<Interface*, ReleaseInterface<Interface>>>;

} // namespace keyreap
