#include "kit/check/comparedcapture.h"

#include "kit/check/comparedkey.h"
#include "platform/core/text/compare.h"

namespace keyreap {

ComparedCapture::ComparedCapture(const RegDocument& document, int bitness) {
    for (const RegSection& section : document.sections) {
        if (section.isDeletion) {
            continue;
        }
        const std::wstring key = ComparedKey(section.path, bitness);
        ComparedSection& compared =
            sections.try_emplace(key, ComparedSection{section.path, section.isCapturesOwn, {}}).first->second;
        compared.isCapturesOwn = compared.isCapturesOwn && section.isCapturesOwn;
        for (const RegEntry& entry : section.entries) {
            if (entry.kind == RegEntryKind::Deletion) {
                compared.entries.erase(FoldedText(entry.name));
            } else {
                compared.entries.insert_or_assign(FoldedText(entry.name), &entry);
            }
        }
        for (std::size_t end = key.rfind(L'\\'); end != std::wstring::npos && end > 0;
             end = key.rfind(L'\\', end - 1)) {
            if (!parents.insert(key.substr(0, end)).second) {
                break;
            }
        }
    }
}

const ComparedSection* ComparedCapture::Find(std::wstring_view comparedKey) const {
    const auto found = sections.find(std::wstring(comparedKey));
    return found == sections.end() ? nullptr : &found->second;
}

bool ComparedCapture::HasAtOrBelow(std::wstring_view comparedKey) const {
    return Find(comparedKey) != nullptr || parents.contains(std::wstring(comparedKey));
}

const RegEntry* ComparedCapture::Find(std::wstring_view comparedKey, std::wstring_view valueName) const {
    const ComparedSection* const section = Find(comparedKey);
    if (section == nullptr) {
        return nullptr;
    }
    const auto found = section->entries.find(FoldedText(std::wstring(valueName)));
    return found == section->entries.end() ? nullptr : found->second;
}

bool ComparedCapture::HasContent(std::wstring_view comparedKey) const {
    const ComparedSection* const section = Find(comparedKey);
    return section != nullptr && (!section->entries.empty() || !parents.contains(std::wstring(comparedKey)));
}

} // namespace keyreap
