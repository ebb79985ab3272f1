// What lies round a run fails it: outputs, the temporary directory, the registry, the trace log, inputs.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stops.h"
#include "tests/endtoend/harness/ways.h"
#include "tests/endtoend/harness/workbench.h"

#include <aclapi.h>

#include <atomic>
#include <functional>
#include <thread>

namespace keyreap::endtoend {

namespace {

constexpr wchar_t plainsKey[] = L"Keyreap.Plain";

class Surroundings : public Workbench, public testing::WithParamInterface<Way> {
protected:
    Surroundings() { DeleteTree(HKEY_CLASSES_ROOT, plainsKey); }
    ~Surroundings() override { DeleteTree(HKEY_CLASSES_ROOT, plainsKey); }

    std::wstring Server(const std::wstring& sample) const { return Sample(GetParam().build, sample); }
    DWORD CaptureOf(const std::wstring& file, const std::wstring& regFile) const {
        return RunLine(LineOf(GetParam(), file, regFile));
    }
    DWORD CaptureOfPlain() const { return CaptureOf(Server(L"plain.dll"), Work(L"out.reg")); }
    static bool PlainIsLive() { return KeyExists(HKEY_CLASSES_ROOT, plainsKey); }
};

class FailingOutput : public Surroundings {
protected:
    // In mode `trace` the entries are in the live registry and nobody removes them: that comes after the
    // file.
    void ExpectAFailedRun(const std::wstring& regFile) const {
        EXPECT_EQ(CaptureOf(Server(L"plain.dll"), regFile), statusFailed);
        EXPECT_EQ(PlainIsLive(), !GetParam().IsRedirected());
        EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
    }
};

TEST_P(FailingOutput, OnADiskThatIsOnlyReadFailsTheRun) {
    // One of the host's that makes no file for anybody.
    ExpectAFailedRun(L"Z:\\proc\\out.reg");
}

TEST_P(FailingOutput, ThatIsLockedStaysAsItIs) {
    ASSERT_TRUE(WriteText(Work(L"out.reg"), "locked"));
    const LockedFile lock(Work(L"out.reg"), 0);
    ExpectAFailedRun(Work(L"out.reg"));
}

TEST_P(FailingOutput, ThatIsADirectoryStaysOne) {
    MakeDirectory(Work(L"out.reg"));
    ExpectAFailedRun(Work(L"out.reg"));
    EXPECT_TRUE(IsDirectory(Work(L"out.reg")));
}

TEST_P(FailingOutput, OnAFullDiskFailsTheRun) {
    // The host's device that takes no byte.
    ExpectAFailedRun(L"Z:\\dev\\full");
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, FailingOutput, testing::ValuesIn(ways),
                         [](const auto& test) { return NameOfWay(test.param); });

// Without a place for its log no trace can start.
class MissingTemporaryDirectory : public Surroundings {
protected:
    MissingTemporaryDirectory() { RemoveDirectoryWithContents(TemporaryFolder()); }
};

TEST_P(MissingTemporaryDirectory, LeavesTheResultOfTheRedirectionAlone) {
    EXPECT_EQ(CaptureOfPlain(), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"),
                      GetParam().IsRedirected() ? Golden("plain.reg") : Document(UntouchedRoots())));
    EXPECT_EQ(PlainIsLive(), !GetParam().IsRedirected());
    EXPECT_FALSE(Exists(TemporaryFolder()));
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, MissingTemporaryDirectory, testing::ValuesIn(ways),
                         [](const auto& test) { return NameOfWay(test.param); });

// A log that is touched between the end of the capture and its replay.
class TouchedTraceLog : public Surroundings {
protected:
    TouchedTraceLog() : stops(Work(L"stops")) {}
    ~TouchedTraceLog() override {
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Stopping");
        DeleteTree(HKEY_CURRENT_USER, stoppingsKey);
        DeleteTree(HKEY_LOCAL_MACHINE, stoppingsKey);
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\KeyreapStopping");
    }

    void CaptureAndTouch(const std::function<void(const std::wstring&)>& touch) const {
        stops.Hold(L"unloading");
        RunningProgram program(LineOf(GetParam(), Server(L"stopping.dll"), Work(L"out.reg")));
        stops.Await(L"unloading");
        const std::vector<std::wstring> files = TemporaryFiles();
        ASSERT_EQ(files.size(), 1U);
        touch(TemporaryFolder() + L"\\" + files.front());
        stops.LetGo(L"unloading");
        EXPECT_EQ(program.Wait(), 0U);
    }
    // Only what is in the log is written and removed.
    void ExpectNothingButAHeader() const {
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(L"")));
        EXPECT_EQ(KeyExists(HKEY_CURRENT_USER, stoppingsKey), !GetParam().IsRedirected());
        EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
    }

    static constexpr wchar_t stoppingsKey[] = L"Software\\KeyreapStopping";
    Stops stops;
};

TEST_P(TouchedTraceLog, ThatIsDeletedGivesTheHeaderAlone) {
    CaptureAndTouch([](const std::wstring& log) { EXPECT_TRUE(DeleteFileW(log.c_str())); });
    ExpectNothingButAHeader();
}

TEST_P(TouchedTraceLog, ThatIsCutInItsFirstBufferGivesTheHeaderAlone) {
    CaptureAndTouch([](const std::wstring& log) {
        Bytes bytes = ReadBytes(log).value_or(Bytes());
        ASSERT_GT(bytes.size(), 1000U);
        bytes.resize(1000);
        EXPECT_TRUE(WriteBytes(log, bytes));
    });
    ExpectNothingButAHeader();
}

