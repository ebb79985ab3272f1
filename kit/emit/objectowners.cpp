#include "kit/emit/objectowners.h"

#include "kit/capture/capture.h"

namespace keyreap {

ObjectOwners::ObjectOwners(const RegDocument& document) : sections(document.sections.size()) {
    const RegistryModel model = ModelOf(document);
    for (std::size_t number = 0; number < model.objects.size(); ++number) {
        const RegObject& object = model.objects[number];
        const ObjectOwner owner{number, IsOfSystem(object.identity.id)};
        for (const std::size_t section : object.sections) {
            sections[section] = owner;
        }
        for (const RegEntryRef entry : object.entries) {
            entries[entry] = owner;
        }
    }
}

ObjectOwner ObjectOwners::OfEntry(RegEntryRef entry) const {
    const auto known = entries.find(entry);
    return known == entries.end() ? ObjectOwner() : known->second;
}

} // namespace keyreap
