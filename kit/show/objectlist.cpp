#include "kit/show/objectlist.h"

#include "platform/core/text/compare.h"
#include "regmodel/registrymodel.h"

#include <algorithm>
#include <tuple>

namespace keyreap {

namespace {

void Merge(ComparedObject& object, const RegObject& found, std::size_t capture, const CaptureTree& tree) {
    if (object.id.empty()) {
        object.identity = found.identity;
        object.id = found.id;
    }
    if (object.name.empty()) {
        object.name = NameOf(found.facts);
    }
    object.texts[capture] = TextsOf(found.facts);
    for (const std::size_t section : found.sections) {
        object.keys.push_back(tree.KeyOf(capture, section));
    }
    for (const RegEntryRef& entry : found.entries) {
        object.keys.push_back(tree.KeyOf(capture, entry.section));
    }
}

void SortKeys(ComparedObject& object) {
    std::ranges::sort(object.keys);
    object.keys.erase(std::unique(object.keys.begin(), object.keys.end()), object.keys.end());
}

} // namespace

std::vector<ComparedObject> ObjectsOf(std::span<const PageCapture> captures, const CaptureTree& tree) {
    std::map<ObjectIdentity, ComparedObject> found;
    for (std::size_t capture = 0; capture < captures.size(); ++capture) {
        for (const RegObject& object : ModelOf(captures[capture].document).objects) {
            ComparedObject& compared = found[object.identity];
            compared.texts.resize(captures.size());
            Merge(compared, object, capture, tree);
        }
    }
    std::vector<ComparedObject> objects;
    for (auto& [identity, object] : found) {
        SortKeys(object);
        objects.push_back(std::move(object));
    }
    const auto order = [](const ComparedObject& object) {
        return std::tuple(object.identity.kind, object.name.empty(), FoldedText(object.name));
    };
    std::ranges::stable_sort(objects, {}, order);
    return objects;
}

ObjectTargets::ObjectTargets(const std::vector<ComparedObject>& objects) : objects(objects) {
    for (std::size_t i = 0; i < objects.size(); ++i) {
        indices.emplace(std::pair(objects[i].identity.kind, objects[i].identity.id), i);
    }
}

std::size_t ObjectTargets::IndexOf(const ComparedObject& from, const ObjectText& text) const {
    if (!text.target) {
        return CaptureTree::none;
    }
    const auto [first, last] = indices.equal_range({*text.target, FoldedText(text.text)});
    const auto sameScope = std::find_if(first, last, [this, &from](const auto& found) {
        return objects[found.second].identity.scope == from.identity.scope;
    });
    const auto best = sameScope == last ? first : sameScope;
    return best == last ? CaptureTree::none : best->second;
}

} // namespace keyreap
