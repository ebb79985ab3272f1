#pragma once

#include "kit/explain/story.h"
#include "kit/explain/verdict.h"

#include <optional>
#include <string>

namespace keyreap {

// A key that is asked about, and perhaps one of its values. The classes of the machine and of the user are
// the same key as those below HKEY_CLASSES_ROOT, both views are the same, and all control sets.
class KeyFilter {
public:
    // A key by its root's name or its short form (HKCR, HKCU, HKLM, HKU); none for any other text.
    static std::optional<KeyFilter> Of(const std::wstring& key, const std::optional<std::wstring>& value);

    // Whether the operation is part of the key's story: one on it, on one of its values, or on a key above.
    bool Takes(const StoryOperation& operation, const std::wstring& key) const;
    // The same for the renaming of another key to the one that is asked about.
    bool IsRenamingTo(const JudgedOperation& judged) const;
    // Whether it concerns what is asked about itself.
    bool IsAbout(const StoryOperation& operation, const std::wstring& key) const;

    const std::optional<std::wstring>& Value() const { return value; }
    const std::wstring& Key() const { return name; } // with its root's whole name

private:
    std::wstring name;
    std::wstring folded; // for comparisons
    std::optional<std::wstring> value;
};

} // namespace keyreap
