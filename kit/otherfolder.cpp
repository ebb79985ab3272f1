#include "kit/otherfolder.h"

#include "kit/hostfiles.h"
#include "kit/refusal.h"

#include <filesystem>
#include <system_error>

namespace keyreap {

namespace {

std::filesystem::path PathOf(const std::string& name) {
    return {std::u8string(name.begin(), name.end())};
}

// Links cost nothing, however large the files are. A file that can't be linked is missing, as in an
// installation.
void LinkNeighbours(const std::filesystem::path& file, const std::filesystem::path& folder) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(file.parent_path(), error)) {
        std::error_code ignored;
        if (entry.path().filename() != file.filename()) {
            std::filesystem::create_symlink(entry.path(), folder / entry.path().filename(), ignored);
        }
    }
}

} // namespace

OtherFolder::OtherFolder(const std::string& file) : copy(folder.FileNamed(FileNameOf(file))) {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::absolute(PathOf(file), error);
    if (!std::filesystem::copy_file(path, PathOf(copy), error)) {
        throw Refusal(copy + ": it can't be written");
    }
    LinkNeighbours(path, PathOf(copy).parent_path());
}

} // namespace keyreap
