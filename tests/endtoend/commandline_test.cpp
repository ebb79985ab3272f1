#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

class CommandLine : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    DWORD RunWith(const std::wstring& arguments) const { return RunKeyreap(GetParam(), arguments); }
    std::wstring Server(const std::wstring& name) const { return Sample(GetParam(), name + L".dll"); }
    std::wstring PlainPair(const std::wstring& regFile) const {
        return Pair(Server(L"plain"), Work(regFile));
    }
};

TEST_P(CommandLine, WithoutAVerbTheStatusIsMinusOne) {
    EXPECT_EQ(RunWith(L""), statusFailed);
}

TEST_P(CommandLine, AnotherVerbEndsWithZeroAndDoesNothing) {
    for (const wchar_t* verb : {L"EXTREG", L"Extreg", L"extract", L"\"extreg \"", L"/?", L"\"\""}) {
        EXPECT_EQ(RunWith(verb + (L" " + PlainPair(L"a.reg"))), 0U) << verb;
        EXPECT_FALSE(Exists(Work(L"a.reg"))) << verb;
    }
}

TEST_P(CommandLine, TheVerbWithoutPairsEndsWithZero) {
    EXPECT_EQ(RunWith(L"extreg"), 0U);
    EXPECT_EQ(RunWith(L"extreg both"), 0U);
    EXPECT_EQ(RunWith(L"extreg garbage"), 0U);
}

TEST_P(CommandLine, ASingleFileIsTakenForAModeWordAndNothingIsCaptured) {
    EXPECT_EQ(RunWith(L"extreg " + Quoted(Server(L"orphan"))), 0U);
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(CommandLine, ThreeWordsAreAPairAndAModeWord) {
    EXPECT_EQ(RunWith(L"extreg " + PlainPair(L"a.reg") + L" keyRedir"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
}

TEST_P(CommandLine, TheModeWordIsNotCaseSensitive) {
    EXPECT_EQ(RunWith(L"extreg " + PlainPair(L"a.reg") + L" KEYREDIR"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
}

TEST_P(CommandLine, AFileInThePlaceOfTheModeWordIsSilentlyIgnored) {
    EXPECT_EQ(RunWith(L"extreg " + PlainPair(L"a.reg") + L" " + Quoted(Server(L"orphan"))), 0U);
    EXPECT_TRUE(Exists(Work(L"a.reg")));
}

TEST_P(CommandLine, PairsAreCapturedInTheirOrder) {
    const std::wstring pairs = PlainPair(L"a.reg") + L" " + Pair(Server(L"failing"), Work(L"b.reg")) + L" " +
                               Pair(Server(L"silent"), Work(L"c.reg"));
    EXPECT_EQ(RunWith(L"extreg " + pairs + L" keyRedir"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
    EXPECT_TRUE(Holds(Work(L"b.reg"), Golden("failing.reg")));
    EXPECT_TRUE(Holds(Work(L"c.reg"), Golden("silent.reg")));
}

TEST_P(CommandLine, AFailedPairEndsTheRunAndKeepsEarlierFiles) {
    const std::wstring pairs = PlainPair(L"a.reg") + L" " + Pair(Server(L"orphan"), Work(L"b.reg")) + L" " +
                               Pair(Server(L"silent"), Work(L"c.reg"));
    EXPECT_EQ(RunWith(L"extreg " + pairs + L" keyRedir"), statusFailed);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
    EXPECT_EQ(RegFiles(), Lines{L"a.reg"});
}

TEST_P(CommandLine, AFileWithoutANameFailsLikeAMissingOne) {
    // The last two are empty once they are normalised.
    for (const wchar_t* noName : {L"\"\"", L"\\", L"\\\\?\\"}) {
        for (const wchar_t* mode : {L" keyRedir", L" trace", L""}) {
            EXPECT_EQ(RunWith(std::wstring(L"extreg ") + noName + L" " + Quoted(Work(L"a.reg")) + mode),
                      statusFailed)
                << noName << mode;
            EXPECT_FALSE(Exists(Work(L"a.reg"))) << noName << mode;
        }
    }
}

TEST_P(CommandLine, TheLaterOfTwoPairsWithOneOutputWins) {
    const std::wstring pairs = Pair(Server(L"failing"), Work(L"a.reg")) + L" " + PlainPair(L"a.reg");
    EXPECT_EQ(RunWith(L"extreg " + pairs + L" keyRedir"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
}

TEST_P(CommandLine, PathsMayContainSpacesAndLettersOfAnyScript) {
    const std::wstring folder = Work(L"\u00c4 b \u65e5\u672c");
    MakeDirectory(folder);
    ASSERT_TRUE(Copy(Server(L"plain"), folder + L"\\\u00fc \u0434.dll"));
    EXPECT_EQ(Capture(GetParam(), folder + L"\\\u00fc \u0434.dll", folder + L"\\\u00e9 o.reg"), 0U);
    EXPECT_TRUE(Holds(folder + L"\\\u00e9 o.reg", Golden("plain.reg")));
}

TEST_P(CommandLine, PathsAreNormalisedBeforeTheyAreUsed) {
    ASSERT_TRUE(Copy(Server(L"plain"), Work(L"a.dll")));
    EXPECT_EQ(
        RunWith(L"extreg " + Quoted(L"\\\\?\\" + Work(L"a.dll")) + L" " + Work(L"a.reg") + L"\\\\ keyRedir"),
        0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
}

TEST_P(CommandLine, ARelativeOutputIsRelativeToTheCurrentDirectory) {
    const std::wstring line =
        Quoted(Keyreap(GetParam())) + L" extreg " + Pair(Server(L"plain"), L"a.reg") + L" keyRedir";
    EXPECT_EQ(RunLine(line, ParentOf(Work(L"a.reg"))), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
}

// The system's loader gets the name as it was given.
TEST_P(CommandLine, ALibraryNamedWithoutAFolderIsTheOneThatTheLoaderFindsFirst) {
    MakeDirectory(Work(L"program"));
    MakeDirectory(Work(L"current"));
    ASSERT_TRUE(Copy(Keyreap(GetParam()), Work(L"program\\Keyreap.exe")));
    ASSERT_TRUE(Copy(Server(L"silent"), Work(L"program\\server.dll")));
    ASSERT_TRUE(Copy(Server(L"plain"), Work(L"current\\server.dll")));
    const auto capture = [&](const std::wstring& file) {
        const std::wstring line = Quoted(Work(L"program\\Keyreap.exe")) + L" extreg ";
        return RunLine(line + Pair(file, Work(L"a.reg")) + L" keyRedir", Work(L"current"));
    };
    EXPECT_EQ(capture(L"server.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("silent.reg")));
    EXPECT_EQ(capture(L".\\server.dll"), 0U);
    EXPECT_TRUE(Holds(Work(L"a.reg"), Golden("plain.reg")));
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, CommandLine, testing::ValuesIn(bothBuilds), NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
