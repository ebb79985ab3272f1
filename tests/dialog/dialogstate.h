#pragma once

#include <windows.h>

#include <string>

namespace keyreap::testsupport {

// The dialog's window and controls as one line of JSON: for each its place on the screen, its text and
// whether it is visible.
std::string DialogState(HWND dialog);

// The clipboard's text as one line of JSON.
std::string ClipboardState();

} // namespace keyreap::testsupport
