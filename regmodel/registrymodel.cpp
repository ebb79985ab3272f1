#include "regmodel/registrymodel.h"

#include "platform/core/text/compare.h"
#include "regmodel/objectfacts.h"
#include "regmodel/objectplace.h"
#include "regmodel/progidnames.h"
#include "regmodel/regtree.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

namespace keyreap {

namespace {

std::wstring IdOf(const RegPlace& place, const ObjectPlace& object) {
    std::wstring id;
    for (std::size_t i = object.first; i < object.last; ++i) {
        id.append(i == object.first ? L"" : L"\\").append(place.names[i]);
    }
    return id;
}

// Assigns sections and entries to objects.
class Builder {
public:
    explicit Builder(const RegDocument& document)
        : document(document), tree(document), progIds(document, tree) {}

    RegistryModel Model() {
        for (std::size_t i = 0; i < document.sections.size(); ++i) {
            AddSection(i);
        }
        return std::move(model);
    }

private:
    void AddSection(std::size_t index) {
        const RegSection& section = document.sections[index];
        const RegPlace place = PlaceOf(section.path);
        const auto object = ObjectAt(place, [this](const RegPlace& of) { return progIds.IsProgId(of); });
        if (!object) {
            model.otherSections.push_back(index);
            AddOtherEntries(index, place);
            return;
        }
        RegObject& owner = ObjectOf({object->kind, place.scope, {}}, IdOf(place, *object), [&] {
            return FactsOf(object->kind, tree, tree.Find(place, object->last),
                           ShellExtensionAt(place, *object).value_or(ShellExtensionFacts()));
        });
        owner.sections.push_back(index);
        for (std::size_t i = 0; i < section.entries.size(); ++i) {
            owner.entries.push_back({index, i});
        }
    }

    // The object of this identity, which gets these facts if it is new.
    template <typename Facts>
    RegObject& ObjectOf(ObjectIdentity identity, std::wstring id, Facts facts) {
        identity.id = FoldedText(id);
        const auto [found, isNew] = indices.try_emplace(std::move(identity), model.objects.size());
        if (isNew) {
            model.objects.push_back({found->first, std::move(id), facts(), {}, {}});
        }
        return model.objects[found->second];
    }

    // Each value of the list of approved shell extensions is a shell extension.
    void AddOtherEntries(std::size_t index, const RegPlace& place) {
        const std::vector<RegEntry>& entries = document.sections[index].entries;
        const bool isApprovedList = IsApprovedList(place);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (isApprovedList && IsGuidText(entries[i].name)) {
                AddApproved({index, i}, place);
            } else {
                model.otherEntries.push_back({index, i});
            }
        }
    }

    void AddApproved(RegEntryRef entry, const RegPlace& place) {
        const std::wstring& clsid = document.sections[entry.section].entries[entry.entry].name;
        const std::wstring& list = place.names.back();
        const std::wstring name = tree.Text(tree.Find(place, place.names.size()), clsid);
        const ObjectIdentity identity = {ObjectKind::ShellExtension, place.scope, {}};
        const auto facts = [&] { return ShellExtensionFacts{L"", list, name, clsid}; };
        ObjectOf(identity, list + L'\\' + clsid, facts).entries.push_back(entry);
    }

    const RegDocument& document;
    RegTree tree;
    ProgIdNames progIds;
    RegistryModel model;
    std::map<ObjectIdentity, std::size_t> indices;
};

} // namespace

RegistryModel ModelOf(const RegDocument& document) {
    return Builder(document).Model();
}

const RegObject* FindObject(const RegistryModel& model, const ObjectIdentity& identity) {
    const auto found = std::ranges::find(model.objects, identity, &RegObject::identity);
    return found == model.objects.end() ? nullptr : &*found;
}

} // namespace keyreap
