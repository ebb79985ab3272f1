#include "kit/emit/xmltext.h"

#include "platform/core/text/utf8.h"

#include <algorithm>

namespace keyreap {

namespace {

// A line break in an attribute would be read as a blank.
std::wstring Escaped(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        switch (unit) {
        case L'&':
            escaped += L"&amp;";
            break;
        case L'<':
            escaped += L"&lt;";
            break;
        case L'>':
            escaped += L"&gt;";
            break;
        case L'"':
            escaped += L"&quot;";
            break;
        case L'\t':
            escaped += L"&#9;";
            break;
        case L'\n':
            escaped += L"&#10;";
            break;
        case L'\r':
            escaped += L"&#13;";
            break;
        default:
            escaped += unit;
        }
    }
    return escaped;
}

} // namespace

bool IsXmlText(std::wstring_view text) {
    const auto isCharacter = [](wchar_t unit) {
        return (unit >= L' ' || unit == L'\t' || unit == L'\n' || unit == L'\r') && unit != 0xFFFE &&
               unit != 0xFFFF;
    };
    return std::ranges::all_of(text, isCharacter) && Utf8OfUnits(text).has_value();
}

void XmlWriter::Declare() {
    bytes += "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
}

void XmlWriter::Begin(std::string_view name, const Attributes& attributes) {
    bytes.append(2 * open.size(), ' ').append("<").append(name);
    for (const auto& [attribute, text] : attributes) {
        bytes.append(" ").append(attribute).append("=\"");
        bytes.append(ReadableUtf8(Escaped(text))).append("\"");
    }
}

void XmlWriter::Open(std::string_view name, const Attributes& attributes) {
    Begin(name, attributes);
    bytes += ">\n";
    open.emplace_back(name);
}

void XmlWriter::Close() {
    const std::string name = open.back();
    open.pop_back();
    bytes.append(2 * open.size(), ' ').append("</").append(name).append(">\n");
}

void XmlWriter::AddEmpty(std::string_view name, const Attributes& attributes) {
    Begin(name, attributes);
    bytes += "/>\n";
}

void XmlWriter::AddText(std::string_view name, std::wstring_view text) {
    Begin(name, {});
    bytes.append(">").append(ReadableUtf8(Escaped(text))).append("</").append(name).append(">\n");
}

} // namespace keyreap
