#include "tools/capturecheck/reasons.h"

#include "tools/capturecheck/mappedfile.h"
#include "tools/capturecheck/names.h"
#include "tools/capturecheck/regcontents.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

namespace keyreap {
namespace {

std::string DidYouMean(const std::string& path) {
    const std::size_t end = path.rfind('/');
    const std::string folder = end == 0 ? "/" : path.substr(0, end);
    const std::string like = NearMiss(folder, path.substr(end + 1));
    return like.empty() ? "" : "; did you mean " + PrintableName(like) + "?";
}

std::string MissingFolderText(const HostFile& file) {
    const std::string& folder = file.MissingFolder();
    struct stat status = {};
    if (lstat(folder.c_str(), &status) == 0) {
        return PrintableName(folder) + " is no folder";
    }
    return "there is no folder " + PrintableName(folder) + DidYouMean(folder);
}

std::string ImageReason(const InputFacts& facts) {
    if (!facts.IsForThisHost()) {
        return "it is for " + MachineName(facts.machine) + ", and this host runs x64 and x86 alone";
    }
    if (facts.isDll && !facts.exportsRegistration) {
        return "it exports no DllRegisterServer, and is no program";
    }
    return "";
}

// Why no file can be made under the path, whatever its folder allows; empty if there is no reason.
std::string PathReason(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        return "";
    }
    return errno == ENAMETOOLONG ? "its name is too long"
           : errno == ELOOP      ? "its links lead in a circle"
                                 : "";
}

// For a path that leads to no file of this machine.
std::string DriveReason(const std::string& windowsPath) {
    const bool hasDrive = windowsPath.size() > 1 && windowsPath[1] == ':';
    const bool isShare = windowsPath.starts_with(R"(\\)") && !windowsPath.starts_with(R"(\\.\)") &&
                         !windowsPath.starts_with(R"(\\?\)");
    constexpr std::string_view drivesOfRun = " in a run, only C: of its own and Z: for this machine";
    if (isShare) {
        return std::string("there is no share").append(drivesOfRun);
    }
    if (!hasDrive || windowsPath[0] == 'C' || windowsPath[0] == 'c') {
        return "";
    }
    return std::string("there is no drive ").append(1, windowsPath[0]).append(":").append(drivesOfRun);
}

std::string InputReason(const PairFiles& pair) {
    if (pair.input.word.empty()) {
        return "an empty word names no file";
    }
    if (!pair.input.host) {
        return DriveReason(pair.input.windowsPath);
    }
    const HostFile& file = *pair.input.host;
    switch (pair.facts.kind) {
    case InputKind::missing:
        return file.HasFolder() ? "there is no such file" + DidYouMean(file.Path()) : MissingFolderText(file);
    case InputKind::folder:
        return "it is a folder";
    case InputKind::unreadable:
        return "it can't be read";
    case InputKind::image:
        return ImageReason(pair.facts);
    case InputKind::other:
        // The system's command interpreter may have run it.
        return NameEndsWith(file.Name(), ".bat") || NameEndsWith(file.Name(), ".cmd")
                   ? ""
                   : "it is neither a PE image nor a type library";
    default:
        return "";
    }
}

bool IsFull(const std::string& folder) {
    struct statvfs status = {};
    return statvfs(folder.c_str(), &status) == 0 && status.f_blocks != 0 && status.f_bavail == 0;
}

bool IsCutOff(const HostFile& file) {
    if (!file.IsOrdinary()) {
        return false;
    }
    const MappedFile mapped(file.Path());
    return mapped.IsOpen() && !ContentsOfBytes(mapped.Bytes()).isWhole;
}

std::string OutputReason(const NamedFile& output) {
    const std::string name = PrintableName(output.word);
    if (output.word.empty()) {
        return "an empty word names no file to write";
    }
    if (!output.host) {
        const std::string reason = DriveReason(output.windowsPath);
        return reason.empty() ? "" : name + " can't be written: " + reason;
    }
    const HostFile& file = *output.host;
    if (!file.HasFolder()) {
        return name + " can't be written: " + MissingFolderText(file);
    }
    if (file.IsFolder()) {
        return name + " can't be written: it is a folder";
    }
    if (std::string reason = PathReason(file.Path()); !reason.empty()) {
        return name + " can't be written: " + reason;
    }
    if (access(file.IsThere() ? file.Path().c_str() : file.Folder().c_str(), W_OK) != 0) {
        return name + " can't be written: " +
               (file.IsThere() ? "it is write-protected"
                               : "its folder " + PrintableName(file.Folder()) + " is write-protected");
    }
    if (IsFull(file.Folder())) {
        return name + " can't be written: no space is left in " + PrintableName(file.Folder());
    }
    return "";
}

// A general reason, as far as it is in the input.
std::string GeneralInputReason(const PairFiles& pair) {
    if (!pair.input.host) {
        return "it is not on the run's own drive, or could not be registered";
    }
    switch (pair.facts.kind) {
    case InputKind::typeLibrary:
        return "the type library could not be registered";
    case InputKind::image:
        return pair.facts.exportsRegistration
                   ? "it could not be loaded, or the type library in it could not be registered"
                   : "it could not be started, or the type library in it could not be registered";
    default:
        return "it could not be registered";
    }
}

} // namespace

std::string ReasonInFiles(const PairFiles& pair) {
    std::string reason = InputReason(pair);
    return reason.empty() ? OutputReason(pair.output) : reason;
}

std::string GeneralReason(const PairFiles& pair) {
    if (pair.output.host && IsCutOff(*pair.output.host)) {
        return PrintableName(pair.output.word) + " could not be written to its end";
    }
    std::string reason = GeneralInputReason(pair);
    if (!pair.output.host) {
        reason += ", or " + PrintableName(pair.output.word) + " could not be written";
    }
    return reason;
}

std::string NearMiss(const std::string& folder, std::string_view name) {
    // One letter in four, and at most three.
    const std::size_t limit = std::clamp<std::size_t>(name.size() / 4, 1, 3);
    std::string best;
    std::size_t bestDistance = limit + 1;
    const std::string stem = fs::path(name).stem().string();
    std::error_code failure;
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string other = entry->path().filename().string();
        const bool isSameStem = FoldedName(entry->path().stem().string()) == FoldedName(stem);
        const std::size_t distance =
            isSameStem ? std::min(limit, NameDistance(name, other)) : NameDistance(name, other);
        if (distance < bestDistance || (distance == bestDistance && other < best)) {
            best = other;
            bestDistance = distance;
        }
    }
    return best;
}

} // namespace keyreap
