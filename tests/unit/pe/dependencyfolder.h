#pragma once

#include "pe/dependencywalker.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/versionresource.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace keyreap::testsupport {

using Names = std::vector<std::string>;

inline std::wstring SystemFolder() {
    wchar_t folder[MAX_PATH];
    GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

inline std::wstring WindowsFolder() {
    wchar_t folder[MAX_PATH];
    GetWindowsDirectoryW(folder, MAX_PATH);
    return folder;
}

inline bool IsSamePath(const std::wstring& left, const std::wstring& right) {
    return lstrcmpiW(left.c_str(), right.c_str()) == 0;
}

// Walks over files in a temporary folder.
class DependencyFolderTest : public testing::Test {
protected:
    // A file with imports and delay imports, of no company.
    std::wstring Make(std::wstring_view name, Names imports, Names delayImports = {}) const {
        return folder.MakeFile(
            name,
            ImageBuilder().Imports(std::move(imports)).DelayImports(std::move(delayImports)).Build().bytes);
    }

    std::wstring MakeOf(std::u16string company, std::wstring_view name, Names imports) const {
        return folder.MakeFile(name, ImageBuilder()
                                         .Imports(std::move(imports))
                                         .Version(VersionResource::Of(std::move(company)))
                                         .Build()
                                         .bytes);
    }

    DependencyList Walk(const std::wstring& path) const {
        DependencyList list;
        EXPECT_EQ(DependencyWalker(path).CollectDependencies(list), 0U);
        return list;
    }

    std::vector<std::wstring> WalkNames(const std::wstring& path) const {
        std::vector<std::wstring> names;
        for (const DependencyRecord& record : Walk(path)) {
            names.push_back(record.name);
        }
        return names;
    }

    // The place where a file in the folder finds a name.
    std::wstring Found(const char* name, ImageBits bits = ImageBits::bits64) const {
        const std::string bytes = ImageBuilder(bits).Imports({name}).Build().bytes;
        return Walk(folder.MakeFile(L"asking.dll", bytes)).at(0).path;
    }

    TemporaryFolder folder;
};

} // namespace keyreap::testsupport
