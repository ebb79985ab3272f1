#pragma once

#include "regmodel/regentry.h"

#include <cstddef>
#include <string>
#include <vector>

namespace keyreap {

// The data of an entry as people read them. The page shows the beginning of long data.
struct EntryView {
    std::wstring type;
    std::vector<std::wstring> texts; // one for each text of a list; otherwise one at most
    std::size_t left = 0;            // the number of bytes that aren't shown
    std::wstring remark;             // why the entry isn't an ordinary one; may be empty
};

EntryView ViewOf(const RegEntry& entry);

} // namespace keyreap
