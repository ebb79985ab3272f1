#include "platform/core/exceptionhandling.h"
#include "platform/os/registryopener.h"
#include "tests/unit/replay/replaytracetest.h"

#include <utility>

namespace keyreap {
namespace {

using testsupport::FileBytes;

constexpr std::uint32_t serverProcess = 0x7000;
constexpr std::uint32_t stranger = 0x7004;
const std::wstring temporary = L"Software\\KeyreapReplayTemporary\\";

// The two modes.

TEST_F(ReplayTraceTest, RedirectedKeysAreReadAtTheirPlaceWrittenAsMeantAndClearedThere) {
    request.rootsRedirected = true;
    tree.SetText(L"HKLM\\Software\\A", L"V", L"redirected");
    tree.Make(L"HKCR\\CLSID\\{X}");
    Set(User(temporary + L"HKLM\\Software\\A"), L"V");
    Created(User(temporary + L"HKCR\\CLSID\\{X}"));
    tracing.log = trace.Events();
    EXPECT_TRUE(ReplayTrace(tracing, request));
    // The order of the two batches does not matter.
    const std::wstring machineBatch = L"\r\n[HKEY_LOCAL_MACHINE\\Software\\A]\r\n\"V\"=\"redirected\"\r\n";
    const std::wstring classesBatch = L"\r\n[HKEY_CLASSES_ROOT\\CLSID\\{X}]\r\n";
    const std::string bytes = FileBytes(request.regFilePath);
    EXPECT_TRUE(bytes == RegFileBytes(machineBatch + classesBatch) ||
                bytes == RegFileBytes(classesBatch + machineBatch))
        << testing::PrintToString(testsupport::Utf16Document(bytes));
    EXPECT_EQ(tree.Contents(), L"");
}

TEST_F(ReplayTraceTest, EachTemporaryTreeComesOutUnderItsRoot) {
    const std::pair<const wchar_t*, const wchar_t*> trees[] = {{L"HKCR", L"HKEY_CLASSES_ROOT"},
                                                               {L"HKLM", L"HKEY_LOCAL_MACHINE"},
                                                               {L"HKCU", L"HKEY_CURRENT_USER"},
                                                               {L"HKU", L"HKEY_USERS"}};
    request.rootsRedirected = true;
    for (const auto& [name, root] : trees) {
        trace = TraceBuilder();
        trace.ByProcess(GetCurrentProcessId());
        Created(User(temporary + name + L"\\A"));
        ReplayWrites(L"\r\n[" + std::wstring(root) + L"\\A]\r\n");
    }
}

TEST_F(ReplayTraceTest, WhatWentPastTheOverridesIsCapturedAndRemovedAtItsRealPlace) {
    request.rootsRedirected = true;
    machine.SetText(L"Past", L"V", L"1");
    Set(Machine(L"Software\\KeyreapReplay\\Past"), L"V");
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapReplay\\Past]\r\n\"V\"=\"1\"\r\n");
    EXPECT_EQ(machine.Contents(), L"");
}

TEST_F(ReplayTraceTest, AValueOnATemporaryRootKeyAppearsUnderTheCurrentUser) {
    request.rootsRedirected = true;
    tree.SetText(L"HKCR", L"V", L"on the root");
    Set(User(temporary + L"HKCR"), L"V");
    ReplayWrites(
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplayTemporary\\HKCR]\r\n\"V\"=\"on the root\"\r\n");
}

TEST_F(ReplayTraceTest, TheRedirectedControlSetIsNoiseOnlyIfTheRootsWereRedirected) {
    Created(User(temporary + L"HKLM\\SYSTEM\\CurrentControlSet\\Services\\S"));
    request.rootsRedirected = true;
    ReplayWrites(L"");
    request.rootsRedirected = false;
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\S]\r\n");
}

TEST_F(ReplayTraceTest, TheRealControlSetIsNoiseInEitherMode) {
    Created(Machine(L"SYSTEM\\CurrentControlSet\\Services\\KeyreapReplay"));
    request.rootsRedirected = true;
    ReplayWrites(L"");
    request.rootsRedirected = false;
    ReplayWrites(L"");
}

