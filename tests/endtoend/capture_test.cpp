#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

// The result of a target that wrote to one key of the classes.
Bytes DocumentOfClass(const std::wstring& key, const std::wstring& values) {
    const std::wstring classes = L"\r\n[HKEY_CLASSES_ROOT]\r\n";
    return Document(classes + L"\r\n[HKEY_CLASSES_ROOT\\" + key + L"]\r\n" + values +
                    RedirectedRoots().substr(classes.size()));
}

// The result of the sample `apartment` in the main apartment of a process.
Bytes ApartmentDocument(const std::wstring& thread) {
    return DocumentOfClass(L"Keyreap.Apartment",
                           L"\"apartment\"=dword:00000003\r\n\"thread\"=\"" + thread + L"\"\r\n");
}

class Capture : public Workbench, public testing::WithParamInterface<Route> {
protected:
    std::wstring Server(const std::wstring& name) const { return Sample(GetParam().target, name); }
    DWORD CaptureOf(const std::wstring& file) const {
        return Workbench::Capture(GetParam().program, file, Work(L"out.reg"));
    }
    // The start time of the thread that the sample `apartment` was registered on.
    std::wstring ThreadIn(const std::wstring& regFile) const {
        const std::wstring text = ReadUnits(regFile);
        const std::wstring label = L"\"thread\"=\"";
        const std::size_t begin = text.find(label) + label.size();
        return text.substr(begin, text.find(L'"', begin) - begin);
    }
    // The golden file of this bitness.
    Bytes GoldenOf(const std::string& name, const std::wstring& module) const {
        const char* suffix = GetParam().target == Bitness::x64 ? "-x64.reg" : "-x86.reg";
        return Golden(name + suffix, PathsOf(module));
    }
};

TEST_P(Capture, EqualsTheGoldenFileByteForByte) {
    for (const std::string name : {"everytype", "texts", "names", "keys", "surroundings", "failing", "silent",
                                   "plain", "neighbour", "peruser"}) {
        EXPECT_EQ(CaptureOf(Server(std::wstring(name.begin(), name.end()) + L".dll")), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden(name + ".reg"))) << name;
    }
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(Capture, OfAWholeServerContainsItsClassItsProgIdAndItsTypeLibrary) {
    const std::wstring module = Server(L"calculator.dll");
    EXPECT_EQ(CaptureOf(module), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), GoldenOf("calculator", module)));
}

TEST_P(Capture, SeesLoadingAndRegisteringButNotUnloading) {
    DeleteTree(HKEY_CURRENT_USER, L"Software\\KeyreapLifetime");
    EXPECT_EQ(CaptureOf(Server(L"lifetime.dll")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("lifetime.reg")));
    const RegistryTree live = ReadTree(HKEY_CURRENT_USER, L"Software\\KeyreapLifetime");
    EXPECT_EQ(live, (RegistryTree{{L"", {{L"unloaded", NumberValue(1)}}}}));
    DeleteTree(HKEY_CURRENT_USER, L"Software\\KeyreapLifetime");
}

// The first single-threaded apartment of a process is its main apartment. Every file gets that one only if
// the main thread never enters COM and the previous file's apartment has ended.
TEST_P(Capture, GivesEachFileItsOwnThreadAndApartment) {
    const std::wstring server = Server(L"apartment.dll");
    EXPECT_EQ(RunKeyreap(GetParam().program, L"extreg " + Pair(server, Work(L"a.reg")) + L" " +
                                                 Pair(server, Work(L"b.reg")) + L" keyRedir"),
              0U);
    for (const wchar_t* regFile : {L"a.reg", L"b.reg"}) {
        EXPECT_TRUE(Holds(Work(regFile), ApartmentDocument(ThreadIn(Work(regFile))))) << regFile;
    }
    EXPECT_NE(ThreadIn(Work(L"a.reg")), ThreadIn(Work(L"b.reg")));
}

TEST_P(Capture, RegistersInAProcessWhoseErrorsOpenNoBoxes) {
    const InheritedErrorMode boxes(0);
    EXPECT_EQ(CaptureOf(Server(L"errormode.dll")), 0U);
    EXPECT_TRUE(
        Holds(Work(L"out.reg"), DocumentOfClass(L"Keyreap.ErrorMode", L"\"mode\"=dword:00008001\r\n")));
}

TEST_P(Capture, IgnoresTheExtensionOfALibrary) {
    for (const wchar_t* name : {L"plain.ocx", L"plain.xyz", L"plain.exe", L"plain.EXE", L"plain.tlb"}) {
        ASSERT_TRUE(Copy(Server(L"plain.dll"), Work(name)));
        EXPECT_EQ(CaptureOf(Work(name)), 0U) << name;
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg"))) << name;
    }
}

TEST_P(Capture, OfAFileWithNothingToRunFailsAndWritesNothing) {
    ASSERT_TRUE(WriteText(Work(L"text.dll"), "no image"));
    ASSERT_TRUE(WriteText(Work(L"empty.dll"), ""));
    const std::wstring files[] = {Server(L"byordinal.dll"),    Server(L"othercase.dll"),
                                  Server(L"resourceonly.dll"), Server(L"orphan.dll"),
                                  Work(L"text.dll"),           Work(L"empty.dll"),
                                  Work(L"missing.dll"),        Work(L"temp")};
    for (const std::wstring& file : files) {
        EXPECT_EQ(CaptureOf(file), statusFailed) << file;
        EXPECT_FALSE(Exists(Work(L"out.reg"))) << file;
    }
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(Capture, ThatFailsLeavesAnEarlierOutputUnchanged) {
    ASSERT_TRUE(WriteText(Work(L"out.reg"), "from before"));
    EXPECT_EQ(CaptureOf(Server(L"orphan.dll")), statusFailed);
    EXPECT_EQ(ReadBytes(Work(L"out.reg")), Bytes({'f', 'r', 'o', 'm', ' ', 'b', 'e', 'f', 'o', 'r', 'e'}));
}

TEST_P(Capture, CreatesTheTemporaryTreeEvenWhenThereIsNothingToRun) {
    EXPECT_EQ(CaptureOf(Server(L"resourceonly.dll")), statusFailed);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, std::wstring(temporaryKey) + L"\\HKLM\\Software\\Classes"));
}

INSTANTIATE_TEST_SUITE_P(Samples, Capture, testing::ValuesIn(routes), NameOfRoute);

class WrongBitness : public Workbench {};

TEST_F(WrongBitness, A64BitServerGivenToThe32BitBuildFailsToLoad) {
    EXPECT_EQ(Capture(Bitness::x86, Sample(Bitness::x64, L"plain.dll"), Work(L"out.reg")), statusFailed);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
}

} // namespace

} // namespace keyreap::endtoend
