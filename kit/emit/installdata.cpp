#include "kit/emit/installdata.h"

namespace keyreap {

void AddNotes(std::vector<EmitNote>& notes, const InstallKey& key, const std::wstring& reason) {
    if (key.values.empty()) {
        notes.push_back({key.place, reason});
    }
    for (const InstallValue& value : key.values) {
        notes.push_back({value.place, reason});
    }
}

} // namespace keyreap
