#pragma once

#include <sys/stat.h>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// Which file it is, whatever it is called. Of one that isn't there yet: its folder and its name as Windows
// compares it.
struct FileIdentity {
    dev_t device = 0;
    ino_t number = 0;
    std::string foldedName;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// The file that Windows finds under a path of this machine: the one of that very name, else one whose name
// differs in case alone.
class HostFile {
public:
    // `path` is whole and has neither "." nor "..".
    explicit HostFile(std::string_view path);

    // As this machine spells it, as far as it is there.
    const std::string& Path() const { return found; }
    std::string Folder() const;
    std::string Name() const;

    bool IsThere() const { return status.has_value(); }
    bool IsFolder() const { return status && S_ISDIR(status->st_mode); }
    bool IsOrdinary() const { return status && S_ISREG(status->st_mode); }
    // Only of a file that is there.
    const struct stat& Status() const { return *status; }

    // Its folder is there.
    bool HasFolder() const { return missingFolder.empty(); }
    // The first folder of the path that isn't there, or that is none.
    const std::string& MissingFolder() const { return missingFolder; }

    // A part of the path, or its last one, is there under another spelling alone.
    bool IsRespelled() const { return isRespelled; }
    bool IsNameRespelled() const { return isNameRespelled; }

    // The path leads through a descriptor of a process, such as /dev/stdout or /proc/self/fd/1, or through
    // what else is another place for each process, such as /proc/self/cwd.
    bool IsDescriptor() const { return isDescriptor; }

    // None if its folder isn't there.
    std::optional<FileIdentity> Identity() const;

private:
    void Find(std::string_view path);
    // Also sees whether the way there leads through a descriptor.
    std::string EndOfLinks(std::string path);

    std::string found;
    std::string target; // where the links end
    std::string missingFolder;
    std::optional<struct stat> status;
    bool isRespelled = false;
    bool isNameRespelled = false;
    bool isDescriptor = false;
};

// When and by what a file was last written, as a word to be kept and compared later; "-" if it isn't there.
std::string FileStamp(const std::string& path);

} // namespace keyreap
