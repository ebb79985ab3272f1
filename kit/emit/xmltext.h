#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace keyreap {

// True if a document can have the text: XML 1.0 has no characters below a blank, but for tab and line breaks,
// no lone surrogates and no U+FFFE and U+FFFF.
bool IsXmlText(std::wstring_view text);

// Writes an XML document with elements, attributes and texts, two blanks deeper for each level. All texts
// have to be those of IsXmlText.
class XmlWriter {
public:
    using Attributes = std::vector<std::pair<std::string_view, std::wstring>>;

    void Declare();
    void Open(std::string_view name, const Attributes& attributes);
    void Close();
    void AddEmpty(std::string_view name, const Attributes& attributes);
    void AddText(std::string_view name, std::wstring_view text);

    // The document in UTF-8. All elements have to be closed.
    const std::string& Bytes() const { return bytes; }

private:
    void Begin(std::string_view name, const Attributes& attributes);

    std::string bytes;
    std::vector<std::string> open;
};

} // namespace keyreap
