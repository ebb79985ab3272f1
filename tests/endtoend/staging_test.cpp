#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/sharefolder.h"
#include "tests/endtoend/harness/workbench.h"

#include <cwctype>

namespace keyreap::endtoend {

namespace {

std::wstring HexOfUnits(const std::wstring& text) {
    constexpr wchar_t digits[] = L"0123456789abcdef";
    std::wstring hex;
    for (const unsigned unit : text) {
        hex += {digits[unit >> 4 & 15],  digits[unit & 15],      L',',
                digits[unit >> 12 & 15], digits[unit >> 8 & 15], L','};
    }
    return hex;
}

// The bytes of the units as a binary value is written, in several lines.
std::wstring HexLines(const std::wstring& text) {
    constexpr std::size_t lineLength = 25 * 3;
    const std::wstring hex = HexOfUnits(text);
    std::wstring lines;
    for (std::size_t at = 0; at < hex.size(); at += lineLength) {
        lines += (at == 0 ? L"" : L"\\\r\n  ") + hex.substr(at, lineLength);
    }
    lines.pop_back();
    return lines;
}

std::wstring InCapitals(std::wstring text) {
    for (wchar_t& unit : text) {
        unit = static_cast<wchar_t>(std::towupper(unit));
    }
    return text;
}

std::wstring WithSlashes(std::wstring text) {
    for (wchar_t& unit : text) {
        unit = unit == L'\\' ? L'/' : unit;
    }
    return text;
}

// The result of the sample `selfpath` when `registered` is loaded instead of `given`.
Bytes SelfPathDocument(const std::wstring& registered, const std::wstring& given) {
    const std::wstring folder = Doubled(ParentOf(given));
    const std::wstring file = Doubled(given);
    const std::wstring key = L"[HKEY_CLASSES_ROOT\\Keyreap.SelfPath";
    return Document(
        L"\r\n[HKEY_CLASSES_ROOT]\r\n\r\n" + key + L"]\r\n@=\"" + file + L"\"\r\n\"binary\"=hex:" +
        HexLines(registered) + L"\r\n\"capitals\"=\"" + Doubled(InCapitals(registered)) +
        L"\"\r\n\"expand\"=hex(2):" + HexOfUnits(registered) + L"00,00\r\n\"folder\"=\"" + folder +
        L"\"\r\n\"folder with backslash\"=\"" + folder + L"\\\\\"\r\n\"list\"=hex(7):" +
        HexOfUnits(registered) + L"00,00,00,00\r\n\"name " + Doubled(registered) +
        L"\"=\"value name\"\r\n\"neighbour\"=\"" + folder + L"\\\\neighbour.dll\"\r\n\"quoted\"=\"\\\"" +
        file + L"\\\" /automation\"\r\n\"slashes\"=\"" + WithSlashes(registered) + L"\"\r\n\"twice\"=\"" +
        file + L";" + file + L"\"\r\n\"with number\"=\"" + file + L",-101\"\r\n\r\n" + key + L"\\key " +
        WithSlashes(registered) + L"]\r\n@=\"key name\"\r\n" +
        L"\r\n[HKEY_CURRENT_USER]\r\n\r\n[HKEY_USERS]\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n"
        L"\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Classes]\r\n");
}

class Share : public Workbench, public testing::WithParamInterface<Route> {
protected:
    std::wstring Unc(const std::wstring& name) const { return folder.Unc(name); }
    std::wstring Local(const std::wstring& name) const { return folder.Local(name); }
    bool Put(const std::wstring& sample, const std::wstring& name) const {
        return Copy(Sample(GetParam().target, sample), Local(name));
    }
    DWORD CaptureOf(const std::wstring& file) const {
        return Capture(GetParam().program, file, Work(L"out.reg"));
    }
    // The staged copy's path. It stays in the result as a value name of the sample `selfpath`, since names
    // are not mapped back.
    std::wstring StagedPath() const {
        const std::wstring text = ReadUnits(Work(L"out.reg"));
        const std::wstring label = L"\"name ";
        const std::size_t begin = text.find(label) + label.size();
        std::wstring path = text.substr(begin, text.find(L"\"=", begin) - begin);
        for (std::size_t at = path.find(L"\\\\"); at != std::wstring::npos; at = path.find(L"\\\\", at + 1)) {
            path.erase(at, 1);
        }
        return path;
    }

private:
    ShareFolder folder;
};

TEST_P(Share, AnInputOnItIsRegisteredFromACopyAndNamedAsGiven) {
    ASSERT_TRUE(Put(L"selfpath.dll", L"selfpath.dll"));
    EXPECT_EQ(CaptureOf(Unc(L"selfpath.dll")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), SelfPathDocument(StagedPath(), Unc(L"selfpath.dll"))));
}

TEST_P(Share, TheCopyKeepsItsNameInANewFolderOfTheTemporaryDirectory) {
    ASSERT_TRUE(Put(L"selfpath.dll", L"My Server.ocx"));
    EXPECT_EQ(CaptureOf(Unc(L"My Server.ocx")), 0U);
    const std::wstring staged = StagedPath();
    EXPECT_EQ(NameOf(staged), L"My Server.ocx");
    EXPECT_EQ(ParentOf(ParentOf(staged)), TemporaryFolder());
    EXPECT_EQ(NameOf(ParentOf(staged)).substr(0, 3), L"UNC");
}

TEST_P(Share, TheCopyIsRemovedAndTheInputStays) {
    ASSERT_TRUE(Put(L"plain.dll", L"plain.dll"));
    EXPECT_EQ(CaptureOf(Unc(L"plain.dll")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
    EXPECT_EQ(TemporaryFiles(), nothing);
    EXPECT_EQ(ReadBytes(Local(L"plain.dll")), ReadBytes(Sample(GetParam().target, L"plain.dll")));
}

TEST_P(Share, NeighboursAreNotCopied) {
    ASSERT_TRUE(Put(L"neighbour.dll", L"neighbour.dll"));
    ASSERT_TRUE(Put(L"neighbourlib.dll", L"neighbourlib.dll"));
    EXPECT_EQ(CaptureOf(Unc(L"neighbour.dll")), statusFailed);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    // Wine keeps a library open that failed to load, so the copy itself may still exist.
    for (const std::wstring& file : TemporaryFiles()) {
        EXPECT_NE(NameOf(file), L"neighbourlib.dll");
    }
    EXPECT_EQ(CaptureOf(Local(L"neighbour.dll")), 0U);
}

TEST_P(Share, AMissingInputFailsAndLeavesNothing) {
    EXPECT_EQ(CaptureOf(Unc(L"missing.dll")), statusFailed);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

// The copy then has no folder, only its name.
TEST_P(Share, WithoutATemporaryDirectoryTheCopyReplacesAFileOfTheCurrentOneAndIsRemoved) {
    ASSERT_TRUE(Put(L"selfpath.dll", L"selfpath.dll"));
    RemoveDirectoryWithContents(TemporaryFolder());
    MakeDirectory(Work(L"current"));
    ASSERT_TRUE(WriteText(Work(L"current\\selfpath.dll"), "of the caller"));
    const std::wstring line = CaptureLine(GetParam().program, Unc(L"selfpath.dll"), Work(L"out.reg"));
    EXPECT_EQ(RunLine(line, Work(L"current")), 0U);
    EXPECT_EQ(StagedPath(), Work(L"current\\selfpath.dll"));
    EXPECT_EQ(ListTree(Work(L"current")), nothing);
}

TEST_P(Share, AnInputByItsLocalNameIsNotCopied) {
    ASSERT_TRUE(Put(L"selfpath.dll", L"selfpath.dll"));
    EXPECT_EQ(CaptureOf(L"\\\\?\\" + Local(L"selfpath.dll")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), SelfPathDocument(Local(L"selfpath.dll"), Local(L"selfpath.dll"))));
}

TEST_P(Share, AnOutputOnItIsWrittenThere) {
    EXPECT_EQ(Capture(GetParam().program, Sample(GetParam().target, L"plain.dll"), Unc(L"out.reg")), 0U);
    EXPECT_TRUE(Holds(Local(L"out.reg"), Golden("plain.reg")));
}

TEST_P(Share, ACrashLeavesTheCopy) {
    ASSERT_TRUE(Put(L"pausing.dll", L"pausing.dll"));
    const SharedEvent reached(L"KeyreapPausing.Reached");
    RunningProgram program(Quoted(Keyreap(GetParam().target)) + L" extreg " +
                           Pair(Unc(L"pausing.dll"), Work(L"out.reg")) + L" keyRedir");
    reached.Wait();
    program.Kill();
    const Lines left = TemporaryFiles();
    ASSERT_EQ(left.size(), 2U);
    EXPECT_EQ(left[0].substr(0, 3), L"UNC");
    EXPECT_EQ(left[1], left[0] + L"pausing.dll");
}

INSTANTIATE_TEST_SUITE_P(Inputs, Share, testing::ValuesIn(routes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
