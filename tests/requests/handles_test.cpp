#include "etl/registryevent.h"
#include "tests/requests/childmodes.h"
#include "tests/requests/loggertest.h"
#include "tests/unit/hostlogger/nativekeys.h"

#include <winternl.h>

#include <gtest/gtest.h>

extern "C" NTSTATUS NTAPI NtRenameKey(HANDLE key, UNICODE_STRING* name);

namespace keyreap {
namespace {

// In which key a value was set, whatever the history of the handle.
class Handles : public LoggerTest {
protected:
    Handles() {
        scratch.Make(L"A");
        scratch.Make(L"B");
    }

    OwnedRegistryKey Open(const wchar_t* subkey) const {
        HKEY key = nullptr;
        EXPECT_EQ(RegOpenKeyExW(scratch.Handle(), subkey, 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
        return OwnedRegistryKey(key);
    }

    static std::wstring Number(HKEY key) { return std::to_wstring(reinterpret_cast<ULONG_PTR>(key)); }

    static OwnedRegistryKey Copy(HKEY key, BOOL inherited = FALSE) {
        HANDLE copy = nullptr;
        EXPECT_TRUE(DuplicateHandle(GetCurrentProcess(), key, GetCurrentProcess(), &copy, 0, inherited,
                                    DUPLICATE_SAME_ACCESS));
        return OwnedRegistryKey(static_cast<HKEY>(copy));
    }

    // The key of the one event that sets the value, relative to the scratch key.
    std::wstring KeyOf(const RecordedLog& log, const std::wstring& value) const {
        const std::wstring top = currentUser + testsupport::ScratchKey::path + L'\\';
        const auto events = log.Setting(value);
        EXPECT_EQ(events.size(), 1U) << value;
        const std::wstring path = events.empty() ? std::wstring() : events[0].path;
        return path.starts_with(top) ? path.substr(top.size()) : path;
    }

    testsupport::ScratchKey scratch;
};

TEST_F(Handles, OpenedBeforeTheStart) {
    const OwnedRegistryKey key = Open(L"A");
    Start();
    SetOne(key.Get(), L"Value");
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"A");
}

TEST_F(Handles, UsedAgainForAnotherKey) {
    Start();
    OwnedRegistryKey key = Open(L"A");
    const std::wstring number = Number(key.Get());
    SetOne(key.Get(), L"First");
    key = OwnedRegistryKey();
    key = Open(L"B");
    EXPECT_EQ(Number(key.Get()), number);
    SetOne(key.Get(), L"Second");
    const RecordedLog log = Stop();
    EXPECT_EQ(KeyOf(log, L"First"), L"A");
    EXPECT_EQ(KeyOf(log, L"Second"), L"B");
}

TEST_F(Handles, CopiedAndTheFirstOneClosed) {
    Start();
    OwnedRegistryKey key = Open(L"A");
    const OwnedRegistryKey copy = Copy(key.Get());
    key = OwnedRegistryKey();
    const OwnedRegistryKey other = Open(L"B");
    SetOne(copy.Get(), L"Value");
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"A");
}

TEST_F(Handles, InheritedByAChild) {
    const OwnedRegistryKey key = Open(L"A");
    const OwnedRegistryKey copy = Copy(key.Get(), TRUE);
    Start();
    RunChild(L"set " + Number(copy.Get()) + L" Value", true);
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"A");
}

TEST_F(Handles, MarkedAsInheritedLater) {
    const OwnedRegistryKey key = Open(L"A");
    ASSERT_TRUE(SetHandleInformation(key.Get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT));
    Start();
    RunChild(L"set " + Number(key.Get()) + L" Value", true);
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"A");
}

TEST_F(Handles, FetchedByAnotherProcess) {
    const OwnedRegistryKey key = Open(L"A");
    Start();
    RunChild(L"fetch " + std::to_wstring(GetCurrentProcessId()) + L' ' + Number(key.Get()) + L" Value");
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"A");
}

TEST_F(Handles, OfAKeyThatWasRenamed) {
    Start();
    const OwnedRegistryKey key = Open(L"A");
    std::wstring text = L"Renamed";
    UNICODE_STRING name{static_cast<USHORT>(text.size() * sizeof(wchar_t)),
                        static_cast<USHORT>(text.size() * sizeof(wchar_t)), text.data()};
    ASSERT_EQ(NtRenameKey(key.Get(), &name), 0);
    SetOne(key.Get(), L"Value");
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"Renamed");
}

TEST_F(Handles, OfAKeyFoundThroughALink) {
    const auto top = NativeTestKey::Open(scratch.Handle(), L"A", KEY_ALL_ACCESS);
    const auto link = NativeTestKey::Create(top.Handle(), L"Link", KEY_ALL_ACCESS, REG_OPTION_CREATE_LINK);
    link.SetLinkTarget(NativeTestKey::Open(scratch.Handle(), L"B", KEY_READ).RealPath());
    Start();
    const OwnedRegistryKey opened = Open(L"A\\Link");
    SetOne(opened.Get(), L"Opened");
    HKEY created = nullptr;
    RegCreateKeyExW(scratch.Handle(), L"A\\Link", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr);
    SetOne(created, L"Created");
    RegCloseKey(created);
    const RecordedLog log = Stop();
    EXPECT_EQ(KeyOf(log, L"Opened"), L"B");
    EXPECT_EQ(KeyOf(log, L"Created"), L"B");
    link.Delete();
}

TEST_F(Handles, OfAPredefinedRootThatIsOverridden) {
    Start();
    const OwnedRegistryKey key = Open(L"A");
    ASSERT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, key.Get()), ERROR_SUCCESS);
    SetOne(HKEY_CLASSES_ROOT, L"Value");
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    EXPECT_EQ(KeyOf(Stop(), L"Value"), L"A");
}

TEST_F(Handles, ThatAreInvalidMakeNoEvents) {
    Start();
    const DWORD data = 1;
    EXPECT_EQ(RegSetValueExW(reinterpret_cast<HKEY>(ULONG_PTR{0x7770}), L"Value", 0, REG_DWORD,
                             reinterpret_cast<const BYTE*>(&data), sizeof(data)),
              ERROR_INVALID_HANDLE);
    EXPECT_TRUE(Stop().Setting(L"Value").empty());
}

} // namespace
} // namespace keyreap
