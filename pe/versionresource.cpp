#include "pe/versionresource.h"

#include "pe/resourcetree.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace keyreap {

namespace {

constexpr std::uint32_t versionType = 16;
constexpr std::uint32_t versionName = 1;

} // namespace

bool HoldsVersionResource(const CheckedView& view) {
    const ResourceTree tree(view);
    const std::optional<std::uint32_t> names = tree.Subdirectory(0, versionType);
    const std::optional<std::uint32_t> languages = names ? tree.Subdirectory(*names, versionName) : names;
    if (!languages) {
        return false;
    }
    const std::vector<ResourceEntry> entries = tree.Entries(*languages);
    return !entries.empty() &&
           std::all_of(entries.begin(), entries.end(),
                       [&tree](const ResourceEntry& entry) { return tree.HoldsData(entry); });
}

} // namespace keyreap
