#pragma once

namespace keyreap::samples::box {

// Tries each line of attempts.txt beside the module, and writes what came of it to
// HKEY_CLASSES_ROOT\KeyreapIntruder.
void TryAll();

} // namespace keyreap::samples::box
