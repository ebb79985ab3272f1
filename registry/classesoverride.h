#pragma once

namespace keyreap {

// RegOverridePredefKey points a root somewhere else for the whole process. On Windows, and in later releases
// of Wine, that holds for every caller. The API of Wine 8.0 has a gap: a caller that names a view
// (KEY_WOW64_32KEY or KEY_WOW64_64KEY) below HKEY_CLASSES_ROOT gets the live classes, which the API opens by
// their complete name, view by view. The system's type library loader is such a caller: it writes each
// interface to the view of the other bitness as well.
//
// From the first call on the gap is closed for this process, until it ends: where the API is on its way to
// the classes for a caller that names a view, it gets the key that the root stands for at that moment.
// Without an override everything is as before. False if the API doesn't go that way or can't be led
// elsewhere. Wine only.
bool CloseGapInClassesOverride();

} // namespace keyreap
