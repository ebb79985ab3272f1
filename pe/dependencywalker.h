#pragma once

#include "pe/peimage.h"
#include "pe/sha1.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// A DLL that a file depends on.
struct DependencyRecord {
    std::wstring name;          // as in the import table, each byte widened
    std::wstring version;       // of the file found, such as "1.2.3.4"; empty if it has none
    std::wstring path;          // where the DLL was found; empty if it wasn't
    std::uint32_t isSystem = 0; // 1 if the file's company name is "Microsoft Corporation", in any case
};

// In the order of first discovery; shared by a whole recursion.
using DependencyList = std::vector<DependencyRecord>;

// Queries on a file that may be a PE file.
class IPeFile {
public:
    virtual bool IsPeFile() = 0;

    // Appends all files reachable from this one whose names the list doesn't contain, depth first. Returns 0,
    // 3 (ERROR_PATH_NOT_FOUND) if a known folder can't be looked up, or the system's error code if the
    // current directory or PATH can't be read; nothing is collected then.
    virtual std::uint32_t CollectDependencies(DependencyList& list) = 0;

    // The SHA-1 of the whole file. False, with the digest unchanged, if the file could not be mapped. Of a
    // file of 4 GiB or more, only as many bytes are hashed as the low 32 bits of its size say.
    virtual bool ComputeSha1(Sha1Digest& digest) = 0;

protected:
    ~IPeFile() = default;
};

// One file and the DLLs that it depends on, linked or delay-loaded. Files of the system's maker and missing
// files are listed but not entered. No run of the program walks dependencies; this is for hosts of the
// library.
class DependencyWalker final : public IPeFile {
public:
    // Takes a path in any form and opens the file in its extended-length form.
    explicit DependencyWalker(std::wstring_view path);

    bool IsPeFile() override { return image.IsPeFile(); }
    std::uint32_t CollectDependencies(DependencyList& list) override;
    bool ComputeSha1(Sha1Digest& digest) override;

private:
    std::uint32_t PrepareSearch();
    std::uint32_t ReadFolders();
    std::uint32_t ReadPathFolders();

    void AddNames(const std::vector<std::string_view>& names, DependencyList& list) const;
    std::wstring Find(std::wstring_view name) const;
    DependencyRecord MakeRecord(std::wstring name) const;

    PeImage image;
    std::wstring systemFolder;
    std::wstring windowsFolder;
    std::wstring currentFolder;
    std::vector<std::wstring> pathFolders;
};

} // namespace keyreap
