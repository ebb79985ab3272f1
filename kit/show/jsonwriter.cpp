#include "kit/show/jsonwriter.h"

namespace keyreap {

namespace {

bool IsPlain(unsigned unit) {
    constexpr std::string_view signs = "\"\\<>&'`";
    return unit >= ' ' && unit <= '~' && signs.find(static_cast<char>(unit)) == std::string_view::npos;
}

void AppendUnit(std::string& json, wchar_t unit) {
    constexpr std::string_view digits = "0123456789abcdef";
    const unsigned number = static_cast<unsigned>(unit) & 0xFFFF;
    if (IsPlain(number)) {
        json += static_cast<char>(number);
        return;
    }
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) {
        json += digits[number >> shift & 0xF];
    }
}

} // namespace

JsonWriter& JsonWriter::Name(std::string_view name) {
    Separate();
    json.append("\"").append(name).append("\":");
    needsComma = false;
    return *this;
}

JsonWriter& JsonWriter::Text(std::wstring_view units) {
    Separate();
    json += '"';
    for (const wchar_t unit : units) {
        AppendUnit(json, unit);
    }
    json += '"';
    return *this;
}

JsonWriter& JsonWriter::Number(std::size_t number) {
    Separate();
    json += std::to_string(number);
    return *this;
}

JsonWriter& JsonWriter::Null() {
    Separate();
    json += "null";
    return *this;
}

JsonWriter& JsonWriter::Open(char bracket) {
    Separate();
    json += bracket;
    needsComma = false;
    return *this;
}

JsonWriter& JsonWriter::Close(char bracket) {
    json += bracket;
    needsComma = true;
    return *this;
}

void JsonWriter::Separate() {
    if (needsComma) {
        json += ',';
    }
    needsComma = true;
}

} // namespace keyreap
