#include "kit/manifest/flagwords.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace keyreap {

namespace {

// From bit 0 on. The published word for IGNOREACTIVATEWHENVISIBLE is misspelled, and hosts differ in which
// spelling they know, so it has none here.
constexpr std::array<std::wstring_view, 22> miscStatusWords = {
    L"recomposeonresize",
    L"onlyiconic",
    L"insertnotreplace",
    L"static",
    L"cantlinkinside",
    L"canlinkbyole1",
    L"islinkobject",
    L"insideout",
    L"activatewhenvisible",
    L"renderingisdeviceindependent",
    L"invisibleatruntime",
    L"alwaysrun",
    L"actslikebutton",
    L"actslikelabel",
    L"nouiactivate",
    L"alignable",
    L"simpleframe",
    L"setclientsitefirst",
    L"imemode",
    L"",
    L"wantstomenumerge",
    L"supportsmultilevelundo",
};

constexpr std::array<std::wstring_view, 4> libraryFlagWords = {L"restricted", L"control", L"hidden",
                                                               L"hasdiskimage"};

constexpr std::array<std::wstring_view, 4> threadingModels = {L"Apartment", L"Free", L"Both", L"Neutral"};

bool IsDigits(std::wstring_view text, std::wstring_view digits, std::size_t most) {
    return !text.empty() && text.size() <= most && text.find_first_not_of(digits) == std::wstring_view::npos;
}

std::optional<std::wstring> WordsOf(std::wstring_view number, std::span<const std::wstring_view> words) {
    constexpr std::size_t mostDigits = 9; // of a number that fits into an integer
    if (!IsDigits(number, L"0123456789", mostDigits)) {
        return std::nullopt;
    }
    auto bits = static_cast<std::uint32_t>(TextToInteger(number));
    std::wstring text;
    for (const std::wstring_view word : words) {
        if ((bits & 1) != 0 && word.empty()) {
            return std::nullopt;
        }
        if ((bits & 1) != 0) {
            text.append(text.empty() ? L"" : L",").append(word);
        }
        bits >>= 1;
    }
    return bits == 0 ? std::optional(text) : std::nullopt;
}

} // namespace

std::optional<std::wstring> MiscStatusWords(std::wstring_view number) {
    return WordsOf(number, miscStatusWords);
}

std::optional<std::wstring> LibraryFlagWords(std::wstring_view number) {
    return WordsOf(number, libraryFlagWords);
}

std::optional<std::wstring> DecimalVersion(std::wstring_view version) {
    constexpr std::size_t mostDigits = 4; // of 16 bits
    const std::vector<std::wstring> parts = SplitText(version, L".", false);
    const auto isNumber = [](const std::wstring& part) {
        return IsDigits(part, L"0123456789abcdefABCDEF", mostDigits);
    };
    if (parts.size() != 2 || !std::ranges::all_of(parts, isNumber)) {
        return std::nullopt;
    }
    return IntegerToText(HexTextToInteger(parts[0], mostDigits)) + L'.' +
           IntegerToText(HexTextToInteger(parts[1], mostDigits));
}

std::optional<std::wstring> ThreadingModelWord(std::wstring_view model) {
    if (model.empty()) {
        return std::wstring();
    }
    const auto isSame = [model](std::wstring_view word) { return EqualFolded(word, model); };
    const auto* const known = std::ranges::find_if(threadingModels, isSame);
    return known == threadingModels.end() ? std::nullopt : std::optional(std::wstring(*known));
}

} // namespace keyreap
