#pragma once

#include "regmodel/regentry.h"
#include "regmodel/regobjects.h"

#include <cstddef>
#include <vector>

namespace keyreap {

// The objects that a document's entries make up, in the order of their first sections. Each section and each
// entry belongs to exactly one object or to none.
struct RegistryModel {
    std::vector<RegObject> objects;
    std::vector<std::size_t> otherSections;
    std::vector<RegEntryRef> otherEntries;
};

// Time and memory are proportional to the document's size, times the logarithm of the number of objects.
RegistryModel ModelOf(const RegDocument& document);

// The object of this identity, or null. The identity's id is folded.
const RegObject* FindObject(const RegistryModel& model, const ObjectIdentity& identity);

} // namespace keyreap
