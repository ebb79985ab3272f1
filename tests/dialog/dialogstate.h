#pragma once

#include <windows.h>

#include <string>

namespace keyreap::testsupport {

// The dialog's window and controls as one line of JSON: the place on the screen, the text and the visibility
// of each.
std::string DialogState(HWND dialog);

// The clipboard's text as one line of JSON.
std::string ClipboardState();

} // namespace keyreap::testsupport
