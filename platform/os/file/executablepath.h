#pragma once

#include "platform/os/file/widepath.h"

namespace keyreap {

// The path of the running program, cut after 1024 characters.
WidePath GetExecutablePath();

} // namespace keyreap
