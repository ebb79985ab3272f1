#include "platform/core/exceptionhandling.h"
#include "platform/os/registryopener.h"
#include "tests/support/scriptedtracing.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/tracebuilder.h"
#include "tests/unit/replay/livekey.h"
#include "trace/replay/tracereplay.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

using testsupport::FileBytes;
using testsupport::TemporaryFolder;

constexpr std::uint32_t serverProcess = 0x7000;
constexpr std::uint32_t stranger = 0x7004;
constexpr std::uint32_t statusNameNotFound = 0xC0000034;
constexpr std::uint32_t statusAccessDenied = 0xC0000022;
const std::wstring temporary = L"Software\\KeyreapReplayTemporary\\";

std::wstring Machine(const std::wstring& path) {
    return L"\\REGISTRY\\MACHINE\\" + path;
}
std::wstring User(const std::wstring& path) {
    return L"\\REGISTRY\\USER\\S-1-5-21-0-0-0-1000\\" + path;
}
std::wstring Classes(const std::wstring& path) {
    return Machine(L"SOFTWARE\\Classes\\" + path);
}

// The bytes of a .reg file with these lines after its header line.
std::string RegFileBytes(const std::wstring& linesAfterHeader) {
    std::string bytes = "\xFF\xFE";
    for (const wchar_t unit : L"Windows Registry Editor Version 5.00\r\n" + linesAfterHeader) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

std::wstring Fillers() {
    return std::wstring(10, L'\x5555');
}

// A trace of this process and the result of its replay. A test also makes the traced changes in the real
// registry, in its own keys.
class ReplayTraceTest : public testing::Test {
protected:
    ReplayTraceTest() {
        request.traceFilePath = L"C:\\trace.etl";
        request.regFilePath = folder.File(L"out.reg");
        request.temporaryPrefix = temporary;
        request.formPathPairs = [] { return PathPairs(); };
        trace.ByProcess(GetCurrentProcessId());
    }

    // Operations on a key with a complete name, or on a handle that is named before.
    void Created(const std::wstring& path, std::uint32_t status = 0) { trace.CreateKey(0, path, status); }
    void Opened(const std::wstring& path) { trace.OpenKey(0, path); }
    void Deleted(const std::wstring& path) { trace.DeleteKey(Named(path)); }
    void Set(const std::wstring& path, const std::wstring& name, std::uint32_t status = 0) {
        trace.SetValue(Named(path), name, status);
    }
    void ValueDeleted(const std::wstring& path, const std::wstring& name) {
        trace.DeleteValue(Named(path), name);
    }
    void Queried(const std::wstring& path, const std::wstring& name) { trace.QueryValue(Named(path), name); }

    std::uint64_t Named(const std::wstring& path) {
        trace.KeyHandleNamed(++lastHandle, path);
        return lastHandle;
    }

    // A key of the test below HKEY_CURRENT_USER, as the kernel names it.
    std::wstring OwnKey(const std::wstring& subkey = {}) const { return User(user.Path(subkey)); }

    // Sets a text of such a key, in the registry and in the trace.
    void SetText(const std::wstring& subkey, const std::wstring& name, std::wstring_view text) {
        user.SetText(subkey, name, text);
        Set(OwnKey(subkey), name);
    }

    // Replays the trace and expects a file with these lines after its header line, byte by byte.
    void ReplayWrites(const std::wstring& linesAfterHeader) {
        tracing.log = trace.Events();
        EXPECT_TRUE(ReplayTrace(tracing, request));
        EXPECT_EQ(FileBytes(request.regFilePath), RegFileBytes(linesAfterHeader))
            << testing::PrintToString(testsupport::Utf16Document(FileBytes(request.regFilePath)));
    }

    TemporaryFolder folder;
    LiveKey user{HKEY_CURRENT_USER, L"Software\\KeyreapReplay"};
    LiveKey machine{HKEY_LOCAL_MACHINE, L"Software\\KeyreapReplay"};
    LiveKey classes{HKEY_CLASSES_ROOT, L"KeyreapReplay.Class"};
    LiveKey tree{HKEY_CURRENT_USER, L"Software\\KeyreapReplayTemporary"};
    ScriptedTracing tracing;
    TraceBuilder trace;
    ReplayRequest request;
    std::uint64_t lastHandle = 0xFFFFF8A000001000;
};

// The content of the file, and the registry after the replay.

TEST_F(ReplayTraceTest, ATraceWithoutAnyEventOfTheTargetGivesTheHeaderAlone) {
    trace.ByProcess(stranger);
    Set(OwnKey(), L"V");
    ReplayWrites(L"");
}

TEST_F(ReplayTraceTest, ReadsTheLogThatTheSessionNames) {
    ReplayWrites(L"");
    EXPECT_EQ(tracing.openedPath, L"C:\\trace.etl");
}

TEST_F(ReplayTraceTest, WhatTheTargetCreatedIsWrittenAndRemovedFromTheRegistry) {
    user.SetText(L"A", L"b", L"1");
    user.SetText(L"A", L"", L"default");
    user.Make(L"A\\Empty");
    Created(OwnKey(L"A"));
    Set(OwnKey(L"A"), L"b");
    Set(OwnKey(L"A"), L"");
    Created(OwnKey(L"A\\Empty"));
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n@=\"default\"\r\n\"b\"=\"1\"\r\n"
                 L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A\\Empty]\r\n");
    EXPECT_EQ(user.Contents(), L"");
}

