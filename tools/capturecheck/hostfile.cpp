#include "tools/capturecheck/hostfile.h"

#include "tools/capturecheck/names.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace fs = std::filesystem;

namespace keyreap {
namespace {

std::optional<struct stat> StatusOf(const std::string& path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

// False also for a path that can't be examined, such as a link to itself.
bool IsFolderThere(const std::string& path) {
    const std::optional<struct stat> status = StatusOf(path);
    return status && S_ISDIR(status->st_mode);
}

bool IsLinkOrThere(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

// The entry of a folder whose name differs from the given one at most by case; empty if there is none.
std::string EntryLike(const std::string& folder, std::string_view name) {
    const std::string folded = FoldedName(name);
    std::error_code failure;
    for (fs::directory_iterator entry(folder.empty() ? "/" : folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string other = entry->path().filename().string();
        if (FoldedName(other) == folded) {
            return other;
        }
    }
    return "";
}

// /dev/fd, the folders of descriptors below /proc, and the folders that differ for each process.
bool IsDescriptorFolder(std::string_view path) {
    return path == "/dev/fd" || path == "/proc/self" || path == "/proc/thread-self" ||
           (path.starts_with("/proc/") && path.ends_with("/fd"));
}

std::string FolderOf(const std::string& path) {
    const std::size_t end = path.rfind('/');
    return end == 0 ? "/" : path.substr(0, end);
}

} // namespace

HostFile::HostFile(std::string_view path) {
    Find(path);
    target = EndOfLinks(found);
    status = StatusOf(found);
}

void HostFile::Find(std::string_view path) {
    while (path.size() > 1) {
        const std::size_t end = std::min(path.find('/', 1), path.size());
        const std::string_view part = path.substr(1, end - 1);
        path.remove_prefix(end);
        isDescriptor = isDescriptor || IsDescriptorFolder(found);
        const std::string folder = found;
        found.append("/").append(part);
        if (missingFolder.empty() && !IsLinkOrThere(found)) {
            const std::string other = EntryLike(folder, part);
            if (!other.empty()) {
                found = folder + '/' + other;
                isRespelled = true;
                isNameRespelled = path.empty();
            }
        }
        std::error_code failure;
        if (!path.empty() && fs::is_symlink(found, failure)) {
            EndOfLinks(found);
        }
        if (!path.empty() && missingFolder.empty() && !IsFolderThere(found)) {
            missingFolder = found;
        }
    }
    found = found.empty() ? "/" : found;
}

std::string HostFile::EndOfLinks(std::string path) {
    constexpr int mostLinks = 40;
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code failure;
        const fs::path folder = fs::weakly_canonical(FolderOf(path), failure);
        isDescriptor =
            isDescriptor || IsDescriptorFolder(FolderOf(path)) || IsDescriptorFolder(folder.string());
        const fs::path next = fs::read_symlink(path, failure);
        if (failure) {
            return path;
        }
        path = (folder / next).lexically_normal().string();
    }
    return path;
}

std::string HostFile::Folder() const {
    return FolderOf(found);
}

std::string HostFile::Name() const {
    return found.substr(found.rfind('/') + 1);
}

std::optional<FileIdentity> HostFile::Identity() const {
    if (status) {
        return FileIdentity{status->st_dev, status->st_ino, ""};
    }
    const std::optional<struct stat> folder = StatusOf(FolderOf(target));
    if (!folder) {
        return std::nullopt;
    }
    return FileIdentity{folder->st_dev, folder->st_ino, FoldedName(target.substr(target.rfind('/') + 1))};
}

std::string FileStamp(const std::string& path) {
    const std::optional<struct stat> status = StatusOf(path);
    if (!status) {
        return "-";
    }
    std::ostringstream stamp;
    stamp << status->st_dev << ':' << status->st_ino << ':' << status->st_size;
    for (const timespec& time : {status->st_mtim, status->st_ctim}) {
        stamp << ':' << time.tv_sec << '.' << time.tv_nsec;
    }
    return stamp.str();
}

bool IsEmptyFile(const std::string& path) {
    const std::optional<struct stat> status = StatusOf(path);
    return status && S_ISREG(status->st_mode) && status->st_size == 0;
}

} // namespace keyreap
