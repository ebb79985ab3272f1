// Runs whose surroundings fail: outputs, the temporary directory, the registry, the trace log, inputs.
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

constexpr wchar_t plainKey[] = L"Keyreap.Plain";

class Surroundings : public Workbench, public testing::WithParamInterface<Way> {
protected:
    Surroundings() { DeleteTree(HKEY_CLASSES_ROOT, plainKey); }
    ~Surroundings() override { DeleteTree(HKEY_CLASSES_ROOT, plainKey); }

    std::wstring Server(const std::wstring& sample) const { return Sample(GetParam().build, sample); }
    DWORD CaptureOf(const std::wstring& file, const std::wstring& regFile) const {
        return RunLine(LineOf(GetParam(), file, regFile));
    }
    DWORD CaptureOfPlain() const { return CaptureOf(Server(L"plain.dll"), Work(L"out.reg")); }
    static bool PlainIsLive() { return KeyExists(HKEY_CLASSES_ROOT, plainKey); }
};

class FailingOutput : public Surroundings {
protected:
    // In the mode `trace` the entries stay in the live registry, because they would only be removed after the
    // file is written.
    void ExpectAFailedRun(const std::wstring& regFile) const {
        EXPECT_EQ(CaptureOf(Server(L"plain.dll"), regFile), statusFailed);
        EXPECT_EQ(PlainIsLive(), !GetParam().IsRedirected());
        EXPECT_EQ(TemporaryFiles(), nothing);
    }
};

TEST_P(FailingOutput, OnAReadOnlyDiskFailsTheRun) {
    // A file system of the host that creates no files.
    ExpectAFailedRun(L"Z:\\proc\\out.reg");
}

TEST_P(FailingOutput, ThatIsLockedStaysUnchanged) {
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
    // A device of the host that accepts no byte.
    ExpectAFailedRun(L"Z:\\dev\\full");
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, FailingOutput, testing::ValuesIn(ways), NameOfWay);

// A trace can't start without a place for its log.
class MissingTemporaryDirectory : public Surroundings {
protected:
    MissingTemporaryDirectory() { RemoveDirectoryWithContents(TemporaryFolder()); }
};

TEST_P(MissingTemporaryDirectory, LeavesOnlyTheResultOfTheRedirection) {
    EXPECT_EQ(CaptureOfPlain(), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"),
                      GetParam().IsRedirected() ? Golden("plain.reg") : Document(UntouchedRoots())));
    EXPECT_EQ(PlainIsLive(), !GetParam().IsRedirected());
    EXPECT_FALSE(Exists(TemporaryFolder()));
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, MissingTemporaryDirectory, testing::ValuesIn(ways), NameOfWay);

// A log that is changed between the end of the capture and its replay.
class ChangedTraceLog : public Surroundings {
protected:
    ChangedTraceLog() : stops(Work(L"stops")) {}
    ~ChangedTraceLog() override {
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Stopping");
        DeleteTree(HKEY_CURRENT_USER, stoppingKey);
        DeleteTree(HKEY_LOCAL_MACHINE, stoppingKey);
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\KeyreapStopping");
    }

    void CaptureAndChange(const std::function<void(const std::wstring&)>& change) const {
        stops.Hold(L"unloading");
        RunningProgram program(LineOf(GetParam(), Server(L"stopping.dll"), Work(L"out.reg")));
        stops.Await(L"unloading");
        const Lines files = TemporaryFiles();
        ASSERT_EQ(files.size(), 1U);
        change(TemporaryFolder() + L"\\" + files.front());
        stops.LetGo(L"unloading");
        EXPECT_EQ(program.Wait(), 0U);
    }
    // Only entries that the log contains are written to the result and removed.
    void ExpectNothingButAHeader() const {
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(L"")));
        EXPECT_EQ(KeyExists(HKEY_CURRENT_USER, stoppingKey), !GetParam().IsRedirected());
        EXPECT_EQ(TemporaryFiles(), nothing);
    }

    static constexpr wchar_t stoppingKey[] = L"Software\\KeyreapStopping";
    Stops stops;
};

TEST_P(ChangedTraceLog, ThatIsDeletedGivesOnlyTheHeader) {
    CaptureAndChange([](const std::wstring& log) { EXPECT_TRUE(DeleteFileW(log.c_str())); });
    ExpectNothingButAHeader();
}