TEST_F(ReplayTraceTest, EveryRootIsCapturedInTheOrderOfTheSlots) {
    LiveKey others(HKEY_USERS, L".DEFAULT\\Software\\KeyreapReplay");
    others.SetText(L"D", L"V", L"4");
    classes.SetText(L"C", L"V", L"3");
    user.SetText(L"B", L"V", L"2");
    machine.SetText(L"A", L"V", L"1");
    Set(L"\\REGISTRY\\USER\\.DEFAULT\\Software\\KeyreapReplay\\D", L"V");
    Set(Classes(L"KeyreapReplay.Class\\C"), L"V");
    Set(OwnKey(L"B"), L"V");
    Set(Machine(L"Software\\KeyreapReplay\\A"), L"V");
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapReplay\\A]\r\n\"V\"=\"1\"\r\n"
                 L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\B]\r\n\"V\"=\"2\"\r\n"
                 L"\r\n[HKEY_CLASSES_ROOT\\KeyreapReplay.Class\\C]\r\n\"V\"=\"3\"\r\n"
                 L"\r\n[HKEY_USERS\\.DEFAULT\\Software\\KeyreapReplay\\D]\r\n\"V\"=\"4\"\r\n");
    EXPECT_EQ(machine.Contents() + user.Contents() + classes.Contents() + others.Contents(), L"");
}

TEST_F(ReplayTraceTest, TheFinalDataIsWrittenHoweverOftenItWasSet) {
    SetText(L"A", L"V", L"final");
    Set(OwnKey(L"A"), L"v");
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n\"V\"=\"final\"\r\n");
}

TEST_F(ReplayTraceTest, AValueSetInAKeyDeletedAfterwardsIsTheHeaderAndTheFiller) {
    user.Make();
    Set(OwnKey(L"Gone"), L"V");
    Deleted(OwnKey(L"Gone"));
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\Gone]\r\n\"V\"=\"" + Fillers() +
                 L"\"\r\n");
    EXPECT_EQ(user.Contents(), L"[]\n");
}

TEST_F(ReplayTraceTest, ADeletedLeafKeyIsAnOrdinaryKeyHeader) {
    user.SetText(L"", L"keeps", L"this key");
    Deleted(OwnKey(L"Gone"));
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\Gone]\r\n");
    EXPECT_EQ(user.Contents(), L"[]\nkeeps=this key\n");
}

TEST_F(ReplayTraceTest, AKeyWithAValueSetAndDeletedAgainIsNotWritten) {
    user.SetText(L"A", L"Own", L"1");
    Opened(OwnKey(L"A"));
    Set(OwnKey(L"A"), L"V");
    ValueDeleted(OwnKey(L"A"), L"V");
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nOwn=1\n");
}

TEST_F(ReplayTraceTest, ACreateThatFailedWithNameNotFoundCountsAndNoOtherFailureDoes) {
    Created(OwnKey(L"A"), statusNameNotFound);
    Created(OwnKey(L"B"), statusAccessDenied);
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n");
}

TEST_F(ReplayTraceTest, KeysSortFoldedAndValuesByCodeUnit) {
    for (const wchar_t* subkey : {L"b", L"A", L"c", L"c\\x", L"c-x"}) {
        SetText(subkey, L"V", L"");
    }
    for (const wchar_t* name : {L"a", L"B"}) {
        SetText(L"b", name, L"");
    }
    ReplayWrites(
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n\"V\"=\"\"\r\n"
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\b]\r\n\"B\"=\"\"\r\n\"V\"=\"\"\r\n\"a\"=\"\"\r\n"
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\c]\r\n\"V\"=\"\"\r\n"
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\c\\x]\r\n\"V\"=\"\"\r\n"
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\c-x]\r\n\"V\"=\"\"\r\n");
}

// Operations that are dropped.

TEST_F(ReplayTraceTest, EventsOfOtherTypesAreDropped) {
    for (const int type : {9, 30}) {
        trace.Registry(static_cast<std::uint8_t>(type), {.name = OwnKey(L"A")});
    }
    trace.Add(ThreadGuid, 10, RegistryPayload({.name = OwnKey(L"A")}, 2, 8));
    ReplayWrites(L"");
}

TEST_F(ReplayTraceTest, NamesOfHandlesAreNotOperations) {
    Named(OwnKey(L"A"));
    trace.KeyHandleDropped(lastHandle, OwnKey(L"A"));
    ReplayWrites(L"");
}

TEST_F(ReplayTraceTest, OperationsOfOtherProcessesAreDroppedAndTheirKeysStay) {
    user.SetText(L"Ours", L"V", L"1");
    user.SetText(L"Theirs", L"V", L"2");
    Set(OwnKey(L"Ours"), L"V");
    trace.ByProcess(stranger);
    Set(OwnKey(L"Theirs"), L"V");
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\Ours]\r\n\"V\"=\"1\"\r\n");
    EXPECT_EQ(user.Contents(), L"[]\n[Theirs]\nV=2\n");
}

