#include "tests/unit/replay/replaytracetest.h"

namespace keyreap {
namespace {

constexpr std::uint32_t stranger = 0x7004;
constexpr std::uint32_t statusNameNotFound = 0xC0000034;
constexpr std::uint32_t statusAccessDenied = 0xC0000022;

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

} // namespace
} // namespace keyreap
