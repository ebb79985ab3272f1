#include "tests/support/environmentchange.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace keyreap::testsupport {

EnvironmentChange::EnvironmentChange(const std::wstring& name, const std::wstring& value) : name(name) {
    const DWORD size = GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    existed = size != 0;
    former.resize(size);
    former.resize(GetEnvironmentVariableW(name.c_str(), former.data(), size));
    EXPECT_TRUE(SetEnvironmentVariableW(name.c_str(), value.c_str()));
}

EnvironmentChange::~EnvironmentChange() {
    SetEnvironmentVariableW(name.c_str(), existed ? former.c_str() : nullptr);
}

CurrentFolder::CurrentFolder(const std::wstring& folder) {
    former.resize(GetCurrentDirectoryW(0, nullptr));
    former.resize(GetCurrentDirectoryW(static_cast<DWORD>(former.size()), former.data()));
    EXPECT_TRUE(SetCurrentDirectoryW(folder.c_str()));
}

CurrentFolder::~CurrentFolder() {
    SetCurrentDirectoryW(former.c_str());
}

} // namespace keyreap::testsupport
