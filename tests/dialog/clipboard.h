#pragma once

#include <string>

namespace keyreap::testsupport {

// The text on the clipboard; empty if there is none.
std::wstring ClipboardText();

} // namespace keyreap::testsupport
