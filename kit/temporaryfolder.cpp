#include "kit/temporaryfolder.h"

#include "kit/hostfiles.h"
#include "kit/refusal.h"

#include <filesystem>
#include <random>
#include <system_error>

namespace keyreap {

namespace {

std::filesystem::path PathOf(const std::string& name) {
    return {std::u8string(name.begin(), name.end())};
}

std::string TextOf(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
    std::random_device random;
    constexpr int mostTries = 100;
    for (int i = 0; i < mostTries && !error; ++i) {
        const std::filesystem::path path = parent / ("keykit-" + std::to_string(random()));
        if (std::filesystem::create_directory(path, error)) {
            folder = TextOf(path);
            return;
        }
    }
    throw Refusal("a temporary folder can't be made in " + TextOf(parent));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(PathOf(folder), ignored);
}

std::string TemporaryFolder::FileNamed(const std::string& name) const {
    return TextOf(PathOf(folder) / PathOf(name));
}

} // namespace keyreap
