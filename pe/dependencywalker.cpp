#include "pe/dependencywalker.h"

#include "pe/fileversion.h"
#include "pe/knownfolder.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "platform/os/file/widepath.h"

#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view systemFolderId = L"{1AC14E77-02E7-4E5D-B744-2EB1AE5198B7}";
constexpr std::wstring_view systemX86FolderId = L"{D65231B0-B2F1-4857-A4CE-A8E7C6EA7D27}";
constexpr std::wstring_view windowsFolderId = L"{F38BF404-1D43-42F2-9305-67DE0B28FC23}";
constexpr std::wstring_view systemCompany = L"Microsoft Corporation";
constexpr std::uint32_t folderLookupFailed = 3;
constexpr std::size_t environmentBufferSize = 1040;

bool FileExists(const WidePath& path) {
    return PathFileExistsW(path.ExtendedLengthForm().c_str());
}

WidePath InFolder(std::wstring_view folder, std::wstring_view name) {
    WidePath candidate(folder);
    candidate.Append(name);
    return candidate;
}

bool IsSystemFile(const std::wstring& path) {
    std::wstring company = path;
    return ReadCompanyName(company) && EqualFolded(company, systemCompany);
}

bool HoldsName(const DependencyList& list, std::wstring_view name) {
    return std::any_of(list.begin(), list.end(),
                       [name](const DependencyRecord& record) { return EqualFolded(record.name, name); });
}

// Adds the dependencies of a dependency. A nested failure is dropped: the walk continues with the next name.
void Enter(const std::wstring& path, DependencyList& list) {
    DependencyWalker(path).CollectDependencies(list);
}

} // namespace

DependencyWalker::DependencyWalker(std::wstring_view path) : image(WidePath(path).ExtendedLengthForm()) {}

std::uint32_t DependencyWalker::CollectDependencies(DependencyList& list) {
    if (const std::uint32_t status = PrepareSearch(); status != 0) {
        return status;
    }
    if (const std::byte* first = image.ImportDirectory()) {
        AddNames(DllNames(image.View(), DescriptorTable::Imports(first), image.Resolver()), list);
    }
    if (image.FindNtHeaders()) {
        const std::byte* first =
            image.DirectoryData(delayImportDirectoryEntry, DescriptorTable::delayImportEntrySize);
        AddNames(DllNames(image.View(), DescriptorTable::DelayImports(first), image.Resolver()), list);
    }
    return 0;
}

bool DependencyWalker::ComputeSha1(Sha1Digest& digest) {
    const DWORD size = GetFileSize(image.FileHandle(), nullptr);
    if (size == INVALID_FILE_SIZE || !image.IsMapped()) {
        return false;
    }
    digest = Sha1Of(std::span(image.View().Start(), size));
    return true;
}

std::uint32_t DependencyWalker::PrepareSearch() {
    if (const std::uint32_t status = ReadFolders(); status != 0) {
        return status;
    }
    return ReadPathFolders();
}

std::uint32_t DependencyWalker::ReadFolders() {
    const bool found = FindKnownFolder(image.Is64Bit() ? systemFolderId : systemX86FolderId, systemFolder) &&
                       FindKnownFolder(windowsFolderId, windowsFolder);
    return found ? 0 : folderLookupFailed;
}

std::uint32_t DependencyWalker::ReadPathFolders() {
    std::array<wchar_t, environmentBufferSize> buffer{};
    const auto size = static_cast<DWORD>(buffer.size());
    if (GetCurrentDirectoryW(size, buffer.data()) == 0) {
        return GetLastError();
    }
    currentFolder = buffer.data();
    // For an empty PATH the system doesn't set the last error, so it is cleared before.
    SetLastError(ERROR_SUCCESS);
    const DWORD length = GetEnvironmentVariableW(L"PATH", buffer.data(), size);
    if (length == 0) {
        return GetLastError();
    }
    // Deliberate: a PATH that doesn't fit leaves the current directory in the buffer, and only that is
    // searched.
    const std::wstring_view text = length < size ? buffer.data() : std::wstring_view(currentFolder);
    pathFolders = SplitText(text, L";", true);
    return 0;
}

void DependencyWalker::AddNames(const std::vector<std::string_view>& names, DependencyList& list) const {
    for (const std::string_view name : names) {
        std::wstring wideName = WidenBytes(name);
        // This search alone ends cycles between DLLs.
        if (HoldsName(list, wideName)) {
            continue;
        }
        const DependencyRecord record = MakeRecord(std::move(wideName));
        list.push_back(record);
        if (record.isSystem == 0 && !record.path.empty()) {
            Enter(record.path, list);
        }
    }
}

DependencyRecord DependencyWalker::MakeRecord(std::wstring name) const {
    DependencyRecord record;
    record.path = Find(name);
    record.name = std::move(name);
    if (FileExists(WidePath(record.path))) {
        ReadFileVersion(record.path, record.version);
        record.isSystem = IsSystemFile(record.path) ? 1 : 0;
    }
    return record;
}

std::wstring DependencyWalker::Find(std::wstring_view name) const {
    const WidePath beside = InFolder(WidePath(image.Path()).Parent().Text(), name);
    if (FileExists(beside)) {
        return beside.ExtendedLengthForm();
    }
    std::vector<std::wstring_view> folders = {systemFolder, windowsFolder, currentFolder};
    folders.insert(folders.end(), pathFolders.begin(), pathFolders.end());
    for (const std::wstring_view folder : folders) {
        const WidePath candidate = InFolder(folder, name);
        if (FileExists(candidate)) {
            return candidate.Text();
        }
    }
    return {};
}

} // namespace keyreap
