#include "kit/emit/objectowners.h"

#include "kit/capture/capture.h"
#include "kit/capture/libraryentries.h"

namespace keyreap {

namespace {

// The name of a category is there for all that are in it.
bool IsShared(const RegObject& object) {
    return object.identity.kind == ObjectKind::Category || IsOfSystem(object.identity.id) ||
           !LibraryThatWrites(object).empty();
}

// Other objects have a name that several products share, such as an extension.
bool IsOfServer(ObjectKind kind) {
    switch (kind) {
    case ObjectKind::Class:
    case ObjectKind::Interface:
    case ObjectKind::TypeLib:
    case ObjectKind::ProgId:
    case ObjectKind::AppId:
        return true;
    default:
        return false;
    }
}

} // namespace

ObjectOwners::ObjectOwners(const RegDocument& document) : sections(document.sections.size()) {
    const RegistryModel model = ModelOf(document);
    for (std::size_t number = 0; number < model.objects.size(); ++number) {
        const RegObject& object = model.objects[number];
        const bool isShared = IsShared(object);
        const ObjectOwner owner{number, isShared, !isShared && IsOfServer(object.identity.kind)};
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
