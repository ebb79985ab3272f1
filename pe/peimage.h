#pragma once

#include "pe/checkedview.h"
#include "pe/imagetables.h"
#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <string>

namespace keyreap {

// The entries of the data directories that are read here (winnt.h).
inline constexpr WORD exportDirectoryEntry = IMAGE_DIRECTORY_ENTRY_EXPORT;
inline constexpr WORD importDirectoryEntry = IMAGE_DIRECTORY_ENTRY_IMPORT;
inline constexpr WORD delayImportDirectoryEntry = IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT;

// A PE file on disk, mapped as plain data: none of its code ever runs. For any file, the worst result is
// false or null, and every returned place is inside the file.
class PeImage {
public:
    // Opens and maps the file; the path is in the form for the file API. Others may read the file meanwhile.
    explicit PeImage(std::wstring path);

    bool IsPeFile();

    // True only for the machine types AMD64 and Itanium: ARM64 counts as 32-bit.
    bool Is64Bit();

    // The export directory, and the first import descriptor; null if the file has none.
    const std::byte* ExportDirectory();
    const std::byte* ImportDirectory();

    // Looks for the NT headers and remembers them for Resolve. False without a mapped file or without
    // headers.
    bool FindNtHeaders();

    // The contents of a data directory if at least `minimumSize` bytes of it are inside the file, otherwise
    // null.
    const std::byte* DirectoryData(WORD entry, std::size_t minimumSize) const;

    // The place of a relative virtual address by the headers last found; null if no section contains it.
    const std::byte* Resolve(std::uint32_t rva) const;
    RvaResolver Resolver() const;

    // The file's bytes; empty if it could not be mapped.
    const CheckedView& View() const { return checked; }
    bool IsMapped() const { return view.Valid(); }
    HANDLE FileHandle() const { return fileHandle.Get(); }
    const std::wstring& Path() const { return path; }

private:
    void MapFile();

    OwnedFile fileHandle;
    OwnedHandle mappingHandle;
    OwnedMappedView view;
    const std::byte* dosHeader = nullptr;
    PIMAGE_NT_HEADERS ntHeaders = nullptr;
    std::wstring path;
    CheckedView checked;
};

} // namespace keyreap
