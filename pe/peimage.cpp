#include "pe/peimage.h"

#include <dbghelp.h>

#include <utility>

namespace keyreap {

namespace {

constexpr WORD machineItanium = 0x0200;

// The image helpers take writable pointers but only read.
void* ForHelper(const std::byte* place) {
    return const_cast<std::byte*>(place);
}

} // namespace

PeImage::PeImage(std::wstring path) : path(std::move(path)) {
    MapFile();
}

void PeImage::MapFile() {
    fileHandle.Reset(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!fileHandle.Valid()) {
        return;
    }
    mappingHandle.Reset(CreateFileMappingW(fileHandle.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (!mappingHandle.Valid()) {
        return;
    }
    view.Reset(MapViewOfFile(mappingHandle.Get(), FILE_MAP_READ, 0, 0, 0));
    LARGE_INTEGER size{};
    if (view.Valid() && GetFileSizeEx(fileHandle.Get(), &size)) {
        const auto* start = static_cast<const std::byte*>(view.Get());
        checked = CheckedView(std::span(start, static_cast<std::size_t>(size.QuadPart)));
    }
}

bool PeImage::FindNtHeaders() {
    dosHeader = checked.Start();
    ntHeaders = checked.HasNtHeaders() ? ImageNtHeader(ForHelper(dosHeader)) : nullptr;
    return ntHeaders != nullptr;
}

bool PeImage::IsPeFile() {
    return checked.HasDosMagic() && FindNtHeaders() && ntHeaders->Signature == IMAGE_NT_SIGNATURE;
}

bool PeImage::Is64Bit() {
    if (!IsPeFile()) {
        return false;
    }
    const WORD machine = ntHeaders->FileHeader.Machine;
    return machine == IMAGE_FILE_MACHINE_AMD64 || machine == machineItanium;
}

const std::byte* PeImage::DirectoryData(WORD entry, std::size_t minimumSize) const {
    if (!checked.HasDirectoryEntry(entry)) {
        return nullptr;
    }
    ULONG size = 0;
    const auto* data = static_cast<const std::byte*>(
        ImageDirectoryEntryToData(ForHelper(checked.Start()), FALSE, entry, &size));
    return checked.Holds(data, minimumSize) ? data : nullptr;
}

const std::byte* PeImage::ExportDirectory() {
    if (!checked.HasDosMagic() || !FindNtHeaders()) {
        return nullptr;
    }
    return DirectoryData(exportDirectoryEntry, exportDirectorySize);
}

const std::byte* PeImage::ImportDirectory() {
    // Deliberate: no test for the letters MZ, because the helper has its own.
    return FindNtHeaders() ? DirectoryData(importDirectoryEntry, DescriptorTable::importEntrySize) : nullptr;
}

const std::byte* PeImage::Resolve(std::uint32_t rva) const {
    if (ntHeaders == nullptr || !checked.HasSectionTable()) {
        return nullptr;
    }
    const auto* place =
        static_cast<const std::byte*>(ImageRvaToVa(ntHeaders, ForHelper(dosHeader), rva, nullptr));
    return checked.Holds(place, 1) ? place : nullptr;
}

RvaResolver PeImage::Resolver() const {
    return [this](std::uint32_t rva) { return Resolve(rva); };
}

} // namespace keyreap
