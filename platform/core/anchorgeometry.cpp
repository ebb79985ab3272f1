#include "platform/core/anchorgeometry.h"

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

} // namespace keyreap
