// Programs that register themselves, in a session whose registry events can be traced: the result, and the
// exact registry afterwards.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stricthost.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t writingKey[] = L"Software\\KeyreapWriting";
constexpr wchar_t startingKey[] = L"Software\\KeyreapStarting";
constexpr wchar_t inheritingKey[] = L"Software\\KeyreapInheriting";
const std::wstring currentServices = L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services";

class TracedProgram : public TracedSession {
protected:
    ~TracedProgram() override {
        DeleteTree(HKEY_CURRENT_USER, writingKey);
        DeleteTree(HKEY_CURRENT_USER, L"Software\\KeyreapFamily");
        DeleteTree(HKEY_CURRENT_USER, startingKey);
        DeleteTree(HKEY_CURRENT_USER, inheritingKey);
        DeleteTree(HKEY_LOCAL_MACHINE, startingKey);
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\KeyreapStarting");
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\Classes\\Keyreap.Starting");
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\KeyreapChild");
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\KeyreapChild");
    }

    // HKLM\Software, as the program sees it.
    std::wstring Software() const { return Is32Bit() ? L"HKLM\\Software\\Wow6432Node" : L"HKLM\\Software"; }
    RegistryTree InheritedFrom(UINT errorMode) const;
    void ExpectNumberedSetToBeTheCurrentOne() const;
    void ExpectNumberedSetToBeAnother() const;
};

TEST_P(TracedProgram, ThatDoesNothingGivesTheHeaderAndLeavesTheRegistryUnchanged) {
    ExpectCapture(L"empty.exe", L"trace", Document(L""));
}

TEST_P(TracedProgram, ThatOnlyImportsModulesOfTheSystemGivesTheHeaderAndLeavesTheRegistryUnchanged) {
    ExpectCapture(L"importing.exe", L"trace", Document(L""));
}

TEST_P(TracedProgram, GivesWhatItsOwnLibraryWroteBeforeTheEntryPointAndLeavesNothingOfIt) {
    ExpectCapture(L"starting.exe", L"trace",
                  Document(L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapStarting]\r\n"
                           L"\"DllMain\"=\"attached\"\r\n"
                           L"\r\n[HKEY_LOCAL_MACHINE\\Software\\KeyreapStarting\\Empty]\r\n"
                           L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapStarting]\r\n"
                           L"\"static constructor\"=\"constructed\"\r\n"
                           L"\r\n[HKEY_CLASSES_ROOT\\Keyreap.Starting\\CLSID]\r\n"
                           L"@=\"{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D23}\"\r\n"));
}

// The first write of a start is the system's, the second one is the library's.
TEST_P(TracedProgram, WhoseLibraryRepeatsWhatTheSystemWritesAtEachStartGivesIt) {
    const std::wstring key = L"System\\CurrentControlSet\\Control\\TimeZoneInformation";
    const RegistryTree before = ReadTree(HKEY_LOCAL_MACHINE, key);
    EXPECT_EQ(Trace(L"repeating.exe"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(L"\r\n[HKEY_LOCAL_MACHINE\\" + key +
                                                 L"]\r\n\"StandardName\"=\"the server's own\"\r\n")));
    EXPECT_NE(ReadTree(HKEY_LOCAL_MACHINE, key), before);
    SetValues(HKEY_LOCAL_MACHINE, key, before.at(L""));
}

TEST_P(TracedProgram, ThatIgnoresTheSwitchAndReadsGivesTheHeader) {
    ExpectCapture(L"reading.exe", L"trace", Document(L""));
}

TEST_P(TracedProgram, ThatShowsAWindowGivesTheHeaderAndLeavesTheRegistryUnchanged) {
    ExpectCapture(L"windowed.exe", L"trace", Document(L""));
}

// What the program records if a process with this error mode starts it.
RegistryTree TracedProgram::InheritedFrom(UINT errorMode) const {
    const InheritedErrorMode mode(errorMode);
    RunLine(Quoted(Target(L"inheriting.exe")) + L" /REGSERVER");
    RegistryTree recorded = ReadTree(HKEY_CURRENT_USER, inheritingKey);
    DeleteTree(HKEY_CURRENT_USER, inheritingKey);
    return recorded;
}

// Windows passes the mode on to a child. Wine doesn't, so there the child has 0 from any parent.
TEST_P(TracedProgram, InheritsAModeInWhichErrorsOpenNoBoxes) {
    const DWORD inherited = InheritedFrom(0x8001) == InheritedFrom(0) ? 0 : 0x8001;
    EXPECT_EQ(InheritedFrom(0x8001), (RegistryTree{{L"", {{L"error mode", NumberValue(inherited)}}}}));
    const InheritedErrorMode boxes(0);
    ExpectCapture(
        L"inheriting.exe", L"trace",
        Document(L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapInheriting]\r\n\"error mode\"=dword:0000" +
                 std::wstring(inherited == 0 ? L"0000" : L"8001") + L"\r\n"));
}

