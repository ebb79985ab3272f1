// The logger of a host that is described as strict (hostlogger/strictness.h), one switch at a time.
#include "etl/etlfile.h"
#include "etl/etlreader.h"
#include "etl/registryevent.h"
#include "hostlogger/nativeregistry.h"
#include "hostlogger/requestlog.h"
#include "platform/core/text/compare.h"
#include "tests/requests/childmodes.h"
#include "tests/requests/loggertest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace keyreap {
namespace {

constexpr std::wstring_view userHive = L"\\REGISTRY\\USER\\S-1-12-1-1-2-3-4";

// Counts the values that a process reads. The names of some contain a NUL, which RecordedLog refuses.
class ReadCounter : public EtlListener {
public:
    explicit ReadCounter(std::uint32_t processId) : processId(processId) {}

    void OnEvent(const EtlEvent& event) override {
        count += event.processId == processId && event.type == registryevent::queryValue ? 1 : 0;
    }
    bool OnBuffer() override { return true; }

    int count = 0;

private:
    std::uint32_t processId;
};

class StrictHost : public LoggerTest {
protected:
    ~StrictHost() override {
        RequestLogger().StopByName(sessionName);
        DeleteFileW(HostDescriptionPath().c_str());
    }

    static void Describe(std::string_view text) { testsupport::WriteBytes(HostDescriptionPath(), text); }

    // The log of a session in which a child sets one value. A logger reads its host's description once.
    void LogChild() {
        RequestLogger own;
        EXPECT_EQ(own.Start(Session()), ERROR_SUCCESS);
        child = RunChild(L"write Software\\KeyreapStrict Value");
        EXPECT_EQ(own.Stop(), ERROR_SUCCESS);
    }
    RecordedLog LogOfChild() {
        LogChild();
        return RecordedLog(LogFile());
    }
    int ReadsOfChild() {
        LogChild();
        EtlFileSource source{std::filesystem::path(LogFile())};
        EtlReader reader(source);
        ReadCounter counter(child);
        EXPECT_TRUE(reader.Open() && reader.Process(counter));
        return counter.count;
    }

    DWORD child = 0;
};

TEST_F(StrictHost, GivesTheStatusThatItIsDescribedWith) {
    for (const DWORD status : {5U, 112U, 183U, 1450U}) {
        Describe("status " + std::to_string(status));
        RequestLogger other;
        EXPECT_EQ(other.Start(Session()), status);
        EXPECT_FALSE(testsupport::Exists(LogFile()));
        EXPECT_EQ(other.Stop(), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
    }
}

TEST_F(StrictHost, CountsTheEventsThatItLoses) {
    Describe("lost 7");
    Start();
    EXPECT_EQ(Stop().log.header.EventsLost, 7U);
    EXPECT_EQ(logger.EventsLost(), 7U);
}

TEST_F(StrictHost, LogsWhatTheSystemReadsAheadOfAnEntryPoint) {
    const int reads = ReadsOfChild();
    Describe("system");
    EXPECT_GT(ReadsOfChild(), reads);
}

TEST_F(StrictHost, LogsTheCreationOfARootThatExists) {
    const std::wstring root = CurrentUserKey();
    const auto isRoot = [&](const RecordedEvent& event) { return EqualFolded(event.path, root); };
    const auto creatingRoots = [&](const RecordedLog& log) {
        return std::ranges::count_if(log.Of(registryevent::createKey, child), isRoot);
    };
    EXPECT_EQ(creatingRoots(LogOfChild()), 0);
    Describe("creations");
    EXPECT_GT(creatingRoots(LogOfChild()), 0);
}

TEST_F(StrictHost, NamesTheCurrentUserByTheSidThatItIsDescribedWith) {
    Describe("user S-1-12-1-1-2-3-4");
    const auto set = LogOfChild().Setting(L"Value");
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set[0].path, std::wstring(userHive) + L"\\Software\\KeyreapStrict");
}

TEST_F(StrictHost, WithoutADescriptionASessionEndsWithItsLogger) {
    {
        RequestLogger lost;
        ASSERT_EQ(lost.Start(Session()), ERROR_SUCCESS);
    }
    RequestLogger other;
    EXPECT_EQ(other.StopByName(sessionName), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
    EXPECT_EQ(other.Start(Session()), ERROR_SUCCESS);
}

TEST_F(StrictHost, KeepsASessionUntilSomebodyStopsItByItsName) {
    Describe("outlives");
    {
        RequestLogger lost;
        ASSERT_EQ(lost.Start(Session()), ERROR_SUCCESS);
    }
    EXPECT_EQ(logger.Start(Session()), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(RequestLogger().StopByName(L"Another logger"), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
    EXPECT_EQ(RequestLogger().StopByName(sessionName), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(RequestLogger().StopByName(sessionName), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
    EXPECT_EQ(logger.Start(Session()), DWORD{ERROR_SUCCESS});
}

TEST_F(StrictHost, RecordsUntilAnotherProcessStopsTheSession) {
    Describe("outlives");
    RunChild(L"write Software\\KeyreapStrict Before");
    Start();
    RunChild(L"write Software\\KeyreapStrict During");
    EXPECT_EQ(RequestLogger().StopByName(sessionName), DWORD{ERROR_SUCCESS});
    RunChild(L"write Software\\KeyreapStrict After");
    EXPECT_EQ(logger.Stop(), DWORD{ERROR_WMI_INSTANCE_NOT_FOUND});
    const RecordedLog log(LogFile());
    EXPECT_EQ(log.Setting(L"Before").size(), 0U);
    EXPECT_EQ(log.Setting(L"During").size(), 1U);
    EXPECT_EQ(log.Setting(L"After").size(), 0U);
    EXPECT_EQ(log.log.loggerName, sessionName);
}

TEST_F(StrictHost, FreesTheNameOfASessionThatIsStoppedOrCannotStart) {
    Describe("outlives");
    Start();
    Stop();
    LoggerSession session = Session();
    session.logFile = folder.File(L"missing\\a.etl");
    EXPECT_EQ(logger.Start(session), DWORD{ERROR_PATH_NOT_FOUND});
    Start();
    LoggerSession other = Session(L"Keyreap other logger");
    EXPECT_EQ(logger.Start(other), DWORD{ERROR_NO_SYSTEM_RESOURCES});
    EXPECT_EQ(RequestLogger().Start(other), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(RequestLogger().StopByName(other.name), DWORD{ERROR_SUCCESS});
    Stop();
}

} // namespace
} // namespace keyreap
