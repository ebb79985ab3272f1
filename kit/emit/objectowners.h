#pragma once

#include "regmodel/registrymodel.h"

#include <cstddef>
#include <map>
#include <vector>

namespace keyreap {

struct ObjectOwner {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    std::size_t object = none; // its number in the document
    bool isShared = false;     // others need it after the product is gone
    bool isOwn = false;        // the server's with everything in it
};

// Which object each section and each entry of a document belongs to.
class ObjectOwners {
public:
    explicit ObjectOwners(const RegDocument& document);

    ObjectOwner OfSection(std::size_t section) const { return sections[section]; }
    ObjectOwner OfEntry(RegEntryRef entry) const;

private:
    std::vector<ObjectOwner> sections;
    std::map<RegEntryRef, ObjectOwner> entries;
};

} // namespace keyreap
