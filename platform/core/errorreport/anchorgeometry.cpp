#include "platform/core/errorreport/anchorgeometry.h"

#include <algorithm>

namespace keyreap {

Box AnchoredBox(unsigned anchors, const Box& stored, const Box& current, Extent base, Extent now) {
    Box box = current;
    if (anchors & (Anchor::stretchRight | Anchor::moveRight)) {
        box.right = stored.right - base.width + now.width;
    }
    if (anchors & Anchor::moveRight) {
        box.left = box.right - (stored.right - stored.left);
    }
    if (anchors & (Anchor::stretchBottom | Anchor::moveBottom)) {
        box.bottom = stored.bottom - base.height + now.height;
    }
    if (anchors & Anchor::moveBottom) {
        box.top = box.bottom - (stored.bottom - stored.top);
    }
    return box;
}

Box CentredBox(const Box& area, Extent size) {
    const int left = std::max((area.left + area.right - size.width) / 2, area.left);
    const int top = std::max((area.top + area.bottom - size.height) / 2, area.top);
    return {left, top, left + size.width, top + size.height};
}

} // namespace keyreap
