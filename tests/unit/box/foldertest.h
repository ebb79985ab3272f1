#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace keyreap {

// A folder of its own for each test, under its real path.
class FolderTest : public testing::Test {
protected:
    FolderTest();
    ~FolderTest() override;

    std::string Path(const std::string& name) const { return (folder / name).string(); }
    void MakeFolder(const std::string& name) const;
    void MakeFile(const std::string& name, const std::string& text = "") const;
    void MakeLink(const std::string& name, const std::string& target) const;

    std::filesystem::path folder;
};

} // namespace keyreap