TEST_P(TracedProgram, GivesWhatItWroteAndLeavesNothingOfIt) {
    ExpectCapture(L"writing.exe", L"trace", Golden("writing-traced.reg", PathsOf(Target(L"writing.exe"))));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(TracedProgram, IsTracedInEveryMode) {
    const Bytes result = Golden("writing-traced.reg", PathsOf(Target(L"writing.exe")));
    for (const wchar_t* mode : {L"keyRedir", L"both", L""}) {
        EXPECT_EQ(Trace(L"writing.exe", mode), 0U) << mode;
        EXPECT_TRUE(Holds(Work(L"out.reg"), result)) << mode;
    }
}

TEST_P(TracedProgram, GivesTheSameBytesEachTime) {
    EXPECT_EQ(Trace(L"handles.exe"), 0U);
    const std::optional<Bytes> first = ReadBytes(Work(L"out.reg"));
    EXPECT_EQ(Trace(L"handles.exe"), 0U);
    EXPECT_EQ(ReadBytes(Work(L"out.reg")), first);
}

// A machine that already had some of the keys loses by the removal: values that were overwritten or deleted,
// and keys without subkeys in which a value was written, with all their other values.
TEST_P(TracedProgram, LosesOverwrittenAndDeletedValuesAndTheirNeighboursInLeafKeys) {
    const std::wstring key = writingKey;
    SetText(HKEY_CURRENT_USER, key, L"overwritten", L"before");
    SetText(HKEY_CURRENT_USER, key, L"deleted", L"before");
    SetText(HKEY_CURRENT_USER, key, L"neighbour", L"stays, for the key has a subkey that stays");
    SetText(HKEY_CURRENT_USER, key + L"\\Stays", L"", L"untouched");
    SetText(HKEY_CURRENT_USER, key + L"\\Deleted", L"", L"deleted with its key");
    SetText(HKEY_CURRENT_USER, key + L"\\Value deleted", L"deleted", L"before");
    SetText(HKEY_CURRENT_USER, key + L"\\Value deleted", L"neighbour", L"lost");
    SetText(HKEY_CURRENT_USER, key + L"\\Parent", L"neighbour", L"lost with the last subkey");
    SetText(HKEY_CURRENT_USER, key + L"\\Only opened", L"neighbour", L"lost, for the key counts as made");
    const std::wstring shown = L" HKCU\\" + key;
    ExpectCapture(L"writing.exe", L"trace",
                  Golden("writing_over-traced.reg", PathsOf(Target(L"writing.exe"))),
                  {
                      L"-" + shown + L"\\Deleted",
                      L"-" + shown + L"\\Only opened",
                      L"-" + shown + L"\\Parent",
                      L"-" + shown + L"\\Value deleted",
                      L"!" + shown + L" [deleted]",
                      L"!" + shown + L" [overwritten]",
                  });
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, key),
              (RegistryTree{{L"", {{L"neighbour", TextValue(L"stays, for the key has a subkey that stays")}}},
                            {L"Stays", {{L"", TextValue(L"untouched")}}}}));
}

TEST_P(TracedProgram, GivesItsOwnEntriesAndNotThoseOfItsChild) {
    // The key that both wrote to is removed as a whole, with the child's value.
    ExpectCapture(L"family.exe", L"trace", Golden("family-traced.reg"),
                  {
                      L"+ HKCU\\Software\\KeyreapFamily",
                      L"+ HKCU\\Software\\KeyreapFamily\\Child",
                      L"+ " + Software() + L"\\KeyreapChild",
                  });
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, L"Software\\KeyreapFamily"),
              (RegistryTree{{L"", {}}, {L"Child", {{L"", TextValue(L"the child's")}}}}));
}

TEST_P(TracedProgram, IsTrackedThroughEveryKindOfHandle) {
    ExpectCapture(L"handles.exe", L"trace", Golden("handles-traced.reg"));
}

TEST_P(TracedProgram, ThatWritesToTheOtherViewGivesFillersAndLeavesThoseKeys) {
    const std::wstring other = Is32Bit() ? L"" : L"Wow6432Node\\";
    const std::wstring classId = L"CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D22}";
    ExpectCapture(L"otherview.exe", L"trace", Golden("otherview-traced.reg"),
                  {
                      L"+ HKLM\\Software\\Classes\\" + other + classId,
                      L"+ HKLM\\Software\\" + other + L"KeyreapBothViews",
                      L"+ HKLM\\Software\\" + other + L"KeyreapOtherEmpty",
                      L"+ HKLM\\Software\\" + other + L"KeyreapOtherView",
                  });
    // Where the node's name stays in the name of the key, the keys below it are found and removed.
    const RegistryTree left = {
        {L"", {{L"in both", TextValue(L"other view")}, {L"in the other", TextValue(L"other view")}}}};
    EXPECT_EQ(ReadTree(HKEY_LOCAL_MACHINE, L"Software\\" + other + L"KeyreapBothViews"),
              HostIsStrict() && !Is32Bit() ? RegistryTree() : left);
    for (const wchar_t* name : {L"KeyreapBothViews", L"KeyreapOtherEmpty", L"KeyreapOtherView"}) {
        DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\" + other + name);
    }
    DeleteTree(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + other + classId);
}