TEST_F(ReplayTraceTest, ABatchEndsWhereTheSubstitutedRootChanges) {
    request.rootsRedirected = true;
    Created(Machine(L"Software\\KeyreapReplay\\Z"));
    Created(User(temporary + L"HKLM\\Software\\KeyreapReplay\\A"));
    // One batch: slot 0 and the machine's temporary tree have one root after substitution.
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapReplay\\A]\r\n"
                 L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapReplay\\Z]\r\n");
}

// The 32-bit view.

class ThirtyTwoBitViewTest : public ReplayTraceTest {
protected:
    static constexpr bool is64Bit = sizeof(void*) == 8;

    // The key of the 32-bit view itself, for a process of either bitness.
    static OwnedRegistryKey View() {
        OwnedRegistryKey key;
        EXPECT_EQ(CreateRegistryKey(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node",
                                    KEY_ALL_ACCESS | KEY_WOW64_64KEY, key),
                  ERROR_SUCCESS);
        return key;
    }

    OwnedRegistryKey view = View();
    LiveKey viewed{view.Get(), L"KeyreapReplay"};
};

TEST_F(ThirtyTwoBitViewTest, TheLiveValueIsReadWithoutTheViewsName) {
    viewed.SetText(L"A", L"V", L"in the view");
    Set(Machine(L"SOFTWARE\\Wow6432Node\\KeyreapReplay\\A"), L"V");
    // A 32-bit process finds that key under this name too.
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\KeyreapReplay\\A]\r\n\"V\"=\"" +
                 (is64Bit ? Fillers() : std::wstring(L"in the view")) + L"\"\r\n");
    EXPECT_EQ(viewed.Contents(), is64Bit ? L"[]\n[A]\nV=in the view\n" : L"");
}

TEST_F(ThirtyTwoBitViewTest, ItsNameInAnotherCaseIsUsedForTheReadAndNotWritten) {
    viewed.SetText(L"A", L"V", L"in the view");
    Set(Machine(L"SOFTWARE\\WOW6432NODE\\KeyreapReplay\\A"), L"V");
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapReplay\\A]\r\n\"V\"=\"in the view\"\r\n");
    EXPECT_EQ(viewed.Contents(), L"");
}

// Path pairs.

TEST_F(ReplayTraceTest, PathPairsAreEscapedStrictly) {
    request.formPathPairs = [] { return PathPairs{{L"\\temporary", L"\\final"}}; };
    user.SetText(L"A", L"V", L"C:\\\\temporary\\x");
    user.SetText(L"A", L"W", L"\\temporary");
    Set(OwnKey(L"A"), L"V");
    Set(OwnKey(L"A"), L"W");
    // The lone leading backslash of a value isn't escaped, so the strict pair doesn't match it.
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n"
                 L"\"V\"=\"C:\\\\\\\\final\\\\x\"\r\n\"W\"=\"\\temporary\"\r\n");
}

TEST_F(ReplayTraceTest, PathPairsApplyInTheirOrder) {
    request.formPathPairs = [] {
        return PathPairs{{L"C:\\tmp\\x.dll", L"\\\\share\\dir\\x.dll"}, {L"C:\\tmp", L"\\\\share\\dir"}};
    };
    user.SetText(L"A", L"File", L"C:\\tmp\\x.dll");
    user.SetText(L"A", L"Neighbour", L"C:\\tmp\\y.dll");
    Set(OwnKey(L"A"), L"File");
    Set(OwnKey(L"A"), L"Neighbour");
    ReplayWrites(
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n"
        L"\"File\"=\"\\\\\\\\share\\\\dir\\\\x.dll\"\r\n\"Neighbour\"=\"\\\\\\\\share\\\\dir\\\\y.dll\"\r\n");
}

TEST_F(ReplayTraceTest, PathPairsAreFormedWhenTheFileIsThere) {
    bool wasThere = false;
    request.formPathPairs = [&] {
        wasThere = testsupport::Exists(request.regFilePath);
        return PathPairs();
    };
    ReplayWrites(L"");
    EXPECT_TRUE(wasThere);
}

