#include "platform/os/entrypoint.h"
#include "platform/os/ownedhandle.h"
#include "platform/os/ownedinterface.h"
#include "tests/support/openhandles.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// A closed handle gives an error.
bool IsOpen(HANDLE handle) {
    DWORD flags = 0;
    return GetHandleInformation(handle, &flags) != FALSE;
}

bool IsOpen(HKEY key) {
    DWORD subkeys = 0;
    return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr,
                            nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

OwnedFile OpenOwnProgram() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return OwnedFile(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
}

TEST(OwnedHandle, ClosesAnEvent) {
    OwnedHandle event(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const HANDLE raw = event.Get();
    ASSERT_TRUE(event.Valid());
    EXPECT_TRUE(IsOpen(raw));
    event.Reset();
    EXPECT_FALSE(IsOpen(raw));
    EXPECT_EQ(event.Get(), nullptr);
}

TEST(OwnedFile, ClosesAFile) {
    OwnedFile file = OpenOwnProgram();
    const HANDLE raw = file.Get();
    ASSERT_TRUE(file.Valid());
    file.Reset();
    EXPECT_FALSE(IsOpen(raw));
}

TEST(OwnedFile, NeitherNullNorInvalidHandleValueIsAFile) {
    EXPECT_EQ(OwnedFile().Get(), INVALID_HANDLE_VALUE);
    EXPECT_FALSE(OwnedFile().Valid());
    EXPECT_FALSE(OwnedFile(nullptr).Valid());
}

// The system may end a program that uses a closed search.
TEST(OwnedFindHandle, ClosesASearch) {
    const int before = testsupport::CountOpenHandles();
    WIN32_FIND_DATAW entry = {};
    OwnedFindHandle search(FindFirstFileW(L"C:\\*", &entry));
    ASSERT_TRUE(search.Valid());
    EXPECT_EQ(testsupport::CountOpenHandles(), before + 1);
    search.Reset();
    EXPECT_EQ(testsupport::CountOpenHandles(), before);
    EXPECT_EQ(search.Get(), INVALID_HANDLE_VALUE);
}

TEST(OwnedMappedView, UnmapsAView) {
    const OwnedFile file = OpenOwnProgram();
    const OwnedHandle mapping(CreateFileMappingW(file.Get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    OwnedMappedView view(MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, 0));
    const void* raw = view.Get();
    ASSERT_TRUE(view.Valid());
    view.Reset();
    MEMORY_BASIC_INFORMATION memory = {};
    VirtualQuery(raw, &memory, sizeof(memory));
    EXPECT_EQ(memory.State, static_cast<DWORD>(MEM_FREE));
}

TEST(OwnedModule, FreesAModule) {
    constexpr wchar_t name[] = L"mscms.dll";
    ASSERT_EQ(GetModuleHandleW(name), nullptr) << "the test needs a module that nobody has loaded";
    OwnedModule module(LoadLibraryW(name));
    ASSERT_TRUE(module.Valid());
    module.Reset();
    EXPECT_EQ(GetModuleHandleW(name), nullptr);
}

TEST(OwnedRegistryKey, ClosesAKey) {
    HKEY raw = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &raw), ERROR_SUCCESS);
    OwnedRegistryKey key(raw);
    EXPECT_TRUE(IsOpen(raw));
    key.Reset();
    EXPECT_FALSE(IsOpen(raw));
    EXPECT_FALSE(key.Valid());
}

struct CountedObject {
    void Release() { ++releases; }
    int releases = 0;
};

TEST(OwnedInterface, ReleasesItsOneReference) {
    CountedObject object;
    static_cast<void>(OwnedInterface<CountedObject>(&object));
    EXPECT_EQ(object.releases, 1);
}

TEST(FindEntryPoint, FindsAnExportAndGivesNullForAMissingOneOrNoModule) {
    using ProcessId = DWORD(WINAPI*)();
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    const auto processId = FindEntryPoint<ProcessId>(kernel, "GetCurrentProcessId");
    ASSERT_NE(processId, nullptr);
    EXPECT_EQ(processId(), GetCurrentProcessId());
    EXPECT_EQ(FindEntryPoint<ProcessId>(kernel, "NoSuchEntryPoint"), nullptr);
    EXPECT_EQ(FindEntryPoint<ProcessId>(nullptr, "GetCurrentProcessId"), nullptr);
}

} // namespace
} // namespace keyreap
