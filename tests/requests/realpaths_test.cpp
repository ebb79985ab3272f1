#include "etl/registryevent.h"
#include "hostlogger/keylookup.h"
#include "platform/core/text/compare.h"
#include "tests/requests/loggertest.h"
#include "tests/unit/hostlogger/nativekeys.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr ACCESS_MASK requestedViews[] = {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY};

const std::wstring softwareKey = L"\\REGISTRY\\Machine\\Software";

// Opens and creates many keys in every view, and keeps the path that the system gives for each.
class RealPaths : public LoggerTest {
protected:
    void Ask(const NativeTestKey& parent, const std::wstring& name) {
        for (const ACCESS_MASK view : requestedViews) {
            const auto opened = NativeTestKey::Open(parent.Handle(), name, KEY_QUERY_VALUE | view);
            if (opened.IsOpen()) {
                paths.push_back(opened.RealPath());
                const auto created = NativeTestKey::Create(parent.Handle(), name, KEY_QUERY_VALUE | view);
                paths.push_back(created.RealPath());
            }
        }
    }

    void AskAll(const std::wstring& path, unsigned most) {
        const auto key = NativeTestKey::Open(nullptr, path, KEY_READ | KEY_WOW64_64KEY);
        ASSERT_TRUE(key.IsOpen()) << path;
        paths.push_back(key.RealPath());
        for (const std::wstring& name : key.Subkeys(most)) {
            Ask(key, name);
            Ask(NativeTestKey(), path + L'\\' + name);
        }
    }

    std::vector<std::wstring> paths;
};

// The keys that this process got, in order.
std::vector<std::wstring> PathsOf(const RecordedLog& log) {
    std::vector<std::wstring> paths;
    for (const RecordedEvent& event : log.events) {
        const bool finds = event.type == registryevent::openKey || event.type == registryevent::createKey;
        if (finds && event.status == 0 && event.processId == GetCurrentProcessId()) {
            paths.push_back(event.path);
        }
    }
    return paths;
}

TEST_F(RealPaths, AreTheSystemsOwn) {
    Start();
    AskAll(softwareKey, 50);
    AskAll(softwareKey + L"\\Classes", 100);
    AskAll(softwareKey + L"\\Classes\\CLSID", 100);
    AskAll(softwareKey + L"\\Wow6432Node", 50);
    AskAll(softwareKey + L"\\Classes\\Wow6432Node", 50);
    AskAll(currentUser + L"Software", 50);
    const std::vector<std::wstring> logged = PathsOf(Stop());
    EXPECT_GT(logged.size(), 2000U);
    ASSERT_EQ(logged.size(), paths.size());
    for (std::size_t at = 0; at < paths.size(); ++at) {
        EXPECT_TRUE(EqualFolded(logged[at], paths[at])) << logged[at] << " is " << paths[at];
    }
}

TEST_F(RealPaths, AreThoseOfTheirOwnSession) {
    const testsupport::ScratchKey scratch;
    const std::wstring path = currentUser + testsupport::ScratchKey::path;
    scratch.Make(L"Place\\Key");
    scratch.Make(L"Other\\Key");
    Start();
    scratch.Make(L"Place\\Key");
    EXPECT_EQ(PathsOf(Stop()).back(), path + L"\\Place\\Key");

    EXPECT_EQ(RegDeleteTreeW(scratch.Handle(), L"Place"), ERROR_SUCCESS);
    const auto link =
        NativeTestKey::Create(scratch.Handle(), L"Place", KEY_ALL_ACCESS, REG_OPTION_CREATE_LINK);
    link.SetLinkTarget(path + L"\\Other");
    Start();
    scratch.Make(L"Place\\Key");
    EXPECT_EQ(PathsOf(Stop()).back(), path + L"\\Other\\Key");
    link.Delete();
}

} // namespace
} // namespace keyreap
