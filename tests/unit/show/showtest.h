#pragma once

#include "kit/show/showpage.h"
#include "tests/unit/capture/capturelines.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

// Captures as lines.
namespace keyreap::testsupport {

inline PageCapture CaptureOf(std::initializer_list<std::wstring_view> lines, std::wstring name = L"a.reg") {
    return {std::move(name), DocumentOf(lines)};
}

} // namespace keyreap::testsupport
