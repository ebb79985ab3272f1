#pragma once

#include "pe/checkedview.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// The resource directory of an image: a tree of types, names and languages, by the published layout
// (IMAGE_RESOURCE_DIRECTORY of winnt.h). What isn't in the section of its root counts as missing.
namespace keyreap {

struct ResourceEntry {
    std::uint32_t id;     // a number, or the offset of a text
    std::uint32_t target; // the offset of data or of another directory
};

class ResourceTree {
public:
    // The tree of an image with a layout (CheckedView::HasLayout); empty if it has none.
    explicit ResourceTree(const CheckedView& image);

    // The entries of the directory at an offset, 0 being the root; empty if they are not in the section.
    std::vector<ResourceEntry> Entries(std::uint32_t offset) const;

    // The offset of the entry's directory; none if it has data.
    static std::optional<std::uint32_t> DirectoryOf(const ResourceEntry& entry);

    // The offset of the only subdirectory with a number.
    std::optional<std::uint32_t> Subdirectory(std::uint32_t offset, std::uint32_t id) const;

    // The same of the first one whose name is the text, with A to Z folded.
    std::optional<std::uint32_t> NamedSubdirectory(std::uint32_t offset, std::string_view name) const;

    // True if the entry is a number, and not a text.
    static bool IsNumber(const ResourceEntry& entry);

    // True if the entry's data are loaded with the image.
    bool HoldsData(const ResourceEntry& entry) const;

private:
    const std::byte* Place(std::uint32_t offset) const;
    bool HasName(const ResourceEntry& entry, std::string_view name) const;

    const CheckedView& image;
    CheckedView view; // from the root to the end of its section
};

} // namespace keyreap
