#pragma once

#include "platform/core/errorreport/anchorgeometry.h"

#include <windows.h>

#include <vector>

namespace keyreap {

// Keeps the controls of a window in place while the window changes its size. Controls that don't exist are
// skipped.
class ControlAnchorLayout {
public:
    // Flags as in Anchor. For a known id it only changes the flags.
    void Add(int id, unsigned anchors);

    // Stores the window's present size and the places of its controls as the start of the layout. Also makes
    // the window clip its children. Unless the window is a child, its caption shows no icon.
    void Capture(HWND captured);

    // Moves and sizes the controls for a client area of the given size.
    void Apply(Extent now) const;

    // Puts the controls back at the places of the last capture.
    void RestoreControls() const;

    // Sets the smallest size of the window to that of the last capture; does nothing before the first.
    void LimitTracking(MINMAXINFO& limits) const;

private:
    struct Entry {
        int id;
        unsigned anchors;
        Box stored;
    };

    bool HasMinimum() const { return minimum.width != -1 && minimum.height != -1; }
    Extent AtLeastMinimum(Extent now) const;
    void PlaceControl(const Entry& entry, Extent now) const;

    HWND window = nullptr;
    Extent base = {0, 0};
    Extent minimum = {-1, -1};
    std::vector<Entry> entries;
};

} // namespace keyreap
