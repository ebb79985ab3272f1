#include "kit/hostfiles.h"

#include "platform/core/text/utf8.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace keyreap {

namespace {

std::filesystem::path PathOf(const std::string& name) {
    return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

std::string BytesOf(const std::u8string& text) {
    return {text.begin(), text.end()};
}

bool IsLetter(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

} // namespace

bool IsThere(const std::string& name) {
    std::error_code error;
    return std::filesystem::status(PathOf(name), error).type() != std::filesystem::file_type::not_found;
}

std::optional<std::vector<std::uint8_t>> ReadWholeFile(const std::string& name) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(PathOf(name), error)) {
        return std::nullopt;
    }
    std::ifstream stream(PathOf(name), std::ios::binary | std::ios::ate);
    const std::streamoff size = stream.tellg();
    if (!stream || size < 0) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    stream.seekg(0);
    stream.read(reinterpret_cast<char*>(bytes.data()), size);
    return stream ? std::optional(std::move(bytes)) : std::nullopt;
}

bool WriteWholeFile(const std::string& name, std::string_view bytes) {
    std::ofstream stream(PathOf(name), std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    return !stream.fail();
}

std::string FileNameOf(const std::string& name) {
    return BytesOf(PathOf(name).filename().u8string());
}

std::string FullName(const std::string& name) {
    std::error_code error;
    return BytesOf(std::filesystem::absolute(PathOf(name), error).lexically_normal().u8string());
}

std::wstring WindowsPathOf(const std::string& name) {
    std::string path = name;
    if (!IsWindowsPath(name)) {
        path = FullName(name);
        path.insert(0, IsWindowsPath(path) ? "" : "Z:");
    }
    std::ranges::replace(path, '/', '\\');
    while (path.size() > std::string_view("Z:").size() && path.ends_with('\\')) {
        path.pop_back();
    }
    return UnitsOfUtf8(path).value_or(std::wstring());
}

bool IsWindowsPath(std::string_view name) {
    return name.starts_with("\\\\") ||
           (name.size() > 2 && IsLetter(name[0]) && name[1] == ':' && (name[2] == '\\' || name[2] == '/'));
}

} // namespace keyreap
