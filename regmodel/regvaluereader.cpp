#include "regmodel/regvaluereader.h"

#include "platform/core/text/compare.h"
#include "regfile/valuetext.h"
#include "regmodel/hexdigits.h"
#include "regmodel/othertext.h"
#include "regmodel/regbytes.h"

#include <utility>

namespace keyreap {

namespace {

using Values = std::variant<std::vector<ReadValue>, RegFault>;

constexpr std::size_t mostDigits = 8;

Values One(ReadValue value) {
    return std::vector<ReadValue>{std::move(value)};
}

bool IsAtFolded(const RegSource& source, std::size_t at, std::wstring_view word) {
    return EqualFolded(source.text.substr(at, word.size()), word);
}

ReadValue TextValue(const QuotedText& quoted) {
    ReadValue value;
    value.entry.kind = quoted.isLone ? RegEntryKind::Damaged : RegEntryKind::Value;
    value.entry.damage = quoted.isLone ? RegDamage::LoneEscape : RegDamage::None;
    value.entry.type = static_cast<std::uint32_t>(RegType::Sz);
    value.entry.data = UnitData(quoted.text + L'\0');
    value.end = quoted.end;
    value.hasLineEscape = quoted.hasLineEscape;
    return value;
}

// A text that goes on after its line's end isn't closed there if something else follows its quote.
RegFault UnlessClosed(const RegSource& source, std::size_t at, const QuotedText& text) {
    const std::size_t end = EndOfLine(source, at);
    return end < text.end ? RegFault{end, L"a closing quote"} : RegFault{text.end, L"the end of the line"};
}

Values ReadTexts(const RegSource& source, std::size_t at) {
    std::vector<ReadValue> values;
    std::variant<QuotedText, RegFault> escaped = ReadEscapedText(source, at);
    if (const auto* text = std::get_if<QuotedText>(&escaped)) {
        if (AfterRestOfLine(source, text->end)) {
            values.push_back(TextValue(*text));
        } else {
            escaped = UnlessClosed(source, at, *text);
        }
    }
    const std::optional<QuotedText> lone = ReadLoneText(source, at);
    if (lone && AfterRestOfLine(source, lone->end)) {
        values.push_back(TextValue(*lone));
    }
    return values.empty() ? Values(std::get<RegFault>(escaped)) : Values(std::move(values));
}

Values ReadNumber(const RegSource& source, std::size_t at) {
    const HexDigits digits = ReadHexDigits(source, at, mostDigits);
    if (digits.end == at) {
        return RegFault{at, L"one to eight hexadecimal digits"};
    }
    ReadValue value;
    value.entry.form = RegForm::Number;
    value.entry.type = static_cast<std::uint32_t>(RegType::Dword);
    for (int shift = 0; shift < 32; shift += 8) {
        value.entry.data.push_back(static_cast<std::uint8_t>(digits.value >> shift));
    }
    value.end = digits.end;
    return One(std::move(value));
}

// What Keyreap writes for a text without characters.
bool IsEmptyTextOfKeyreap(const RegSource& source, std::size_t at, const RegEntry& entry) {
    constexpr std::wstring_view pairs = L",00,00";
    const RegType type = static_cast<RegType>(entry.type);
    const bool isText = type == RegType::ExpandSz || type == RegType::MultiSz;
    return isText && IsAt(source, at, pairs) && IsLineEnd(source, at + pairs.size());
}

Values ReadBytes(const RegSource& source, std::size_t at, ReadValue value) {
    if (IsEmptyTextOfKeyreap(source, at, value.entry)) {
        value.entry.kind = RegEntryKind::Damaged;
        value.entry.damage = RegDamage::LeadingComma;
        value.entry.data = {0, 0};
        value.end = EndOfLine(source, at);
        return One(std::move(value));
    }
    std::variant<HexPairs, RegFault> pairs = ReadHexPairs(source, at);
    if (const auto* fault = std::get_if<RegFault>(&pairs)) {
        return *fault;
    }
    HexPairs& read = std::get<HexPairs>(pairs);
    value.entry.data = DataOfHexBytes(std::move(read.bytes), value.entry.type, source.version);
    value.pairsOfLines = std::move(read.pairsOfLines);
    value.end = read.end;
    return One(std::move(value));
}

Values ReadOther(const RegSource& source, std::size_t at, ReadValue value) {
    std::variant<OtherText, RegFault> other = ReadOtherText(source, at);
    if (const auto* fault = std::get_if<RegFault>(&other)) {
        return *fault;
    }
    value.entry.kind = RegEntryKind::OtherText;
    value.entry.otherText = std::move(std::get<OtherText>(other).text);
    value.end = std::get<OtherText>(other).end;
    return One(std::move(value));
}

// `at` is after "hex".
Values ReadHex(const RegSource& source, std::size_t at) {
    ReadValue value;
    value.entry.form = RegForm::Bytes;
    value.entry.type = static_cast<std::uint32_t>(RegType::Binary);
    if (IsAt(source, at, L"(")) {
        const HexDigits type = ReadHexDigits(source, at + 1, mostDigits);
        if (type.end == at + 1 || !IsAt(source, type.end, L")")) {
            return RegFault{type.end, L"a type in parentheses, of one to eight hexadecimal digits"};
        }
        value.entry.form = RegForm::TypedBytes;
        value.entry.type = type.value;
        at = type.end + 1;
    }
    if (!IsAt(source, at, L":")) {
        return RegFault{at, L"a colon"};
    }
    const bool isOther = source.isHarvest && value.entry.type == static_cast<std::uint32_t>(RegType::Qword);
    return isOther ? ReadOther(source, at + 1, std::move(value))
                   : ReadBytes(source, at + 1, std::move(value));
}

Values WithoutData(RegEntryKind kind, RegDamage damage, std::size_t end) {
    ReadValue value;
    value.entry.kind = kind;
    value.entry.damage = damage;
    value.end = end;
    return One(std::move(value));
}

} // namespace

Values ReadRegValue(const RegSource& source, std::size_t at) {
    constexpr std::wstring_view number = L"dword:";
    constexpr std::wstring_view bytes = L"hex";
    at = AfterBlanks(source, at);
    if (IsAt(source, at, L"\"")) {
        return ReadTexts(source, at);
    }
    if (IsAt(source, at, L"-")) {
        return WithoutData(RegEntryKind::Deletion, RegDamage::None, at + 1);
    }
    if (IsAtFolded(source, at, number)) {
        return ReadNumber(source, at + number.size());
    }
    if (IsAtFolded(source, at, bytes)) {
        return ReadHex(source, at + bytes.size());
    }
    if (AfterRestOfLine(source, at)) {
        return WithoutData(RegEntryKind::Damaged, RegDamage::NoData, at);
    }
    return RegFault{at, L"a text in quotes, dword:, hex:, hex(n): or a minus sign"};
}

} // namespace keyreap
