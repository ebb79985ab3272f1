#include "tests/unit/regmodel/goldenfiles.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace keyreap::testsupport {

std::filesystem::path GoldenFile(std::string_view name) {
    return std::filesystem::path(KEYREAP_GOLDEN_FILES) / name;
}

std::vector<std::filesystem::path> GoldenFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(KEYREAP_GOLDEN_FILES)) {
        if (entry.path().extension() == ".reg") {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    return files;
}

std::vector<std::uint8_t> ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

} // namespace keyreap::testsupport
