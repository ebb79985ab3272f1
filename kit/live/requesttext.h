#pragma once

#include "platform/core/text/utf8.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace keyreap {

// A text of a request; empty if it isn't there.
inline std::wstring TextOf(const nlohmann::json& json, const char* name) {
    return UnitsOfLossless(json.value(name, std::string())).value_or(std::wstring());
}

// The texts of a list of a request.
inline std::vector<std::wstring> TextsOf(const nlohmann::json& json, const char* name) {
    std::vector<std::wstring> texts;
    for (const nlohmann::json& text : json.value(name, nlohmann::json::array())) {
        texts.push_back(UnitsOfLossless(text.get<std::string>()).value_or(std::wstring()));
    }
    return texts;
}

} // namespace keyreap
