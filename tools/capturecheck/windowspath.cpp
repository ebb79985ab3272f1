#include "tools/capturecheck/windowspath.h"

#include "platform/core/text/compare.h"
#include "tools/capturecheck/names.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <vector>

namespace keyreap {
namespace {

bool IsLetter(char sign) {
    const wchar_t folded = FoldLetter(static_cast<unsigned char>(sign));
    return folded >= L'a' && folded <= L'z';
}

bool HasDrive(std::string_view path) {
    return path.size() >= 2 && IsLetter(path[0]) && path[1] == ':';
}

// Here `..` means the folder above the real folder, in Windows the folder above the written one. So the part
// up to the last `..` becomes the folder that it is here; the rest stays as written.
std::string WithoutParents(std::string path) {
    path += '/';
    const std::size_t last = path.rfind("/../");
    if (last != std::string::npos) {
        std::error_code failure;
        const auto front = std::filesystem::weakly_canonical(path.substr(0, last + 3), failure);
        path = (failure ? path.substr(0, last) : front.string()) + path.substr(last + 3);
    }
    return path;
}

std::vector<std::string_view> PartsOf(std::string_view path, std::string_view separators) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(separators), path.size());
        if (end > 0) {
            parts.push_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return parts;
}

// The prefixes after which a path means the same; the program itself removes one of the first kind.
std::string_view WithoutDevicePrefix(std::string_view path) {
    while (path.starts_with(R"(\\?\)") || path.starts_with(R"(\\.\)")) {
        path.remove_prefix(4);
    }
    return path;
}

// A device's name means the device in every folder and with any extension.
bool NamesDevice(std::string_view name) {
    constexpr std::array<std::string_view, 6> devices = {"con", "prn", "aux", "nul", "conin$", "conout$"};
    // Windows takes these superscript digits for digits.
    constexpr std::array<std::string_view, 3> superscriptDigits = {"\u00B9", "\u00B2", "\u00B3"};
    std::string_view stem = name.substr(0, name.find_first_of(".:"));
    stem = stem.substr(0, stem.find_last_not_of(' ') + 1);
    const std::string folded = FoldedBytes(std::string(stem));
    if (std::ranges::find(devices, folded) != devices.end()) {
        return true;
    }
    if (!folded.starts_with("com") && !folded.starts_with("lpt")) {
        return false;
    }
    const std::string digit = folded.substr(3);
    return (digit.size() == 1 && digit[0] >= '1' && digit[0] <= '9') ||
           std::ranges::find(superscriptDigits, digit) != superscriptDigits.end();
}

bool IsForbidden(char sign) {
    return static_cast<unsigned char>(sign) < ' ' ||
           std::string_view(R"("<>|*?:)").find(sign) != std::string_view::npos;
}

std::string PartFault(std::string_view part, bool isLast) {
    if (part.find('"') != std::string_view::npos) {
        return "has a double quote in its path, which no Windows path can have";
    }
    if (std::ranges::any_of(part, IsForbidden)) {
        return "has a character in its path that no Windows path can have";
    }
    if (isLast && NamesDevice(part)) {
        return "is the name of a device for Windows, with any ending";
    }
    if (part == "." || part == "..") {
        return "";
    }
    if (part.ends_with('.') || (isLast && part.ends_with(' '))) {
        return std::string(part.ends_with('.') ? "has a dot" : "has a blank") +
               " at the end of a name, which Windows leaves out";
    }
    return "";
}

} // namespace

bool IsWindowsPath(std::string_view word) {
    return HasDrive(word) || word.starts_with(R"(\\)");
}

bool IsRelative(std::string_view word) {
    const std::string_view path = word.substr(HasDrive(word) ? 2 : 0);
    return !word.empty() && !path.starts_with('/') && !path.starts_with('\\');
}

std::string WindowsPath(std::string_view word, std::string_view currentFolder) {
    if (word.empty() || IsWindowsPath(word)) {
        return std::string(word);
    }
    // No Windows file name contains a backslash, so it can only be meant as a separator.
    std::string path(word);
    std::ranges::replace(path, '\\', '/');
    if (!path.starts_with('/')) {
        path = std::string(currentFolder) + '/' + path;
    }
    std::string windows = "Z:";
    const std::string whole = WithoutParents(std::move(path));
    for (const std::string_view part : PartsOf(whole, "/")) {
        windows.append("\\").append(part);
    }
    return windows.size() == 2 ? windows + '\\' : windows;
}

std::optional<std::string> HostPath(std::string_view windowsPath, std::string_view currentFolder) {
    std::string_view path = WithoutDevicePrefix(windowsPath);
    std::string whole;
    if (HasDrive(path)) {
        if (path[0] != 'Z' && path[0] != 'z') {
            return std::nullopt;
        }
        path.remove_prefix(2);
        whole = path.starts_with('\\') || path.starts_with('/') ? "" : currentFolder;
    } else if (path.empty() || path.starts_with(R"(\\)")) {
        return std::nullopt;
    } else {
        whole = currentFolder;
    }
    whole.append("/").append(path);
    std::vector<std::string_view> parts;
    for (const std::string_view part : PartsOf(whole, "\\/")) {
        if (part != "." && part != "..") {
            parts.push_back(part);
        } else if (part == ".." && !parts.empty()) {
            parts.pop_back();
        }
    }
    std::string host;
    for (const std::string_view part : parts) {
        host.append("/").append(part);
    }
    return host.empty() ? "/" : host;
}

std::string NameFault(std::string_view windowsPath) {
    if (!CodePoints(windowsPath)) {
        return "has bytes in its path that are no UTF-8, so Windows has no name for it";
    }
    std::string_view path = WithoutDevicePrefix(windowsPath);
    if (path.size() < windowsPath.size() && !HasDrive(path)) {
        return "names no file of a drive after its first four characters";
    }
    path.remove_prefix(HasDrive(path) ? 2 : 0);
    const std::vector<std::string_view> parts = PartsOf(path, "\\/");
    for (const std::string_view& part : parts) {
        std::string fault = PartFault(part, &part == &parts.back());
        if (!fault.empty()) {
            return fault;
        }
    }
    return "";
}

} // namespace keyreap