TEST_P(TouchedTraceLog, ThatIsEmptiedGivesTheHeaderAlone) {
    CaptureAndTouch([](const std::wstring& log) { EXPECT_TRUE(WriteText(log, "")); });
    ExpectNothingButAHeader();
}

INSTANTIATE_TEST_SUITE_P(InModesThatTrace, TouchedTraceLog,
                         testing::Values(ways[1], ways[2], ways[4], ways[5]),
                         [](const auto& test) { return NameOfWay(test.param); });

// A key with an access list that lets nobody but its owner change anything, and him only the list.
class DeniedKey {
public:
    explicit DeniedKey(const std::wstring& keyPath) : path(keyPath) {
        CreateKey(HKEY_CURRENT_USER, path);
        SetAccess(KEY_READ);
    }
    DeniedKey(const DeniedKey&) = delete;
    DeniedKey& operator=(const DeniedKey&) = delete;
    ~DeniedKey() { SetAccess(KEY_ALL_ACCESS); }

private:
    void SetAccess(DWORD rights) const {
        SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
        PSID everyone = nullptr;
        AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone);
        alignas(ACL) unsigned char list[256] = {};
        auto* const acl = reinterpret_cast<ACL*>(list);
        InitializeAcl(acl, sizeof(list), ACL_REVISION);
        AddAccessAllowedAce(acl, ACL_REVISION, rights, everyone);
        SECURITY_DESCRIPTOR descriptor = {};
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE);
        HKEY key = nullptr;
        EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, WRITE_DAC, &key), ERROR_SUCCESS);
        EXPECT_EQ(RegSetKeySecurity(key, DACL_SECURITY_INFORMATION, &descriptor), ERROR_SUCCESS);
        RegCloseKey(key);
        FreeSid(everyone);
    }

    std::wstring path;
};

class DeniedTemporaryKey : public Surroundings {};

// The root then stays as it is, and what the target writes there is seen by a trace alone.
TEST_P(DeniedTemporaryKey, LeavesItsRootToTheLiveRegistry) {
    {
        const DeniedKey denied(std::wstring(temporaryKey) + L"\\HKCR");
        EXPECT_EQ(CaptureOfPlain(), 0U);
    }
    const Bytes traced = DocumentOfPlain({GetParam().build, L"trace"});
    EXPECT_TRUE(Holds(Work(L"out.reg"), GetParam().IsTraced() ? traced : Document(RedirectedRoots())));
    EXPECT_EQ(PlainIsLive(), !GetParam().IsTraced());
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, DeniedTemporaryKey, testing::ValuesIn(ways),
                         [](const auto& test) { return NameOfWay(test.param); });

class FailingInput : public Surroundings {
protected:
    void ExpectAFailedRun(const std::wstring& file) const {
        EXPECT_EQ(CaptureOf(file, Work(L"out.reg")), statusFailed);
        EXPECT_FALSE(Exists(Work(L"out.reg")));
        EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
    }
};

TEST_P(FailingInput, OfNoByteOrOneFailsTheRun) {
    for (const char* text : {"", "M", "\x7f"}) {
        ASSERT_TRUE(WriteText(Work(L"in.dll"), text));
        ExpectAFailedRun(Work(L"in.dll"));
    }
}

TEST_P(FailingInput, ThatIsADirectoryFailsTheRun) {
    MakeDirectory(Work(L"in.dll"));
    ExpectAFailedRun(Work(L"in.dll"));
}

// A pipe that takes every caller and hangs up on him, as long as the object lives.
class Pipe {
public:
    Pipe() : server([this] { Serve(); }) {
        EXPECT_TRUE(Eventually([this] { return isOpen.load(); }));
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        ends = true;
        CloseHandle(CreateFileW(name, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        server.join();
    }

    static constexpr wchar_t name[] = L"\\\\.\\pipe\\keyreap_input";

private:
    void Serve() {
        while (!ends) {
            const HANDLE pipe = CreateNamedPipeW(name, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE,
                                                 PIPE_UNLIMITED_INSTANCES, 0, 0, 0, nullptr);
            isOpen = true;
            ConnectNamedPipe(pipe, nullptr);
            CloseHandle(pipe);
        }
    }

    std::atomic<bool> ends = false;
    std::atomic<bool> isOpen = false;
    std::thread server;
};

TEST_P(FailingInput, ThatIsAPipeFailsTheRun) {
    const Pipe pipe;
    ExpectAFailedRun(Pipe::name);
}

TEST_P(FailingInput, ThatVanishesAfterItWasSortedFailsTheRunBehindThePairsBeforeIt) {
    const Stops stops(Work(L"stops"));
    stops.Hold(L"loading");
    ASSERT_TRUE(Copy(Server(L"plain.dll"), Work(L"vanishing.dll")));
    RunningProgram program(Quoted(Keyreap(GetParam().build)) + L" extreg " +
                           Pair(Server(L"stopping.dll"), Work(L"first.reg")) + L" " +
                           Pair(Work(L"vanishing.dll"), Work(L"out.reg")) + L" " +
                           Pair(Server(L"plain.dll"), Work(L"third.reg")) + L" " + GetParam().mode);
    stops.Await(L"loading");
    ASSERT_TRUE(DeleteFileW(Work(L"vanishing.dll").c_str()));
    stops.LetGo(L"loading");
    EXPECT_EQ(program.Wait(), statusFailed);
    EXPECT_TRUE(Exists(Work(L"first.reg")));
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_FALSE(Exists(Work(L"third.reg")));
    EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, FailingInput, testing::ValuesIn(ways),
                         [](const auto& test) { return NameOfWay(test.param); });

} // namespace

} // namespace keyreap::endtoend
