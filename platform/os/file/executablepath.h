#pragma once

#include "platform/os/file/widepath.h"

namespace keyreap {

// The path of the running program; of one longer than 1024 characters, what fits in them.
WidePath GetExecutablePath();

} // namespace keyreap
