#include "tests/unit/regmodel/goldenfiles.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace keyreap::testsupport {

namespace {

std::filesystem::path GoldenFolder() {
#ifdef _WIN32
    // A program for Windows also runs elsewhere than where it was built.
    const wchar_t* folder = _wgetenv(L"KEYREAP_GOLDEN");
    return folder != nullptr ? folder : L"";
#else
    return KEYREAP_GOLDEN_FILES;
#endif
}

} // namespace

std::filesystem::path GoldenFile(std::string_view name) {
    return GoldenFolder() / name;
}

std::vector<std::filesystem::path> GoldenFiles() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(GoldenFolder())) {
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
