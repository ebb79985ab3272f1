// Servers that use Wow6432Node as a name, captured with a trace. The trace takes a key and the key of the
// same name below Wow6432Node for one key, and looks for its values under the plain name.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

#include <algorithm>

namespace keyreap::endtoend {

namespace {

const std::wstring classKey = L"\r\n[HKEY_CLASSES_ROOT\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D30}]\r\n";
const std::wstring settingsKey = L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Keyreap\\Nodes]\r\n";
const std::wstring filler(10, L'\x5555');
const Lines keysBelowTheNodes = {
    L"+ HKLM\\Software\\Classes\\Wow6432Node\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D30}",
    L"+ HKLM\\Software\\Wow6432Node\\Keyreap", L"+ HKLM\\Software\\Wow6432Node\\Keyreap\\Nodes"};

class TracedNodes : public TracedSession {
protected:
    ~TracedNodes() override {
        for (const wchar_t* path :
             {L"Software\\Keyreap", L"Software\\Wow6432Node\\Keyreap",
              L"Software\\Classes\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D30}",
              L"Software\\Classes\\Wow6432Node\\CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D30}"}) {
            DeleteTree(HKEY_LOCAL_MACHINE, path);
        }
    }
    DWORD TraceInOneRun(const std::wstring& first, const std::wstring& second, const wchar_t* mode) const {
        return RunKeyreap(GetParam().program, L"extreg " + Pair(Target(first), Work(L"first.reg")) + L" " +
                                                  Pair(Target(second), Work(L"second.reg")) + L" " + mode);
    }
    // The two keys in either order, since the order of the places that they were redirected to is not fixed.
    testing::AssertionResult HoldsKeys(const std::wstring& file, const std::wstring& one,
                                       const std::wstring& other) const {
        const testing::AssertionResult inOrder = Holds(Work(file), Document(one + other));
        return inOrder ? inOrder : Holds(Work(file), Document(other + one));
    }
};

TEST_P(TracedNodes, GiveThePlainKeysDataByDefaultAndAFillerForWhatIsOnlyBelowTheNode) {
    EXPECT_EQ(Trace(L"plainfirst.dll", L"both"), 0U);
    EXPECT_TRUE(HoldsKeys(L"out.reg", classKey + L"@=\"plain\"\r\n",
                          settingsKey + L"@=\"plain\"\r\n\"name\"=\"" + filler + L"\"\r\n"));
}

TEST_P(TracedNodes, LeaveNothingByDefaultForTheNextPairTheRegistryOrTheTree) {
    for (const wchar_t* name : {L"plainfirst.dll", L"nodesfirst.dll"}) {
        const SavedRegistry before;
        EXPECT_EQ(TraceInOneRun(name, L"plain.dll", L"both"), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"second.reg"), Golden("plain-traced.reg"))) << name;
        EXPECT_EQ(TraceInOneRun(name, L"plain.dll", L"keyRedir"), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"second.reg"), Golden("plain.reg"))) << name;
        EXPECT_TRUE(before.Changed(nothing)) << name;
    }
}

// For a 32-bit server both names are one key of the live registry. For a 64-bit one they are two keys, and
// its entries below the node stay, as all entries in the other view do.
TEST_P(TracedNodes, OfTheLiveRegistryAreThePlainKeysOnlyOf32BitServers) {
    const SavedRegistry before;
    const std::wstring data = Is32Bit() ? L"@=\"explicit\"\r\n" : L"@=\"plain\"\r\n";
    const std::wstring ofName = L"\"name\"=\"" + (Is32Bit() ? L"alone" : filler) + L"\"\r\n";
    EXPECT_EQ(TraceInOneRun(L"plainfirst.dll", L"plain.dll", L"trace"), 0U);
    EXPECT_TRUE(HoldsKeys(L"first.reg", classKey + data, settingsKey + data + ofName));
    EXPECT_TRUE(Holds(Work(L"second.reg"), Golden("plain-traced.reg")));
    EXPECT_TRUE(before.Changed(Is32Bit() ? nothing : keysBelowTheNodes));
}

TEST_P(TracedNodes, Of64BitServersDoNotAffectTheCompanionByDefault) {
    for (const wchar_t* name : {L"plainfirst.dll", L"nodesfirst.dll"}) {
        // As on a machine where the program never ran: the tree stays for the companion's session to clear.
        ForgetEarlierRuns();
        EXPECT_EQ(RunKeyreap(Bitness::x64, L"extreg " + Pair(Sample(Bitness::x64, name), Work(L"x64.reg")) +
                                               L" " + Pair(Target(L"plain.dll"), Work(L"second.reg")) +
                                               L" both"),
                  0U);
        EXPECT_TRUE(Holds(Work(L"second.reg"), Golden("plain-traced.reg"))) << name;
        EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TracedNodes, testing::ValuesIn(nativeRoutes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
