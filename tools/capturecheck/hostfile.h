#pragma once

#include <sys/stat.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// Identifies a file under any of its names. A file that doesn't exist yet is identified by its folder and its
// name as Windows compares it.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    std::string foldedName;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// The file that Windows finds under a path of this machine: the file with exactly that name, or else one
// whose name differs only by case.
class HostFile {
public:
    // `path` is absolute and has neither "." nor "..".
    explicit HostFile(std::string_view path);

    // The path as this machine spells it, as far as it exists.
    const std::string& Path() const { return found; }
    std::string Folder() const;
    std::string Name() const;

    bool IsThere() const { return status.has_value(); }
    bool IsFolder() const { return status && S_ISDIR(status->st_mode); }
    bool IsOrdinary() const { return status && S_ISREG(status->st_mode); }
    // Only for a file that exists.
    const struct stat& Status() const { return *status; }

    // True if its folder exists.
    bool HasFolder() const { return missingFolder.empty(); }
    // The first folder of the path that doesn't exist or isn't a folder.
    const std::string& MissingFolder() const { return missingFolder; }

    // True if a part of the path, or its last part, exists only under another spelling.
    bool IsRespelled() const { return isRespelled; }
    bool IsNameRespelled() const { return isNameRespelled; }

    // True if the path leads through a descriptor of a process, such as /dev/stdout or /proc/self/fd/1, or
    // through another place that differs for each process, such as /proc/self/cwd.
    bool IsDescriptor() const { return isDescriptor; }

    // No result if its folder doesn't exist.
    std::optional<FileIdentity> Identity() const;

private:
    void Find(std::string_view path);
    // Also notices whether the way there leads through a descriptor.
    std::string EndOfLinks(std::string path);

    std::string found;
    std::string target; // where the links end
    std::string missingFolder;
    std::optional<struct stat> status;
    bool isRespelled = false;
    bool isNameRespelled = false;
    bool isDescriptor = false;
};

// The identity, size and times of a file, as a word to keep and compare later; "-" if it doesn't exist.
std::string FileStamp(const std::string& path);

bool IsEmptyFile(const std::string& path);

} // namespace keyreap
