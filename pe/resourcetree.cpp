#include "pe/resourcetree.h"

#include "platform/core/text/compare.h"

#include <algorithm>

namespace keyreap {

namespace {

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
constexpr std::uint32_t nameFlag = 0x80000000;

// A name is its length and its units (IMAGE_RESOURCE_DIR_STRING_U).
constexpr std::size_t nameLengthSize = 2;
constexpr std::size_t unitSize = 2;

CheckedView TreeOf(const CheckedView& image) {
    const std::uint32_t root = image.DirectoryAddress(resourceDirectoryEntry);
    return root == 0 ? CheckedView() : CheckedView(image.LoadedBytes(root));
}

} // namespace

ResourceTree::ResourceTree(const CheckedView& image) : image(image), view(TreeOf(image)) {}

const std::byte* ResourceTree::Place(std::uint32_t offset) const {
    return reinterpret_cast<const std::byte*>(reinterpret_cast<std::uintptr_t>(view.Start()) + offset);
}

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

std::optional<std::uint32_t> ResourceTree::DirectoryOf(const ResourceEntry& entry) {
    const bool isDirectory = (entry.target & subdirectoryFlag) != 0;
    return isDirectory ? std::optional(entry.target & ~subdirectoryFlag) : std::nullopt;
}

std::optional<std::uint32_t> ResourceTree::Subdirectory(std::uint32_t offset, std::uint32_t id) const {
    std::optional<std::uint32_t> found;
    for (const ResourceEntry& entry : Entries(offset)) {
        if (entry.id != id) {
            continue;
        }
        if (found || !DirectoryOf(entry)) {
            return std::nullopt;
        }
        found = DirectoryOf(entry);
    }
    return found;
}

bool ResourceTree::IsNumber(const ResourceEntry& entry) {
    return (entry.id & nameFlag) == 0;
}

bool ResourceTree::HasName(const ResourceEntry& entry, std::string_view name) const {
    const std::byte* place = Place(entry.id & ~nameFlag);
    if (IsNumber(entry) || view.Read<std::uint16_t>(place) != name.size() ||
        !view.Holds(place, nameLengthSize + name.size() * unitSize)) {
        return false;
    }
    return std::ranges::all_of(name, [&](const char& letter) {
        const auto index = static_cast<std::size_t>(&letter - name.data());
        const auto unit = view.Read<std::uint16_t>(place + nameLengthSize + index * unitSize).value_or(0);
        return FoldLetter(unit) == FoldLetter(static_cast<unsigned char>(letter));
    });
}

std::optional<std::uint32_t> ResourceTree::NamedSubdirectory(std::uint32_t offset,
                                                             std::string_view name) const {
    for (const ResourceEntry& entry : Entries(offset)) {
        if (HasName(entry, name)) {
            return DirectoryOf(entry);
        }
    }
    return std::nullopt;
}

bool ResourceTree::HoldsData(const ResourceEntry& entry) const {
    const std::byte* data = Place(entry.target);
    if (DirectoryOf(entry) || !view.Holds(data, dataEntrySize)) {
        return false;
    }
    const std::uint32_t rva = view.Read<std::uint32_t>(data).value_or(0);
    const std::uint32_t size = view.Read<std::uint32_t>(data + dataSizeField).value_or(0);
    const std::span<const std::byte> loaded = image.LoadedBytes(rva);
    return !loaded.empty() && size <= loaded.size();
}

} // namespace keyreap
