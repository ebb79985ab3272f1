#include "kit/live/valuejson.h"

#include "platform/core/text/utf8.h"

namespace keyreap {

namespace {

std::string HexText(const std::vector<std::uint8_t>& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0xF];
    }
    return text;
}

} // namespace

nlohmann::json DataJson(const RegistryData& data) {
    return {{"type", data.type}, {"data", HexText(data.bytes)}};
}

nlohmann::json ValueJson(const std::wstring& name, const RegistryData& data) {
    nlohmann::json json = DataJson(data);
    json["name"] = LosslessUtf8(name);
    return json;
}

nlohmann::json ChangeJson(const ChangedValue& value) {
    nlohmann::json json =
        value.now ? ValueJson(value.name, *value.now) : nlohmann::json{{"name", LosslessUtf8(value.name)}};
    if (value.before) {
        json["before"] = DataJson(*value.before);
    }
    return json;
}

} // namespace keyreap
