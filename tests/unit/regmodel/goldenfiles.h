#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

// The golden files of the whole program, where they are in the source tree.
namespace keyreap::testsupport {

inline std::filesystem::path GoldenFile(const char* name) {
    return std::filesystem::path(KEYREAP_GOLDEN_FILES) / name;
}

inline std::vector<std::filesystem::path> GoldenFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(KEYREAP_GOLDEN_FILES)) {
        if (entry.path().extension() == ".reg") {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    return files;
}

inline std::vector<std::uint8_t> ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(stream),
                                     std::istreambuf_iterator<char>());
}

} // namespace keyreap::testsupport
