#include "tests/unit/box/foldertest.h"

#include <fstream>
#include <random>

namespace keyreap {

namespace fs = std::filesystem;

FolderTest::FolderTest()
    : folder(fs::canonical(fs::temp_directory_path()) /
             ("boxtest." + std::to_string(std::random_device()()))) {
    fs::create_directories(folder);
}

FolderTest::~FolderTest() {
    fs::remove_all(folder);
}

void FolderTest::MakeFolder(const std::string& name) const {
    fs::create_directories(folder / name);
}

void FolderTest::MakeFile(const std::string& name, const std::string& text) const {
    fs::create_directories((folder / name).parent_path());
    std::ofstream(folder / name, std::ios::binary) << text;
}

void FolderTest::MakeLink(const std::string& name, const std::string& target) const {
    fs::create_directories((folder / name).parent_path());
    fs::create_symlink(target, folder / name);
}

} // namespace keyreap
