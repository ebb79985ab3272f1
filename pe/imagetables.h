#pragma once

#include "pe/checkedview.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

// Walks over the tables of an image with bounds-checked access. An entry or a name that isn't inside the file
// is skipped, and a table ends where the file ends.
namespace keyreap {

// Returns the place of a relative virtual address in the view's memory, or null if no section contains it.
using RvaResolver = std::function<const std::byte*(std::uint32_t rva)>;

// A table of descriptors that each name a DLL. It ends at a descriptor whose name address is 0.
struct DescriptorTable {
    const std::byte* first;
    std::size_t entrySize;
    std::size_t nameField; // offset of the name's address in an entry

    // IMAGE_IMPORT_DESCRIPTOR and IMAGE_DELAYLOAD_DESCRIPTOR of winnt.h, which have these sizes.
    static constexpr std::size_t importEntrySize = 20;
    static DescriptorTable Imports(const std::byte* first) { return {first, importEntrySize, 12}; }
    static constexpr std::size_t delayImportEntrySize = 32;
    static DescriptorTable DelayImports(const std::byte* first) { return {first, delayImportEntrySize, 4}; }
};

// The names in the table, in its order; they point into the view.
std::vector<std::string_view> DllNames(const CheckedView& view, const DescriptorTable& table,
                                       const RvaResolver& resolve);

// The size of IMAGE_EXPORT_DIRECTORY of winnt.h.
inline constexpr std::size_t exportDirectorySize = 40;

// True if the export directory's table of names contains the name, case included. An ordinal without a name
// doesn't count.
bool ExportTableHasName(const CheckedView& view, const std::byte* exportDirectory, const RvaResolver& resolve,
                        std::string_view name);

} // namespace keyreap