// The trace reads and removes the value that the program would see without the flag for the other view.
TEST_P(TracedProgram, ThatWritesToTheOtherViewCostsItsOwnViewTheValueOfTheSameName) {
    const std::wstring own =
        Is32Bit() ? L"Software\\Wow6432Node\\KeyreapOtherView" : L"Software\\KeyreapOtherView";
    const std::wstring other =
        Is32Bit() ? L"Software\\KeyreapOtherView" : L"Software\\Wow6432Node\\KeyreapOtherView";
    SetText(HKEY_LOCAL_MACHINE, own, L"", L"there before");
    SetText(HKEY_LOCAL_MACHINE, own + L"\\Stays", L"", L"so that the key stays");
    EXPECT_EQ(Trace(L"otherview.exe"), 0U);
    // The node's name in capitals stays in the name of the key, so its own view is read and cleared.
    const bool keepsTheNode = HostIsStrict() && !Is32Bit();
    const RegistryValues ofBefore = {{L"", TextValue(L"there before")}};
    const std::wstring text = keepsTheNode ? L"other view" : L"there before";
    EXPECT_NE(ReadUnits(Work(L"out.reg"))
                  .find(L"[HKEY_LOCAL_MACHINE\\Software\\KeyreapOtherView]\r\n@=\"" + text + L"\"\r\n"),
              std::wstring::npos);
    EXPECT_EQ(ReadTree(HKEY_LOCAL_MACHINE, own),
              (RegistryTree{{L"", keepsTheNode ? ofBefore : RegistryValues()},
                            {L"Stays", {{L"", TextValue(L"so that the key stays")}}}}));
    EXPECT_EQ(ReadTree(HKEY_LOCAL_MACHINE, other),
              keepsTheNode ? RegistryTree() : (RegistryTree{{L"", {{L"", TextValue(L"other view")}}}}));
    for (const wchar_t* view : {L"Software\\", L"Software\\Wow6432Node\\"}) {
        for (const wchar_t* name : {L"KeyreapBothViews", L"KeyreapOtherEmpty", L"KeyreapOtherView"}) {
            DeleteTree(HKEY_LOCAL_MACHINE, std::wstring(view) + name);
        }
    }
}

TEST_P(TracedProgram, ThatCreatesOnlyKeysOfTheControlSetGivesTheHeaderAndLeavesThem) {
    const std::wstring key = RealControlSet() + L"\\Services\\KeyreapServices";
    ExpectCapture(L"services.exe", L"trace", Document(L""), {L"+ HKLM\\" + key});
    DeleteTree(HKEY_LOCAL_MACHINE, key);
}

// A write to a numbered control set counts as one to the current set. If the current set is a link, the two
// are the same keys.
void TracedProgram::ExpectNumberedSetToBeTheCurrentOne() const {
    ExpectCapture(L"numbered.exe", L"trace",
                  Document(L"\r\n[" + currentServices + L"\\KeyreapNumbered]\r\n@=\"first set\"\r\n\r\n[" +
                           currentServices + L"\\KeyreapServices\\Empty]\r\n"));
}

// Where the two are different keys, the write replaces real writes to the current set. Its value is not found
// there, so the result has a filler.
void TracedProgram::ExpectNumberedSetToBeAnother() const {
    const std::wstring numbered = L"System\\ControlSet001";
    const std::wstring current = L"System\\CurrentControlSet\\Services\\KeyreapServices";
    ExpectCapture(L"numbered.exe", L"trace",
                  Document(L"\r\n[" + currentServices + L"\\KeyreapNumbered]\r\n@=\"" +
                           std::wstring(10, L'\x5555') + L"\"\r\n"),
                  {
                      L"+ HKLM\\" + numbered,
                      L"+ HKLM\\" + numbered + L"\\Services",
                      L"+ HKLM\\" + numbered + L"\\Services\\KeyreapNumbered",
                      L"+ HKLM\\" + current,
                      L"+ HKLM\\" + current + L"\\Empty",
                  });
    DeleteTree(HKEY_LOCAL_MACHINE, numbered);
    DeleteTree(HKEY_LOCAL_MACHINE, current);
}

TEST_P(TracedProgram, ThatWritesToANumberedControlSetIsReadInTheCurrentOne) {
    if (CurrentControlSetIsLink()) {
        ExpectNumberedSetToBeTheCurrentOne();
    } else {
        ExpectNumberedSetToBeAnother();
    }
}

TEST_P(TracedProgram, WithATypeLibraryGivesBothUnderTheProgramsName) {
    const std::wstring program = Target(L"typelibone.exe");
    ExpectCapture(L"typelibone.exe", L"trace", Golden(OwnGolden("typelibone-traced"), PathsOf(program)),
                  InterfaceOfTheOtherView());
    EXPECT_EQ(TemporaryFiles(), nothing);
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TracedProgram, testing::ValuesIn(routes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