TEST_F(ReplayTraceTest, FailedOperationsAreDropped) {
    user.SetText(L"A", L"V", L"1");
    Set(OwnKey(L"A"), L"V", statusAccessDenied);
    trace.DeleteKey(Named(OwnKey(L"A")), L"", statusNameNotFound);
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nV=1\n");
}

TEST_F(ReplayTraceTest, AnOperationWhoseKeyNeverGotANameIsDropped) {
    trace.SetValue(0xFFFFF8A0DEADBEE0, L"V");
    ReplayWrites(L"");
}

TEST_F(ReplayTraceTest, ARelativeNameThatWasNeverResolvedIsRecordedUnderTheMachine) {
    trace.CreateKey(0xFFFFF8A0DEADBEE0, L"KeyreapReplayRelative");
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\KeyreapReplayRelative]\r\n");
}

TEST_F(ReplayTraceTest, KeysOnlyOpenedReadOrRemovedAgainAreDropped) {
    user.SetText(L"Read", L"V", L"1");
    Opened(OwnKey(L"Read"));
    Queried(OwnKey(L"Read"), L"V");
    Created(OwnKey(L"Short"));
    Deleted(OwnKey(L"Short"));
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[Read]\nV=1\n");
}

TEST_F(ReplayTraceTest, TheControlSetIsNoiseWithoutAValueBelowIt) {
    Created(Machine(L"SYSTEM\\CurrentControlSet\\Services\\KeyreapReplay"));
    Created(Machine(L"SYSTEM\\ControlSet001\\Services\\KeyreapReplay"));
    ReplayWrites(L"");
}

TEST_F(ReplayTraceTest, AValueUnderANumberedControlSetIsReadWrittenAndRemovedUnderTheCurrentOne) {
    LiveKey service(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\KeyreapReplay");
    service.SetText(L"", L"ImagePath", L"C:\\s.exe");
    Set(Machine(L"SYSTEM\\ControlSet001\\Services\\KeyreapReplay"), L"ImagePath");
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\KeyreapReplay]\r\n"
                 L"\"ImagePath\"=\"C:\\\\s.exe\"\r\n");
    EXPECT_EQ(service.Contents(), L"");
}

TEST_F(ReplayTraceTest, AValueOnlyReadBelowTheControlSetKeepsItFromBeingPruned) {
    Queried(Machine(L"SYSTEM\\CurrentControlSet\\Control\\KeyreapReplay"), L"V");
    Created(Machine(L"SYSTEM\\CurrentControlSet\\Services\\KeyreapReplay"));
    ReplayWrites(L"\r\n[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\KeyreapReplay]\r\n");
}

TEST_F(ReplayTraceTest, ADeletedValueIsDroppedAndNotRestored) {
    user.SetText(L"A", L"Own", L"1");
    user.Make(L"A\\Child");
    Opened(OwnKey(L"A"));
    ValueDeleted(OwnKey(L"A"), L"Old");
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nOwn=1\n[A\\Child]\n");
}

TEST_F(ReplayTraceTest, AKeyWithSubkeysAndNoLiveValueIsImpliedByThem) {
    user.Make(L"A\\B");
    Created(OwnKey(L"A"));
    Created(OwnKey(L"A\\B"));
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A\\B]\r\n");
    EXPECT_EQ(user.Contents(), L"");
}

TEST_F(ReplayTraceTest, ACreatedKeyWhoseOnlyChildWasOpenedIsNeitherWrittenNorRemoved) {
    user.Make(L"A");
    Created(OwnKey(L"A"));
    Opened(OwnKey(L"A\\B"));
    ReplayWrites(L"");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\n");
}

TEST_F(ReplayTraceTest, AKeyWithOnlyDeletedValuesIsNotWritten) {
    Created(OwnKey(L"A"));
    ValueDeleted(OwnKey(L"A"), L"V");
    ReplayWrites(L"");
}

// Data that is lost.

TEST_F(ReplayTraceTest, ANeighbourValueInALeafKeyIsDeletedWithTheValueThatTheTargetSet) {
    user.SetText(L"Leaf", L"Before", L"the user's");
    SetText(L"Leaf", L"Set", L"the target's");
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\Leaf]\r\n\"Set\"=\"the target's\"\r\n");
    EXPECT_EQ(user.Contents(), L"");
}

TEST_F(ReplayTraceTest, AnOverwrittenValueIsDeleted) {
    user.Make(L"A\\Child");
    user.SetText(L"A", L"Kept", L"the user's");
    SetText(L"A", L"V", L"the target's in place of the user's");
    ReplayWrites(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapReplay\\A]\r\n"
                 L"\"V\"=\"the target's in place of the user's\"\r\n");
    EXPECT_EQ(user.Contents(), L"[]\n[A]\nKept=the user's\n[A\\Child]\n");
}

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
