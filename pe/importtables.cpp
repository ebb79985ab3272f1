#include "pe/importtables.h"

namespace keyreap {

namespace {

// Fields of IMAGE_IMPORT_DESCRIPTOR.
constexpr std::size_t lookupTableField = 0;
constexpr std::size_t nameField = 12;
constexpr std::size_t addressTableField = 16;

// Fields of IMAGE_EXPORT_DIRECTORY.
constexpr std::size_t ordinalBaseField = 16;
constexpr std::size_t numberOfFunctionsField = 20;
constexpr std::size_t addressOfFunctionsField = 28;

// In the lookup table, a name comes after the number of its likely place.
constexpr std::size_t hintSize = 2;

// Reads lookup tables until they have named as many functions as the file has room for: descriptors may share
// a table, so a damaged image could ask for endless work.
class LookupReader {
public:
    LookupReader(const CheckedView& view, LookupEntry entry, const RvaResolver& resolve)
        : view(view), entrySize(static_cast<std::size_t>(entry)), resolve(resolve) {}

    std::vector<ImportedFunction> FunctionsAt(std::uint32_t tableRva) {
        std::vector<ImportedFunction> functions;
        const std::byte* entry = resolve(tableRva);
        for (; view.Holds(entry, entrySize) && HasRoom(); entry += entrySize) {
            const std::uint64_t value = ValueAt(entry);
            if (value == 0) {
                break;
            }
            ++named;
            if (const auto function = FunctionOf(value)) {
                functions.push_back(*function);
            }
        }
        return functions;
    }

private:
    bool HasRoom() const { return view.Holds(view.Start(), (named + 1) * entrySize); }

    std::uint64_t ValueAt(const std::byte* entry) const {
        return entrySize == sizeof(std::uint64_t) ? view.Read<std::uint64_t>(entry).value_or(0)
                                                  : view.Read<std::uint32_t>(entry).value_or(0);
    }

    std::optional<ImportedFunction> FunctionOf(std::uint64_t value) const {
        const bool isOrdinal = (value >> (8 * entrySize - 1)) != 0;
        if (isOrdinal) {
            return ImportedFunction{{}, static_cast<std::uint16_t>(value)};
        }
        const std::byte* hint = resolve(static_cast<std::uint32_t>(value));
        const auto name = view.Holds(hint, hintSize) ? view.TextAt(hint + hintSize) : std::nullopt;
        if (!name || name->empty()) {
            return std::nullopt;
        }
        return ImportedFunction{*name, std::nullopt};
    }

    const CheckedView& view;
    std::size_t entrySize;
    const RvaResolver& resolve;
    std::uint64_t named = 0;
};

} // namespace

std::vector<ImportedDll> ImportedFunctions(const CheckedView& view, const std::byte* firstDescriptor,
                                           LookupEntry entry, const RvaResolver& resolve) {
    std::vector<ImportedDll> dlls;
    LookupReader reader(view, entry, resolve);
    const std::byte* descriptor = firstDescriptor;
    for (; view.Holds(descriptor, DescriptorTable::importEntrySize);
         descriptor += DescriptorTable::importEntrySize) {
        const auto field = [&](std::size_t offset) {
            return view.Read<std::uint32_t>(descriptor + offset).value_or(0);
        };
        if (field(nameField) == 0) {
            break;
        }
        const std::optional<std::string_view> name = view.TextAt(resolve(field(nameField)));
        if (!name) {
            continue;
        }
        // Some linkers omit the lookup table; the table that the loader fills then has the same contents.
        const std::uint32_t table =
            field(field(lookupTableField) != 0 ? lookupTableField : addressTableField);
        dlls.push_back({*name, reader.FunctionsAt(table)});
    }
    return dlls;
}

bool ExportTableHasOrdinal(const CheckedView& view, const std::byte* exportDirectory,
                           const RvaResolver& resolve, std::uint16_t ordinal) {
    if (!view.Holds(exportDirectory, exportDirectorySize)) {
        return false;
    }
    const auto field = [&](std::size_t offset) {
        return view.Read<std::uint32_t>(exportDirectory + offset).value_or(0);
    };
    // An ordinal below the base wraps to an index that no table has.
    const std::uint32_t index = ordinal - field(ordinalBaseField);
    if (index >= field(numberOfFunctionsField)) {
        return false;
    }
    const std::byte* table = resolve(field(addressOfFunctionsField));
    const std::size_t place = std::size_t{index} * sizeof(std::uint32_t);
    return view.Holds(table, place + sizeof(std::uint32_t)) &&
           view.Read<std::uint32_t>(table + place).value_or(0) != 0;
}

} // namespace keyreap
