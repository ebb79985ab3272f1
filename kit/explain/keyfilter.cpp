#include "kit/explain/keyfilter.h"

#include "kit/explain/meantkey.h"
#include "platform/core/text/compare.h"
#include "trace/kernelpath.h"
#include "trace/registryoperation.h"

#include <array>
#include <string_view>
#include <utility>

namespace keyreap {

namespace {

struct RootNames {
    std::wstring_view name;
    std::wstring_view shortName;
};

constexpr std::array<RootNames, 4> roots = {{{L"HKEY_CLASSES_ROOT", L"HKCR"},
                                             {L"HKEY_CURRENT_USER", L"HKCU"},
                                             {L"HKEY_LOCAL_MACHINE", L"HKLM"},
                                             {L"HKEY_USERS", L"HKU"}}};

bool IsIn(std::wstring_view path, std::wstring_view key) {
    return StartsWithFolded(path, key) && (path.size() == key.size() || path[key.size()] == L'\\');
}

// The same text for all names of a key, as the replay names it.
std::wstring Comparable(std::wstring key) {
    static const std::wstring node = FoldedText(L"Wow6432Node");
    constexpr std::wstring_view machine = L"HKEY_LOCAL_MACHINE\\";
    key = FoldedText(std::move(key));
    while (RemovePathComponent(key, node)) {
    }
    if (StartsWithFolded(key, machine)) {
        std::wstring path = key.substr(machine.size());
        FoldControlSet(path);
        key.replace(machine.size(), key.size(), path);
    }
    for (const std::wstring_view classes :
         {L"HKEY_LOCAL_MACHINE\\Software\\Classes", L"HKEY_CURRENT_USER\\Software\\Classes"}) {
        if (IsIn(key, classes)) {
            key.replace(0, classes.size(), L"HKEY_CLASSES_ROOT");
        }
    }
    return FoldedText(std::move(key));
}

} // namespace

std::optional<KeyFilter> KeyFilter::Of(const std::wstring& key, const std::optional<std::wstring>& value) {
    const std::size_t end = std::min(key.find(L'\\'), key.size());
    const std::wstring_view root = std::wstring_view(key).substr(0, end);
    for (const RootNames& known : roots) {
        if (!EqualFolded(root, known.name) && !EqualFolded(root, known.shortName)) {
            continue;
        }
        KeyFilter filter;
        filter.name = std::wstring(known.name) + key.substr(end);
        while (filter.name.ends_with(L'\\')) {
            filter.name.pop_back();
        }
        filter.folded = Comparable(filter.name);
        filter.value = value;
        return filter;
    }
    return {};
}

bool KeyFilter::IsAbout(const StoryOperation& operation, const std::wstring& key) const {
    if (Comparable(key) != folded) {
        return false;
    }
    return !value || (ConcernsValue(operation.type) && EqualFolded(operation.valueName, *value));
}

bool KeyFilter::Takes(const StoryOperation& operation, const std::wstring& key) const {
    if (ConcernsValue(operation.type)) {
        return IsAbout(operation, key);
    }
    return IsIn(folded, Comparable(key));
}

bool KeyFilter::IsRenamingTo(const JudgedOperation& judged) const {
    return !judged.newKey.empty() && Comparable(judged.newKey) == folded;
}

} // namespace keyreap
