// Which types of registry events a log has here. Windows' own logger has more: docs/tracing.md lists what is
// missing.
#include "etl/registryevent.h"
#include "tests/requests/loggertest.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace keyreap {
namespace {

constexpr std::uint8_t registryGroup = 9; // EVENT_TRACE_GROUP_REGISTRY, ntwmi.h

class EventKinds : public LoggerTest {
protected:
    static std::set<int> KindsIn(const RecordedLog& log) {
        std::set<int> kinds;
        for (const independent::Buffer& buffer : log.log.buffers) {
            for (const independent::Record& record : buffer.records) {
                if (record.header.PacketGroup == registryGroup) {
                    kinds.insert(record.header.PacketType);
                }
            }
        }
        return kinds;
    }

    testsupport::ScratchKey scratch;
};

void ReadNamesAndFacts(HKEY key) {
    wchar_t name[64] = {};
    DWORD length = ARRAYSIZE(name);
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    length = ARRAYSIZE(name);
    EXPECT_EQ(RegEnumValueW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    DWORD subkeys = 0;
    EXPECT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              ERROR_SUCCESS);
}

void ReadAndSetSecurity(HKEY key) {
    std::vector<BYTE> descriptor(1024);
    auto size = static_cast<DWORD>(descriptor.size());
    EXPECT_EQ(RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.data(), &size), ERROR_SUCCESS);
    EXPECT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.data()), ERROR_SUCCESS);
}

TEST_F(EventKinds, ForReadingWithoutAValueNameForFlushingAndForSecurityAreNotInALog) {
    scratch.SetText(L"A", L"Value", L"text");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(scratch.Handle(), L"A", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    scratch.Make(L"A\\B");
    Start();
    ReadNamesAndFacts(key);
    ReadAndSetSecurity(key);
    EXPECT_EQ(RegFlushKey(key), ERROR_SUCCESS);
    const RecordedLog log = Stop();
    RegCloseKey(key);
    for (const RecordedEvent& event : log.events) {
        EXPECT_FALSE(event.path.ends_with(testsupport::ScratchKey::path + std::wstring(L"\\A")))
            << event.type;
    }
}

TEST_F(EventKinds, InALogAreThese) {
    Start();
    HKEY key = nullptr;
    RegCreateKeyExW(scratch.Handle(), L"A", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    SetOne(key, L"Value");
    RegQueryValueExW(key, L"Value", nullptr, nullptr, nullptr, nullptr);
    ReadAndSetSecurity(key);
    RegDeleteValueW(key, L"Value");
    EXPECT_EQ(RegRenameKey(key, nullptr, L"B"), ERROR_SUCCESS);
    RegFlushKey(key);
    RegCloseKey(key);
    RegOpenKeyExW(scratch.Handle(), L"B", 0, DELETE, &key);
    RegCloseKey(key);
    RegDeleteKeyW(scratch.Handle(), L"B");
    const std::set<int> expected = {registryevent::createKey,      registryevent::openKey,
                                    registryevent::deleteKey,      registryevent::setValue,
                                    registryevent::deleteValue,    registryevent::queryValue,
                                    registryevent::setInformation, registryevent::kcbCreate,
                                    registryevent::kcbRundownEnd,  registryevent::close};
    EXPECT_EQ(KindsIn(Stop()), expected);
}

} // namespace
} // namespace keyreap
