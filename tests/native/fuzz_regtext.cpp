// A small independent reader gets the name, the type and the data back from an entry, if its form keeps them.
// The entries come from both conversions: the harvest's and the replay's.
#include "regfile/regtext.h"
#include "tests/native/fuzzinput.h"
#include "tests/native/regreader.h"

using namespace keyreap;

namespace {

using Data = std::vector<std::uint8_t>;

constexpr std::uint32_t sz = 1;
constexpr std::uint32_t expandSz = 2;
constexpr std::uint32_t binary = 3;
constexpr std::uint32_t dword = 4;
constexpr std::uint32_t multiSz = 7;
constexpr std::uint32_t qword = 11;

// A text whose only backslash or quote is its first character stays unescaped, and no reader understands it.
bool SurvivesQuotes(std::wstring_view text) {
    constexpr std::wstring_view escaped = L"\\\"";
    const std::size_t last = text.find_last_of(escaped);
    return last == std::wstring_view::npos || last != 0;
}

void RequireEntry(std::wstring_view name, const ValueText& text, std::uint32_t type, const Data& data) {
    if (!SurvivesQuotes(name)) {
        return;
    }
    const auto entry = fuzz::ReadRegEntry(FormatValueEntry(name, text, type, {}));
    fuzz::Require(entry == fuzz::RegEntry{std::wstring(name), type, data});
}

ValueText Harvested(std::uint32_t type, const Data& data) {
    ValueText text = L"of the value before";
    HarvestValueText(type, data, text);
    return text;
}

void RequireBothWays(std::wstring_view name, std::uint32_t type, const Data& data, const Data& expected) {
    RequireEntry(name, Harvested(type, data), type, expected);
    RequireEntry(name, ReplayValueText(type, data), type, expected);
}

void Append(Data& data, std::wstring_view text) {
    for (const wchar_t unit : text) {
        data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
        data.push_back(static_cast<std::uint8_t>(unit >> 8 & 0xFF));
    }
}

Data BytesOf(std::wstring_view text) {
    Data data;
    Append(data, text);
    return data;
}

std::wstring Without(std::wstring text, std::wstring_view units) {
    std::erase_if(text, [units](wchar_t unit) { return units.find(unit) != std::wstring_view::npos; });
    return text;
}

constexpr std::wstring_view terminator(L"\0", 1);
constexpr std::wstring_view terminatorAndLineEnds(L"\0\r\n", 3);

void TryStrings(std::wstring_view name, const std::wstring& units) {
    const std::wstring text = Without(units, terminator);
    if (SurvivesQuotes(text)) {
        RequireBothWays(name, sz, BytesOf(text + std::wstring(terminator)), BytesOf(text));
        RequireBothWays(name, sz, BytesOf(text), BytesOf(text));
    }
    const std::wstring line = Without(units, terminatorAndLineEnds);
    if (!line.empty()) {
        const Data terminated = BytesOf(line + std::wstring(terminator));
        RequireBothWays(name, expandSz, terminated, terminated);
    }
}

// The units are a list: the letter n ends a string.
void TryList(std::wstring_view name, const std::wstring& units) {
    Data data;
    std::wstring string;
    for (const wchar_t unit : Without(units, terminatorAndLineEnds) + L"n") {
        if (unit != L'n') {
            string += unit;
        } else if (!string.empty()) {
            Append(data, string);
            Append(data, terminator);
            string.clear();
        }
    }
    if (!data.empty()) {
        Append(data, terminator);
        RequireBothWays(name, multiSz, data, data);
    }
}

void TryBytes(std::wstring_view name, const Data& data) {
    RequireBothWays(name, binary, data, data);
    RequireEntry(name, ReplayValueText(qword, data), qword, data);
    if (data.size() >= sizeof(std::uint32_t)) {
        RequireBothWays(name, dword, data, Data(data.begin(), data.begin() + sizeof(std::uint32_t)));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    std::wstring name;
    for (int left = input.Byte() % 16; left > 0; --left) {
        name += input.Unit();
    }
    const std::uint32_t anyType = input.Byte();
    const auto bytes = input.TakeRest();
    const Data value(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                     reinterpret_cast<const std::uint8_t*>(bytes.data()) + bytes.size());
    std::wstring units;
    for (const std::uint8_t byte : value) {
        units += static_cast<wchar_t>(byte);
    }
    TryStrings(name, units);
    TryList(name, units);
    TryBytes(name, value);
    FormatValueEntry(name, units, anyType, {{L"a", L"bb"}, {L"bb", L""}});
    return 0;
}