TEST_P(ChangedTraceLog, ThatIsCutInItsFirstBufferGivesOnlyTheHeader) {
    CaptureAndChange([](const std::wstring& log) {
        Bytes bytes = ReadBytes(log).value_or(Bytes());
        ASSERT_GT(bytes.size(), 1000U);
        bytes.resize(1000);
        EXPECT_TRUE(WriteBytes(log, bytes));
    });
    ExpectNothingButAHeader();
}

TEST_P(ChangedTraceLog, ThatIsEmptiedGivesOnlyTheHeader) {
    CaptureAndChange([](const std::wstring& log) { EXPECT_TRUE(WriteText(log, "")); });
    ExpectNothingButAHeader();
}

INSTANTIATE_TEST_SUITE_P(InModesThatTrace, ChangedTraceLog, testing::ValuesIn(waysThatTrace), NameOfWay);

// A key whose access list lets nobody write. Only the owner can change the list itself.
class DeniedKey {
public:
    explicit DeniedKey(const std::wstring& path) : path(path) {
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

// The root is not redirected then, and only a trace sees what the target writes there.
TEST_P(DeniedTemporaryKey, LeavesItsRootToTheLiveRegistry) {
    {
        const DeniedKey denied(std::wstring(temporaryKey) + L"\\HKCR");
        EXPECT_EQ(CaptureOfPlain(), 0U);
    }
    const Bytes traced = DocumentOfPlain({GetParam().build, L"trace"});
    EXPECT_TRUE(Holds(Work(L"out.reg"), GetParam().IsTraced() ? traced : Document(RedirectedRoots())));
    EXPECT_EQ(PlainIsLive(), !GetParam().IsTraced());
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, DeniedTemporaryKey, testing::ValuesIn(ways), NameOfWay);

class FailingInput : public Surroundings {
protected:
    void ExpectAFailedRun(const std::wstring& file) const {
        EXPECT_EQ(CaptureOf(file, Work(L"out.reg")), statusFailed);
        EXPECT_FALSE(Exists(Work(L"out.reg")));
        EXPECT_EQ(TemporaryFiles(), nothing);
    }
};

TEST_P(FailingInput, OfZeroOrOneByteFailsTheRun) {
    for (const char* text : {"", "M", "\x7f"}) {
        ASSERT_TRUE(WriteText(Work(L"in.dll"), text));
        ExpectAFailedRun(Work(L"in.dll"));
    }
}

TEST_P(FailingInput, ThatIsADirectoryFailsTheRun) {
    MakeDirectory(Work(L"in.dll"));
    ExpectAFailedRun(Work(L"in.dll"));
}

// A pipe that accepts every client and disconnects it at once, as long as the object lives.
class Pipe {
public:
    Pipe() : server([this] { Serve(); }) {
        EXPECT_TRUE(Eventually([this] { return isOpen.load(); }));
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() {
        isEnding = true;
        CloseHandle(CreateFileW(name, GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        server.join();
    }

    static constexpr wchar_t name[] = L"\\\\.\\pipe\\keyreap_input";

private:
    void Serve() {
        while (!isEnding) {
            const HANDLE pipe = CreateNamedPipeW(name, PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE,
                                                 PIPE_UNLIMITED_INSTANCES, 0, 0, 0, nullptr);
            isOpen = true;
            ConnectNamedPipe(pipe, nullptr);
            CloseHandle(pipe);
        }
    }

    std::atomic<bool> isEnding = false;
    std::atomic<bool> isOpen = false;
    std::thread server;
};

TEST_P(FailingInput, ThatIsAPipeFailsTheRun) {
    const Pipe pipe;
    ExpectAFailedRun(Pipe::name);
}

TEST_P(FailingInput, ThatDisappearsAfterItWasClassifiedFailsTheRunAfterTheEarlierPairs) {
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
    EXPECT_EQ(RegFiles(), Lines{L"first.reg"});
    EXPECT_EQ(TemporaryFiles(), nothing);
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, FailingInput, testing::ValuesIn(ways), NameOfWay);

} // namespace

} // namespace keyreap::endtoend