TEST_F(ReplayTraceTest, WithoutAFileNoPathPairIsFormed) {
    bool wereFormed = false;
    request.regFilePath = folder.Path();
    request.formPathPairs = [&] {
        wereFormed = true;
        return PathPairs();
    };
    EXPECT_THROW(ReplayTrace(tracing, request), Exception);
    EXPECT_FALSE(wereFormed);
}

// A program that registers itself in its own process.

TEST_F(ReplayTraceTest, ARegserverProgramsEntriesAreCapturedAndRemovedFromTheRealRegistry) {
    constexpr std::uint64_t classesHandle = 0xFFFFF8A0000000A0;
    constexpr std::uint64_t userHandle = 0xFFFFF8A0000000B0;
    constexpr std::uint64_t classHandle = 0xFFFFF8A0000000C0;
    request.serverProcessId = serverProcess;
    classes.SetText(L"", L"", L"Acme Document");
    classes.SetText(L"CLSID", L"", L"{11111111-2222-3333-4444-555555555555}");
    classes.SetText(L"shell\\open\\command", L"", L"C:\\acme.exe \"%1\"");
    user.SetText(L"Acme", L"Runs", L"1");
    user.SetText(L"Kept", L"V", L"not the server's");

    trace.ByProcess(serverProcess)
        .OpenBefore(classesHandle, Machine(L"SOFTWARE\\Classes"))
        .OpenBefore(userHandle, OwnKey());
    trace.CreateKey(classesHandle, L"KeyreapReplay.Class")
        .OpenBefore(classHandle, Classes(L"KeyreapReplay.Class"));
    trace.SetValue(classHandle, L"");
    trace.CreateKey(classHandle, L"CLSID").SetValue(Named(Classes(L"KeyreapReplay.Class\\CLSID")), L"");
    trace.CreateKey(classHandle, L"shell\\open\\command")
        .SetValue(Named(Classes(L"KeyreapReplay.Class\\shell\\open\\command")), L"");
    trace.OpenKey(userHandle, L"Kept").CreateKey(userHandle, L"Acme");
    trace.SetValue(Named(OwnKey(L"Acme")), L"Runs");
    trace.ByProcess(stranger).CreateKey(userHandle, L"Strange");

    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\Acme]\r\n\"Runs\"=\"1\"\r\n"
                 L"\r\n[HKEY_CLASSES_ROOT\\KeyreapReplay.Class]\r\n@=\"Acme Document\"\r\n"
                 L"\r\n[HKEY_CLASSES_ROOT\\KeyreapReplay.Class\\CLSID]\r\n"
                 L"@=\"{11111111-2222-3333-4444-555555555555}\"\r\n"
                 L"\r\n[HKEY_CLASSES_ROOT\\KeyreapReplay.Class\\shell\\open\\command]\r\n"
                 L"@=\"C:\\\\acme.exe \\\"%1\\\"\"\r\n");
    EXPECT_EQ(classes.Contents(), L"");
    EXPECT_EQ(user.Contents(), L"[]\n[Kept]\nV=not the server's\n");
}

TEST_F(ReplayTraceTest, WithoutAServerProcessTheIdZeroIsNotWatched) {
    trace.ByProcess(0);
    Created(OwnKey(L"A"));
    ReplayWrites(L"");
}

// A log that fails.

TEST_F(ReplayTraceTest, ALogThatCannotBeOpenedGivesTheHeaderAloneAndIsASuccess) {
    SetText(L"A", L"V", L"1");
    tracing.logExists = false;
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nV=1\n");
}

TEST_F(ReplayTraceTest, ALogThatBreaksOffGivesTheHeaderAloneAndIsASuccess) {
    SetText(L"A", L"V", L"1");
    tracing.processStatus = ERROR_CANCELLED;
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nV=1\n");
}

TEST_F(ReplayTraceTest, AFileThatCannotBeWrittenRaisesAndLeavesTheRegistryAlone) {
    SetText(L"A", L"V", L"1");
    request.regFilePath = folder.File(L"missing\\out.reg");
    tracing.log = trace.Events();
    EXPECT_ANY_THROW(ReplayTrace(tracing, request));
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nV=1\n");
}

} // namespace
} // namespace keyreap
