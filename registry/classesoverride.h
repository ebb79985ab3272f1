#pragma once

namespace keyreap {

// RegOverridePredefKey redirects a root for the whole process. On Windows, and in later releases of Wine, the
// override applies to every caller. The API of Wine 8.0 has a gap: a caller that names a view
// (KEY_WOW64_32KEY or KEY_WOW64_64KEY) below HKEY_CLASSES_ROOT gets the live classes, which the API opens by
// their complete name, view by view. The system's type library loader is such a caller: it writes each
// interface to the view of the other bitness as well.
//
// The first call closes the gap until the process ends: when the API opens the classes for a caller that
// names a view, it gets the key to which the root is redirected at that moment. Without an override nothing
// changes. False if this API opens the classes in another way, or if its call can't be replaced. Wine only.
bool CloseGapInClassesOverride();

} // namespace keyreap
