// Servers that use Wow6432Node as a name, captured by redirection. Where a key has a subkey of that name,
// Wine looks up a 32-bit process's path below it. Windows doesn't do that in the temporary tree.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

std::wstring Key(const std::wstring& name, const std::wstring& values = L"") {
    return L"\r\n[HKEY_" + name + L"]\r\n" + values;
}

const std::wstring serversClass = L"{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D30}";
const std::wstring plain = L"@=\"plain\"\r\n";
const std::wstring explicitly = L"@=\"explicit\"\r\n";
const std::wstring onlyBelowNode = L"\"name\"=\"alone\"\r\n";

std::wstring Classes() {
    return Key(L"CLASSES_ROOT") + Key(L"CLASSES_ROOT\\CLSID") +
           Key(L"CLASSES_ROOT\\CLSID\\" + serversClass, plain) + Key(L"CLASSES_ROOT\\Wow6432Node") +
           Key(L"CLASSES_ROOT\\Wow6432Node\\CLSID") +
           Key(L"CLASSES_ROOT\\Wow6432Node\\CLSID\\" + serversClass, explicitly) + Key(L"CURRENT_USER") +
           Key(L"USERS") + Key(L"LOCAL_MACHINE") + Key(L"LOCAL_MACHINE\\Software") +
           Key(L"LOCAL_MACHINE\\Software\\Classes");
}

std::wstring Node(const std::wstring& values) {
    return Key(L"LOCAL_MACHINE\\Software\\Wow6432Node") +
           Key(L"LOCAL_MACHINE\\Software\\Wow6432Node\\Keyreap") +
           Key(L"LOCAL_MACHINE\\Software\\Wow6432Node\\Keyreap\\Nodes", values);
}

// The result where plain keys and those below the nodes are different keys.
Bytes SeparateKeys() {
    return Document(Classes() + Key(L"LOCAL_MACHINE\\Software\\Keyreap") +
                    Key(L"LOCAL_MACHINE\\Software\\Keyreap\\Nodes", plain) +
                    Node(explicitly + onlyBelowNode));
}

// The result of `nodesfirst`. Under Wine the plain key of a 32-bit server that creates the node first is
// stored below the node.
Bytes DocumentOfNodesFirst(Bitness target) {
    const bool onWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    return target == Bitness::x86 && onWine ? Document(Classes() + Node(plain + onlyBelowNode))
                                            : SeparateKeys();
}

class Nodes : public Workbench, public testing::WithParamInterface<Route> {
protected:
    std::wstring Server(const std::wstring& name) const { return Sample(GetParam().target, name); }
    DWORD CaptureOf(const std::wstring& name) const {
        return Workbench::Capture(GetParam().program, Server(name), Work(L"out.reg"));
    }
    DWORD CaptureInOneRun(const std::wstring& first, const std::wstring& second) const {
        return RunKeyreap(GetParam().program, L"extreg " + Pair(first, Work(L"first.reg")) + L" " +
                                                  Pair(second, Work(L"second.reg")) + L" keyRedir");
    }
    static bool TreeIsGone() { return !KeyExists(HKEY_CURRENT_USER, temporaryKey); }
};

TEST_P(Nodes, AreOrdinaryNamesWhenThePlainNamesComeFirst) {
    EXPECT_EQ(CaptureOf(L"plainfirst.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), SeparateKeys()));
}

TEST_P(Nodes, ThatComeFirstReplaceThePlainNamesOf32BitServersOnly) {
    EXPECT_EQ(CaptureOf(L"nodesfirst.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), DocumentOfNodesFirst(GetParam().target)));
}

TEST_P(Nodes, AreGoneWithTheirTreeFromTheSecondRunOn) {
    for (const wchar_t* name : {L"plainfirst.dll", L"nodesfirst.dll"}) {
        EXPECT_EQ(CaptureOf(name), 0U) << name;
        EXPECT_EQ(CaptureOf(L"plain.dll"), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg"))) << name;
        EXPECT_TRUE(TreeIsGone()) << name;
    }
}

TEST_P(Nodes, DoNotAffectTheNextPair) {
    for (const wchar_t* name : {L"plainfirst.dll", L"nodesfirst.dll"}) {
        // As on a machine where the program never ran: the tree stays for the second session to clear.
        ForgetEarlierRuns();
        EXPECT_EQ(CaptureInOneRun(Server(name), Server(L"plain.dll")), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"second.reg"), Golden("plain.reg"))) << name;
        EXPECT_TRUE(TreeIsGone()) << name;
    }
}

TEST_P(Nodes, AreTheSameInTheNextPairOfTheSameServer) {
    EXPECT_EQ(CaptureInOneRun(Server(L"plainfirst.dll"), Server(L"plainfirst.dll")), 0U);
    EXPECT_TRUE(Holds(Work(L"first.reg"), SeparateKeys()));
    EXPECT_TRUE(Holds(Work(L"second.reg"), SeparateKeys()));
}

INSTANTIATE_TEST_SUITE_P(ByRoute, Nodes, testing::ValuesIn(routes), NameOfRoute);

class NodesOf64BitServers : public Workbench {};

TEST_F(NodesOf64BitServers, DoNotAffectTheCompanion) {
    for (const wchar_t* name : {L"plainfirst.dll", L"nodesfirst.dll"}) {
        ForgetEarlierRuns();
        EXPECT_EQ(RunKeyreap(Bitness::x64,
                             L"extreg " + Pair(Sample(Bitness::x64, name), Work(L"x64.reg")) + L" " +
                                 Pair(Sample(Bitness::x86, L"plain.dll"), Work(L"x86.reg")) + L" keyRedir"),
                  0U);
        EXPECT_TRUE(Holds(Work(L"x64.reg"), SeparateKeys())) << name;
        EXPECT_TRUE(Holds(Work(L"x86.reg"), Golden("plain.reg"))) << name;
        EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey)) << name;
    }
}

} // namespace

} // namespace keyreap::endtoend
