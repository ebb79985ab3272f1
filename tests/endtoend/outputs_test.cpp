#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

class Output : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    DWORD CaptureTo(const std::wstring& regFile) const {
        return Capture(GetParam(), Sample(GetParam(), L"plain.dll"), regFile);
    }
};

TEST_P(Output, ReplacesALongerFileOfTheSameName) {
    ASSERT_TRUE(WriteText(Work(L"out.reg"), std::string(1'000'000, 'x')));
    EXPECT_EQ(CaptureTo(Work(L"out.reg")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
}

TEST_P(Output, ThatIsLockedFailsTheRunAndStaysUnchanged) {
    ASSERT_TRUE(WriteText(Work(L"out.reg"), "locked"));
    for (const DWORD sharing : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
        const LockedFile lock(Work(L"out.reg"), sharing);
        ASSERT_TRUE(lock.IsOpen());
        EXPECT_EQ(CaptureTo(Work(L"out.reg")), statusFailed) << sharing;
    }
    EXPECT_EQ(ReadBytes(Work(L"out.reg")), Bytes({'l', 'o', 'c', 'k', 'e', 'd'}));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(Output, ThatIsLockedEndsTheRunBeforeTheNextPair) {
    ASSERT_TRUE(WriteText(Work(L"out.reg"), "locked"));
    const LockedFile lock(Work(L"out.reg"), 0);
    const std::wstring pairs = Pair(Sample(GetParam(), L"plain.dll"), Work(L"out.reg")) + L" " +
                               Pair(Sample(GetParam(), L"plain.dll"), Work(L"next.reg"));
    EXPECT_EQ(RunKeyreap(GetParam(), L"extreg " + pairs + L" keyRedir"), statusFailed);
    EXPECT_FALSE(Exists(Work(L"next.reg")));
}

TEST_P(Output, ThatCannotBeWrittenDoesNotKeepTheTemporaryTree) {
    EXPECT_EQ(CaptureTo(Work(L"out.reg")), 0U);
    EXPECT_EQ(CaptureTo(Work(L"missing\\out.reg")), statusFailed);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, productKey));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
}

TEST_P(Output, InAMissingDirectoryFailsTheRunAndCreatesNothing) {
    EXPECT_EQ(CaptureTo(Work(L"missing\\out.reg")), statusFailed);
    EXPECT_FALSE(Exists(Work(L"missing")));
}

TEST_P(Output, WithTheNameOfADirectoryFailsTheRunAndLeavesTheDirectory) {
    MakeDirectory(Work(L"out.reg"));
    EXPECT_EQ(CaptureTo(Work(L"out.reg")), statusFailed);
    EXPECT_TRUE(IsDirectory(Work(L"out.reg")));
}

TEST_P(Output, WithoutANameFailsTheRun) {
    EXPECT_EQ(CaptureTo(L""), statusFailed);
}

// From 248 characters on, the file API takes a path only with a prefix.
class Length : public Workbench, public testing::WithParamInterface<std::tuple<Bitness, std::size_t>> {
protected:
    // A path of this length in a folder that exists.
    std::wstring PathOfLength(std::size_t length, const std::wstring& name) const {
        const std::size_t padding = length - Work(L"").size() - 1 - name.size();
        const std::wstring folder =
            Work(std::wstring(padding / 2, L'f') + L"\\" + std::wstring(padding - padding / 2 - 1, L'g'));
        MakeDirectory(folder);
        return folder + L"\\" + name;
    }
    DWORD CaptureOf(const std::wstring& file, const std::wstring& regFile) const {
        return Capture(Bitness::x64, file, regFile);
    }
    Bitness Target() const { return std::get<0>(GetParam()); }
    std::size_t Characters() const { return std::get<1>(GetParam()); }
};

TEST_P(Length, OfTheOutputDoesNotMatter) {
    const std::wstring regFile = PathOfLength(Characters(), L"out.reg");
    ASSERT_EQ(regFile.size(), Characters());
    EXPECT_EQ(CaptureOf(Sample(Target(), L"plain.dll"), regFile), 0U);
    EXPECT_TRUE(Holds(regFile, Golden("plain.reg")));
}

TEST_P(Length, OfTheInputDoesNotMatter) {
    const std::wstring server = PathOfLength(Characters(), L"plain.dll");
    ASSERT_EQ(server.size(), Characters());
    ASSERT_TRUE(Copy(Sample(Target(), L"plain.dll"), server));
    EXPECT_EQ(CaptureOf(server, Work(L"out.reg")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
}

TEST_P(Length, OfTheInputDoesNotHideItsNeighbour) {
    const std::wstring server = PathOfLength(Characters(), L"neighbour.dll");
    ASSERT_TRUE(Copy(Sample(Target(), L"neighbour.dll"), server));
    ASSERT_TRUE(Copy(Sample(Target(), L"neighbourlib.dll"), ParentOf(server) + L"\\neighbourlib.dll"));
    EXPECT_EQ(CaptureOf(server, Work(L"out.reg")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("neighbour.reg")));
}

class LongLine : public Workbench {};

TEST_F(LongLine, OfTheMaximumLengthIsReadCompletely) {
    constexpr std::size_t longestLine = 32'766;
    const std::wstring server = Work(std::wstring(100, L's') + L".dll");
    ASSERT_TRUE(Copy(Sample(Bitness::x64, L"plain.dll"), server));
    const std::wstring program = Quoted(Keyreap(Bitness::x64)) + L" extreg";
    const std::wstring end = L" keyRedir";
    std::wstring pairs;
    int count = 0;
    const auto next = [&] {
        std::wstring number = std::to_wstring(count);
        return L" " + Pair(server, Work(std::wstring(200 - number.size(), L'o') + number + L".reg"));
    };
    while (program.size() + pairs.size() + next().size() + end.size() <= longestLine) {
        pairs += next();
        ++count;
    }
    const std::wstring blanks(longestLine - program.size() - pairs.size() - end.size(), L' ');
    EXPECT_EQ(RunLine(program + pairs + blanks + end), 0U);
    for (int i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        EXPECT_TRUE(
            Holds(Work(std::wstring(200 - number.size(), L'o') + number + L".reg"), Golden("plain.reg")));
    }
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, Output, testing::ValuesIn(bothBuilds), NameOfBuild);

INSTANTIATE_TEST_SUITE_P(InBothBitnesses, Length,
                         testing::Combine(testing::ValuesIn(bothBuilds),
                                          testing::Values(247U, 248U, 259U, 260U, 298U)),
                         [](const auto& test) {
                             const std::string target =
                                 std::get<0>(test.param) == Bitness::x64 ? "x64" : "x86";
                             return target + "_" + std::to_string(std::get<1>(test.param));
                         });

} // namespace

} // namespace keyreap::endtoend
