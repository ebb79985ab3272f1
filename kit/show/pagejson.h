#pragma once

#include "kit/show/showpage.h"

#include <span>
#include <string>

namespace keyreap {

// The captures as the page's script reads them:
//   captures  their names
//   keys      name, parent (an index, or null), state in each capture (KeyState), and values: a name and, for
//   each capture,
//             an index into data, or null. A key comes after its parent.
//   data      type, texts, left, remark (EntryView)
//   objects   kind, id, name, scope, keys, and for each capture texts (label, text, object that it names), or
//   null findings  capture, rule, key and object as indices, path, value, sentence
std::string PageJson(std::span<const PageCapture> captures, std::span<const PageFinding> findings);

} // namespace keyreap
