#include <gtest/gtest.h>

#include "platform/os/wine/keylookup.h"
#include "platform/os/wine/registryeventtype.h"
#include "tests/requests/loggertest.h"
#include "tests/unit/wine/nativekeys.h"

namespace keyreap {
namespace {

const std::wstring SOFTWARE = L"\\REGISTRY\\Machine\\Software";

// Opens and creates many keys in every view, and keeps what the system calls each.
class RealPaths : public LoggerTest {
protected:
    void Ask(const NativeTestKey& parent, const std::wstring& name) {
        for (const ACCESS_MASK view : {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
            const auto opened = NativeTestKey::Open(parent.Handle(), name, KEY_QUERY_VALUE | view);
            if (opened.IsOpen()) {
                openings.push_back(opened.RealPath());
                const auto created = NativeTestKey::Create(parent.Handle(), name, KEY_QUERY_VALUE | view);
                creations.push_back(created.RealPath());
            }
        }
    }

    void AskAll(const std::wstring& path, unsigned most) {
        const auto key = NativeTestKey::Open(nullptr, path, KEY_READ | KEY_WOW64_64KEY);
        ASSERT_TRUE(key.IsOpen()) << path;
        openings.push_back(key.RealPath());
        for (const std::wstring& name : key.Subkeys(most)) {
            Ask(key, name);
            Ask(NativeTestKey(), path + L'\\' + name);
        }
    }

    // The keys of the successful events of a type, in order, are these.
    static void Compare(const RecordedLog& log, int type, const std::vector<std::wstring>& paths) {
        std::vector<RecordedEvent> events = log.Of(type, GetCurrentProcessId());
        std::erase_if(events, [](const RecordedEvent& event) { return event.status != 0; });
        ASSERT_EQ(events.size(), paths.size());
        for (std::size_t at = 0; at < paths.size(); ++at) {
            EXPECT_TRUE(SameKeyText(events[at].path, paths[at])) << events[at].path << " is " << paths[at];
        }
    }

    std::vector<std::wstring> openings;
    std::vector<std::wstring> creations;
};

TEST_F(RealPaths, AreTheSystemsOwn) {
    Start();
    AskAll(SOFTWARE, 50);
    AskAll(SOFTWARE + L"\\Classes", 100);
    AskAll(SOFTWARE + L"\\Classes\\CLSID", 100);
    AskAll(SOFTWARE + L"\\Wow6432Node", 50);
    AskAll(SOFTWARE + L"\\Classes\\Wow6432Node", 50);
    AskAll(CURRENT_USER + L"Software", 50);
    const RecordedLog log = Stop();
    EXPECT_GT(creations.size(), 1000U);
    Compare(log, registryOpen, openings);
    Compare(log, registryCreate, creations);
}

} // namespace
} // namespace keyreap
