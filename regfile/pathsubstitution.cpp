#include "regfile/pathsubstitution.h"

namespace keyreap {

void ReplaceAll(std::wstring& subject, std::wstring_view from, std::wstring_view to) {
    if (subject.empty() || from.empty()) {
        return;
    }
    std::size_t match = subject.find(from);
    if (match == std::wstring::npos) {
        return;
    }
    std::wstring result;
    std::size_t rest = 0;
    for (; match != std::wstring::npos; match = subject.find(from, rest)) {
        result.append(subject, rest, match - rest).append(to);
        rest = match + from.size();
    }
    result.append(subject, rest, std::wstring::npos);
    subject = std::move(result);
}

void ApplyReplacements(std::wstring& subject, const PathReplacements& replacements) {
    for (const PathReplacement& replacement : replacements) {
        ReplaceAll(subject, replacement.from, replacement.to);
    }
}

} // namespace keyreap
