#include "kit/serverfile.h"

#include "kit/hostfiles.h"
#include "platform/core/text/utf8.h"

#include <span>
#include <string_view>

namespace keyreap {

namespace {

struct ServerWord {
    std::string file;
    std::string captured;
};

// A file's name may contain an equals sign too.
ServerWord PartsOf(const std::string& word) {
    const std::size_t sign = word.rfind('=');
    const bool hasPath = sign != std::string::npos && IsWindowsPath(std::string_view(word).substr(sign + 1));
    return hasPath ? ServerWord{word.substr(0, sign), word.substr(sign + 1)} : ServerWord{word, word};
}

bool IsTypeLibrary(std::span<const std::byte> bytes) {
    constexpr std::string_view magic = "MSFT";
    return bytes.size() > magic.size() && CheckedView(bytes).Holds(bytes.data(), magic.size()) &&
           std::string_view(reinterpret_cast<const char*>(bytes.data()), magic.size()) == magic;
}

} // namespace

std::variant<ServerFile, std::string> ReadServer(const std::string& word) {
    const ServerWord parts = PartsOf(word);
    const auto content = ReadWholeFile(parts.file);
    if (!content) {
        return parts.file + ": the server's file can't be read";
    }
    const auto bytes = std::as_bytes(std::span(*content));
    const ImageHeaders headers(bytes);
    if (!headers.AreThere() && !IsTypeLibrary(bytes)) {
        return parts.file + ": it is neither a PE image nor a type library";
    }
    const std::optional<std::wstring> fileName = UnitsOfUtf8(FileNameOf(parts.file));
    const std::wstring captured = WindowsPathOf(parts.captured);
    if (!fileName || captured.empty()) {
        return parts.file + ": its name isn't UTF-8";
    }
    ServerFile file;
    file.server = {*fileName, {}, captured, headers.TypeLibraries()};
    file.bitness = BitnessOf(headers);
    if (headers.AreThere() && !file.bitness) {
        return parts.file + ": it is for another machine than x86 and x64";
    }
    return file;
}

std::optional<int> BitnessOf(const ImageHeaders& headers) {
    switch (headers.Machine()) {
    case machineX64:
        return 64;
    case machineX86:
        return 32;
    default:
        return std::nullopt;
    }
}

std::string ServerFileName(const std::string& word) {
    return PartsOf(word).file;
}

} // namespace keyreap
