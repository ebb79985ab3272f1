#include "tests/support/sectiontable.h"

#include "pe/importtables.h"

namespace keyreap::testsupport {

namespace {

template <typename Integer>
Integer At(const CheckedView& view, const std::byte* place) {
    return view.Read<Integer>(place).value_or(0);
}

const std::byte* NtHeaders(const CheckedView& view) {
    const std::byte* nt = view.Start() + At<std::uint32_t>(view, view.Start() + 60);
    constexpr std::uint32_t signature = 0x4550;
    return view.HasDosMagic() && At<std::uint32_t>(view, nt) == signature ? nt : nullptr;
}

} // namespace

const std::byte* PlaceBySections(const CheckedView& view, std::uint32_t rva) {
    const std::byte* nt = NtHeaders(view);
    const std::byte* section = nt + 24 + At<std::uint16_t>(view, nt + 20);
    const std::byte* end = section + 40 * At<std::uint16_t>(view, nt + 6);
    for (; section != end; section += 40) {
        const auto start = At<std::uint32_t>(view, section + 12);
        const auto size = At<std::uint32_t>(view, section + 16);
        const auto beyond = static_cast<std::uint32_t>(start + size);
        if (rva >= start && rva < beyond) {
            // In a 32-bit process the sum wraps, in the helpers as here.
            const auto offset = static_cast<std::uintptr_t>(std::uint64_t{rva} - start +
                                                            At<std::uint32_t>(view, section + 20));
            return reinterpret_cast<const std::byte*>(reinterpret_cast<std::uintptr_t>(view.Start()) +
                                                      offset);
        }
    }
    return nullptr;
}

const std::byte* DirectoryBySections(const CheckedView& view, std::uint32_t index) {
    const std::byte* nt = NtHeaders(view);
    if (nt == nullptr) {
        return nullptr;
    }
    const std::byte* optional = nt + 24;
    const auto magic = At<std::uint16_t>(view, optional);
    if (magic != 0x10B && magic != 0x20B) {
        return nullptr;
    }
    const std::byte* directories = optional + (magic == 0x20B ? 112 : 96);
    const auto rva = At<std::uint32_t>(view, directories + 8 * index);
    if (index >= At<std::uint32_t>(view, directories - 4) || rva == 0) {
        return nullptr;
    }
    const bool isInHeaders = rva < At<std::uint32_t>(view, optional + 60);
    return isInHeaders ? view.Start() + rva : PlaceBySections(view, rva);
}

std::size_t AskEverything(const CheckedView& view) {
    if (!view.HasDosMagic() || !view.HasNtHeaders() || NtHeaders(view) == nullptr) {
        return 0;
    }
    std::size_t names = 0;
    const RvaResolver resolve = [&view](std::uint32_t rva) {
        return view.HasSectionTable() ? PlaceBySections(view, rva) : nullptr;
    };
    const auto directory = [&view](std::uint32_t index) {
        return view.HasDirectoryEntry(index) ? DirectoryBySections(view, index) : nullptr;
    };
    names += ExportTableHasName(view, directory(0), resolve, "DllRegisterServer") ? 1 : 0;
    names += DllNames(view, DescriptorTable::Imports(directory(1)), resolve).size();
    names += DllNames(view, DescriptorTable::DelayImports(directory(13)), resolve).size();
    for (const LookupEntry entry : {LookupEntry::bits32, LookupEntry::bits64}) {
        ImportedFunctions(view, directory(1), entry, resolve);
    }
    ExportTableHasOrdinal(view, directory(0), resolve, 1);
    return names;
}

} // namespace keyreap::testsupport
