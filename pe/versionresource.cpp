#include "pe/versionresource.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace keyreap {

namespace {

constexpr std::uint32_t versionType = 16;
constexpr std::uint32_t versionName = 1;

constexpr std::uint32_t resourceDirectoryEntry = 2; // of the data directories

// Fields of IMAGE_RESOURCE_DIRECTORY, IMAGE_RESOURCE_DIRECTORY_ENTRY and IMAGE_RESOURCE_DATA_ENTRY.
constexpr std::size_t resourceDirectorySize = 16;
constexpr std::size_t namedEntriesField = 12;
constexpr std::size_t idEntriesField = 14;
constexpr std::size_t entrySize = 8;
constexpr std::size_t entryTargetField = 4;
constexpr std::size_t dataSizeField = 4;
constexpr std::size_t dataEntrySize = 16;
constexpr std::uint32_t subdirectoryFlag = 0x80000000;

struct ResourceEntry {
    std::uint32_t id;
    std::uint32_t target;
};

class ResourceTree {
public:
    ResourceTree(const CheckedView& image, std::uint32_t rootAddress)
        : image(image), view(image.LoadedBytes(rootAddress)) {}

    // The entries of the directory at an offset; empty if they are not in the section.
    std::vector<ResourceEntry> Entries(std::uint32_t offset) const;

    // The offset of the only subdirectory with an identifier.
    std::optional<std::uint32_t> Subdirectory(std::uint32_t offset, std::uint32_t id) const;

    bool HoldsData(const ResourceEntry& entry) const;

private:
    const std::byte* Place(std::uint32_t offset) const {
        return reinterpret_cast<const std::byte*>(reinterpret_cast<std::uintptr_t>(view.Start()) + offset);
    }

    const CheckedView& image;
    CheckedView view; // from the root to the end of its section
};

std::vector<ResourceEntry> ResourceTree::Entries(std::uint32_t offset) const {
    const std::byte* directory = Place(offset);
    if (!view.Holds(directory, resourceDirectorySize)) {
        return {};
    }
    const std::size_t count =
        std::size_t{view.Read<std::uint16_t>(directory + namedEntriesField).value_or(0)} +
        view.Read<std::uint16_t>(directory + idEntriesField).value_or(0);
    const std::byte* first = directory + resourceDirectorySize;
    if (!view.Holds(first, count * entrySize)) {
        return {};
    }
    std::vector<ResourceEntry> entries;
    for (const std::byte* entry = first; entry != first + count * entrySize; entry += entrySize) {
        entries.push_back({view.Read<std::uint32_t>(entry).value_or(0),
                           view.Read<std::uint32_t>(entry + entryTargetField).value_or(0)});
    }
    return entries;
}

std::optional<std::uint32_t> ResourceTree::Subdirectory(std::uint32_t offset, std::uint32_t id) const {
    std::optional<std::uint32_t> found;
    for (const ResourceEntry& entry : Entries(offset)) {
        if (entry.id != id) {
            continue;
        }
        if (found || (entry.target & subdirectoryFlag) == 0) {
            return std::nullopt;
        }
        found = entry.target & ~subdirectoryFlag;
    }
    return found;
}

bool ResourceTree::HoldsData(const ResourceEntry& entry) const {
    const std::byte* data = Place(entry.target);
    if ((entry.target & subdirectoryFlag) != 0 || !view.Holds(data, dataEntrySize)) {
        return false;
    }
    const std::uint32_t rva = view.Read<std::uint32_t>(data).value_or(0);
    const std::uint32_t size = view.Read<std::uint32_t>(data + dataSizeField).value_or(0);
    const std::span<const std::byte> loaded = image.LoadedBytes(rva);
    return !loaded.empty() && size <= loaded.size();
}

} // namespace

bool HoldsVersionResource(const CheckedView& view) {
    const std::uint32_t rootAddress = view.DirectoryAddress(resourceDirectoryEntry);
    if (rootAddress == 0) {
        return false;
    }
    const ResourceTree tree(view, rootAddress);
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
