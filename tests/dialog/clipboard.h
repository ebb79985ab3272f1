#pragma once

#include <string>

namespace keyreap::testsupport {

// The text on the clipboard, or nothing if there is none.
std::wstring ClipboardText();

} // namespace keyreap::testsupport
