#include "pe/imageheaders.h"

#include "pe/imagetables.h"
#include "pe/resourcetree.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::uint32_t exportDirectoryIndex = 0; // of the data directories
constexpr std::uint32_t importDirectoryIndex = 1;
constexpr std::uint32_t delayImportDirectoryIndex = 13;
constexpr std::uint16_t dllCharacteristic = 0x2000;
constexpr std::uint32_t manifestType = 24; // RT_MANIFEST

} // namespace

ImageHeaders::ImageHeaders(std::span<const std::byte> bytes)
    : view(bytes), areThere(view.HasDosMagic() && view.HasSignature()) {}

std::uint16_t ImageHeaders::Machine() const {
    return areThere ? view.Machine() : std::uint16_t{0};
}

bool ImageHeaders::Is64Bit() const {
    return Machine() == machineX64 || Machine() == machineItanium;
}

bool ImageHeaders::IsDll() const {
    return areThere && (view.Characteristics() & dllCharacteristic) != 0;
}

std::uint16_t ImageHeaders::Subsystem() const {
    return areThere ? view.Subsystem() : std::uint16_t{0};
}

bool ImageHeaders::Exports(std::string_view name) const {
    if (!areThere) {
        return false;
    }
    const auto resolve = [this](std::uint32_t rva) { return view.PlaceInSections(rva); };
    const std::byte* directory = resolve(view.DirectoryAddress(exportDirectoryIndex));
    return directory != nullptr && ExportTableHasName(view, directory, resolve, name);
}

std::vector<std::uint16_t> ImageHeaders::TypeLibraries() const {
    std::vector<std::uint16_t> numbers;
    if (!areThere || !view.HasLayout()) {
        return numbers;
    }
    const ResourceTree tree(view);
    const auto names = tree.NamedSubdirectory(0, "TYPELIB");
    for (const ResourceEntry& name : names ? tree.Entries(*names) : std::vector<ResourceEntry>()) {
        const auto languages = ResourceTree::DirectoryOf(name);
        const auto entries = languages ? tree.Entries(*languages) : std::vector<ResourceEntry>();
        const auto holdsData = [&tree](const ResourceEntry& entry) { return tree.HoldsData(entry); };
        if (ResourceTree::IsNumber(name) && std::ranges::any_of(entries, holdsData)) {
            numbers.push_back(static_cast<std::uint16_t>(name.id));
        }
    }
    return numbers;
}

std::vector<std::string_view> ImageHeaders::Libraries() const {
    std::vector<std::string_view> names;
    const auto resolve = [this](std::uint32_t rva) { return view.PlaceInSections(rva); };
    const auto add = [&](std::uint32_t index, auto tableAt) {
        const std::byte* const first = areThere ? resolve(view.DirectoryAddress(index)) : nullptr;
        if (first != nullptr) {
            const std::vector<std::string_view> more = DllNames(view, tableAt(first), resolve);
            names.insert(names.end(), more.begin(), more.end());
        }
    };
    add(importDirectoryIndex, DescriptorTable::Imports);
    add(delayImportDirectoryIndex, DescriptorTable::DelayImports);
    return names;
}

bool ImageHeaders::HasManifest() const {
    if (!areThere || !view.HasLayout()) {
        return false;
    }
    const ResourceTree tree(view);
    const auto names = tree.Subdirectory(0, manifestType);
    return names && !tree.Entries(*names).empty();
}

} // namespace keyreap
