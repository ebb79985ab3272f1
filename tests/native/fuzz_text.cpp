// Rules of SplitText and ParseGuid.
#include "platform/core/text/guid.h"
#include "platform/core/text/text.h"
#include "tests/native/fuzzinput.h"

using namespace keyreap;

namespace {

void TrySplitting(const std::wstring& text, const std::wstring& delimiter) {
    const std::vector<std::wstring> pieces = SplitText(text, delimiter, false);
    fuzz::Require(pieces.empty() == text.empty());
    std::wstring joined;
    for (const std::wstring& piece : pieces) {
        fuzz::Require(delimiter.empty() || piece.find(delimiter) == std::wstring::npos);
        joined += (&piece == &pieces.front() ? L"" : delimiter) + piece;
    }
    fuzz::Require(joined == text);

    std::vector<std::wstring> filled = pieces;
    std::erase(filled, std::wstring());
    fuzz::Require(SplitText(text, delimiter, true) == filled);
}

// The published form of a GUID, with digits of either case.
std::wstring Written(const Guid& guid, std::wstring_view digits) {
    std::wstring text;
    const auto put = [&](std::uint64_t value, int count) {
        for (int shift = 4 * (count - 1); shift >= 0; shift -= 4) {
            text += digits[value >> shift & 0xF];
        }
    };
    put(guid.data1, 8);
    text += L'-';
    put(guid.data2, 4);
    text += L'-';
    put(guid.data3, 4);
    for (std::size_t i = 0; i < guid.data4.size(); ++i) {
        text += i == 0 || i == 2 ? L"-" : L"";
        put(guid.data4[i], 2);
    }
    return text;
}

void TryReadingBack(fuzz::Input& input) {
    Guid guid;
    guid.data1 = static_cast<std::uint32_t>(input.Unit()) << 16 | static_cast<std::uint32_t>(input.Unit());
    guid.data2 = static_cast<std::uint16_t>(input.Unit());
    guid.data3 = static_cast<std::uint16_t>(input.Unit());
    for (std::uint8_t& byte : guid.data4) {
        byte = input.Byte();
    }
    for (const std::wstring_view digits : {L"0123456789abcdef", L"0123456789ABCDEF"}) {
        const std::wstring text = Written(guid, digits);
        fuzz::Require(ParseGuid(text) == guid);
        fuzz::Require(ParseGuid(L"{" + text + L"}") == guid);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    TryReadingBack(input);
    std::wstring delimiter;
    for (int left = input.Byte() % 4; left > 0; --left) {
        delimiter += static_cast<wchar_t>(input.Byte());
    }
    std::wstring text;
    while (!input.IsEmpty()) {
        text += static_cast<wchar_t>(input.Byte());
    }
    TrySplitting(text, delimiter);
    if (!text.starts_with(L'{')) {
        fuzz::Require(ParseGuid(text) == ParseGuid(L"{" + text));
    }
    return 0;
}
