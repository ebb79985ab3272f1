#pragma once

// Where a control goes when the window around it changes its size, in pixels of the window's client area, and
// where a window is centred, in pixels of the screen.
namespace keyreap {

struct Extent {
    int width;
    int height;
};

struct Box {
    int left;
    int top;
    int right;
    int bottom;

    bool operator==(const Box&) const = default;

    bool IsEmpty() const { return right <= left || bottom <= top; }
};

// The edges that follow the window, as flags.
struct Anchor {
    static constexpr unsigned stretchRight = 1;
    static constexpr unsigned stretchBottom = 2;
    static constexpr unsigned moveRight = 4;
    static constexpr unsigned moveBottom = 8;
};

// The place of a control in a window of the size `now`. The control was at `stored` when the window had the
// size `base`, and is at `current` now. The edges that no flag names don't move.
Box AnchoredBox(unsigned anchors, const Box& stored, const Box& current, Extent base, Extent now);

// The place of a window of that size in the middle of an area. A window that is too large for the area begins
// where the area begins, so that its caption stays in reach.
Box CentredBox(const Box& area, Extent size);

} // namespace keyreap
