#pragma once

#include "kit/show/showpage.h"
#include "regmodel/regtextreader.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

// Captures as lines.
namespace keyreap::testsupport {

inline PageCapture CaptureOf(std::initializer_list<std::wstring_view> lines, std::wstring name = L"a.reg") {
    std::wstring text = L"Windows Registry Editor Version 5.00\r\n";
    for (const std::wstring_view line : lines) {
        text.append(line.starts_with(L'[') ? L"\r\n" : L"").append(line).append(L"\r\n");
    }
    std::vector<std::uint8_t> bytes = {0xFF, 0xFE};
    const std::vector<std::uint8_t> units = UnitData(text);
    bytes.insert(bytes.end(), units.begin(), units.end());
    const auto result = ReadRegDocument(bytes);
    EXPECT_TRUE(std::holds_alternative<RegDocument>(result));
    return {std::move(name), std::get<RegDocument>(result)};
}

} // namespace keyreap::testsupport
