#pragma once

#include "kit/capture/capture.h"

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace keyreap {

struct ComparedSection {
    std::wstring path; // as the capture names it
    bool isCapturesOwn = false;
    std::map<std::wstring, const RegEntry*> entries; // by folded name; a later one counts
};

// The keys of a capture by their compared paths. Keeps a reference to the document.
class ComparedCapture {
public:
    ComparedCapture(const RegDocument& document, int bitness);

    const std::map<std::wstring, ComparedSection>& Sections() const { return sections; }

    // Null if the capture doesn't name the key.
    const ComparedSection* Find(std::wstring_view comparedKey) const;

    // True if the capture names the key or one below it.
    bool HasAtOrBelow(std::wstring_view comparedKey) const;

    // The entry; null if there is none.
    const RegEntry* Find(std::wstring_view comparedKey, std::wstring_view valueName) const;

    // True if the capture sets values in the key, or has it without keys in it.
    bool HasContent(std::wstring_view comparedKey) const;

private:
    std::map<std::wstring, ComparedSection> sections;
    std::set<std::wstring> parents; // of sections
};

} // namespace keyreap
