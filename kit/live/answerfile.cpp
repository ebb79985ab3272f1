#include "kit/live/answerfile.h"

#include "platform/os/file/temporaryfiles.h"

#include <filesystem>
#include <fstream>

namespace keyreap {

TemporaryFile::TemporaryFile() : path(CreateTempFileWithExtension(L"key", L"json").Text()) {}

TemporaryFile::~TemporaryFile() {
    DeleteFileW(path.c_str());
}

void TemporaryFile::Write(const std::string& text) const {
    std::ofstream(std::filesystem::path(path), std::ios::binary) << text;
}

OwnedFile TemporaryFile::OpenForPrograms() const {
    SECURITY_ATTRIBUTES inherited{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return OwnedFile(CreateFileW(path.c_str(), GENERIC_WRITE, sharing, &inherited, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::vector<std::string> TemporaryFile::Lines() const {
    std::vector<std::string> lines;
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    for (std::string line; std::getline(stream, line) && !stream.eof();) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace keyreap
