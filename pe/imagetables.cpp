#include "pe/imagetables.h"

namespace keyreap {

namespace {

// Fields of IMAGE_EXPORT_DIRECTORY.
constexpr std::size_t numberOfNamesField = 24;
constexpr std::size_t addressOfNamesField = 32;

} // namespace

std::vector<std::string_view> DllNames(const CheckedView& view, const DescriptorTable& table,
                                       const RvaResolver& resolve) {
    std::vector<std::string_view> names;
    for (const std::byte* entry = table.first; view.Holds(entry, table.entrySize); entry += table.entrySize) {
        const std::uint32_t nameRva = view.Read<std::uint32_t>(entry + table.nameField).value_or(0);
        if (nameRva == 0) {
            break;
        }
        if (const std::optional<std::string_view> name = view.TextAt(resolve(nameRva))) {
            names.push_back(*name);
        }
    }
    return names;
}

bool ExportTableHasName(const CheckedView& view, const std::byte* exportDirectory, const RvaResolver& resolve,
                        std::string_view name) {
    if (!view.Holds(exportDirectory, exportDirectorySize)) {
        return false;
    }
    const auto count = view.Read<std::uint32_t>(exportDirectory + numberOfNamesField).value_or(0);
    const auto tableRva = view.Read<std::uint32_t>(exportDirectory + addressOfNamesField).value_or(0);
    const std::byte* entry = resolve(tableRva);
    for (std::uint32_t i = 0; i < count; ++i, entry += sizeof(std::uint32_t)) {
        const std::optional<std::uint32_t> nameRva = view.Read<std::uint32_t>(entry);
        if (!nameRva) {
            return false;
        }
        if (view.HoldsText(resolve(*nameRva), name)) {
            return true;
        }
    }
    return false;
}

} // namespace keyreap
