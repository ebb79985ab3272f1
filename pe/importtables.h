#pragma once

#include "pe/imagetables.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// The functions that an image imports, and the ordinals that it exports. All access is bounds-checked: what
// isn't inside the file is skipped.
namespace keyreap {

// The size of an entry of an import lookup table (IMAGE_THUNK_DATA32 and IMAGE_THUNK_DATA64 of winnt.h).
enum class LookupEntry : std::size_t { bits32 = 4, bits64 = 8 };

// A function as its importer names it: by name, or by ordinal. The name points into the view.
struct ImportedFunction {
    std::string_view name; // empty for an ordinal
    std::optional<std::uint16_t> ordinal;
};

struct ImportedDll {
    std::string_view name;
    std::vector<ImportedFunction> functions;
};

// The linked imports from the first import descriptor on, in the table's order. A damaged table that names
// more functions than a file of this size has room for ends there.
std::vector<ImportedDll> ImportedFunctions(const CheckedView& view, const std::byte* firstDescriptor,
                                           LookupEntry entry, const RvaResolver& resolve);

// True if the export directory has an address for the ordinal, with a name or without.
bool ExportTableHasOrdinal(const CheckedView& view, const std::byte* exportDirectory,
                           const RvaResolver& resolve, std::uint16_t ordinal);

} // namespace keyreap
