#include "kit/check/comparedkey.h"

#include "platform/core/text/compare.h"
#include "regmodel/regplace.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view machineClasses = L"hkey_local_machine\\software\\classes";
constexpr std::wstring_view userClasses = L"hkey_current_user\\software\\classes";
constexpr std::wstring_view node = L"\\wow6432node";

// REG_SZ and REG_EXPAND_SZ of winnt.h.
constexpr std::uint32_t typeText = 1;
constexpr std::uint32_t typeExpandable = 2;

bool StartsWithKey(std::wstring_view path, std::wstring_view key) {
    return path.starts_with(key) && (path.size() == key.size() || path[key.size()] == L'\\');
}

void ReplaceStart(std::wstring& path, std::wstring_view key, std::wstring_view by) {
    if (StartsWithKey(path, key)) {
        path.replace(0, key.size(), by);
    }
}

void RemoveNodes(std::wstring& path) {
    for (std::size_t at = path.find(node); at != std::wstring::npos; at = path.find(node, at)) {
        const std::size_t end = at + node.size();
        if (end == path.size() || path[end] == L'\\') {
            path.erase(at, node.size());
        } else {
            at = end;
        }
    }
}

bool IsText(std::uint32_t type) {
    return type == typeText || type == typeExpandable;
}

std::wstring TextUpToNul(const std::vector<std::uint8_t>& data) {
    std::wstring text = DataUnits(data);
    return text.substr(0, text.find(L'\0'));
}

// A pair of texts; none unless both are.
std::optional<std::pair<std::wstring, std::wstring>> TextsOf(const RegEntry& captured,
                                                             const ValueData& data) {
    if (captured.type != data.type || !IsText(data.type)) {
        return std::nullopt;
    }
    return std::pair(TextUpToNul(captured.data), TextUpToNul(data.data));
}

std::wstring NamedBySystem(std::wstring text) {
    constexpr std::wstring_view other = L"\\syswow64\\";
    constexpr std::wstring_view extended = L"\\\\?\\";
    text = FoldedText(std::move(text));
    text.erase(0, text.starts_with(extended) ? extended.size() : 0);
    for (std::size_t at = text.find(other); at != std::wstring::npos; at = text.find(other)) {
        text.replace(at, other.size(), L"\\system32\\");
    }
    return text;
}

} // namespace

std::wstring ComparedKey(std::wstring_view path, int bitness) {
    std::wstring compared = FoldedText(std::wstring(path));
    ReplaceStart(compared, L"hkey_classes_root", machineClasses);
    for (const std::wstring_view set : {L"001", L"002"}) {
        ReplaceStart(compared, L"hkey_local_machine\\system\\controlset" + std::wstring(set),
                     L"hkey_local_machine\\system\\currentcontrolset");
    }
    if (bitness == 32) {
        RemoveNodes(compared);
    }
    return compared;
}

std::wstring ComparedClassesOfUser(std::wstring_view comparedKey) {
    std::wstring compared(comparedKey);
    ReplaceStart(compared, userClasses, machineClasses);
    return compared;
}

std::wstring ComparedInterfaceOfBothViews(std::wstring_view comparedKey) {
    std::wstring compared(comparedKey);
    ReplaceStart(compared, std::wstring(machineClasses) + L"\\wow6432node\\interface",
                 std::wstring(machineClasses) + L"\\interface");
    return compared;
}

std::wstring ComparedKeyInOwnView(std::wstring_view comparedKey) {
    std::wstring compared(comparedKey);
    RemoveNodes(compared);
    return compared;
}

bool IsContainerOfClasses(std::wstring_view comparedKey) {
    constexpr std::array<std::wstring_view, 6> names = {
        L"\\clsid", L"\\interface", L"\\typelib", L"\\appid", L"\\component categories", L"",
    };
    if (!StartsWithKey(comparedKey, machineClasses)) {
        return false;
    }
    std::wstring_view rest = comparedKey.substr(machineClasses.size());
    rest.remove_prefix(StartsWithKey(rest, node) ? node.size() : 0);
    return std::ranges::find(names, rest) != names.end();
}

bool AreSameData(const RegEntry& captured, const ValueData& data) {
    // Of a type without a form of its own, a capture has another kind of entry.
    if (captured.kind != RegEntryKind::Value || IsFiller(captured)) {
        return true;
    }
    if (captured.type != data.type) {
        return false;
    }
    return IsText(data.type) ? TextUpToNul(captured.data) == TextUpToNul(data.data)
                             : captured.data == data.data;
}

bool MayBeSameFile(const RegEntry& captured, const ValueData& data) {
    const auto texts = TextsOf(captured, data);
    return texts && texts->first.find(L":\\") != std::wstring::npos &&
           NamedBySystem(texts->first) == NamedBySystem(texts->second);
}

bool AreGuids(const RegEntry& captured, const ValueData& data) {
    const auto texts = TextsOf(captured, data);
    const auto isGuid = [](const std::wstring& text) {
        return IsGuidText(text) || IsGuidText(L'{' + text + L'}');
    };
    return texts && isGuid(texts->first) && isGuid(texts->second);
}

} // namespace keyreap
