#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

// The 64-bit program with a companion that only records its command line.
class Companion : public Workbench {
protected:
    Companion() {
        MakeDirectory(ProgramFolder());
        MakeDirectory(RecorderFolder());
        Copy(Keyreap(Bitness::x64), Program());
        Copy(Sample(Bitness::x64, L"recordcompanion.exe"), Recorder());
        Copy(Sample(Bitness::x86, L"plain.dll"), Work(L"x86.dll"));
        Copy(Sample(Bitness::x64, L"plain.dll"), Work(L"x64.dll"));
    }

    std::wstring ProgramFolder() const { return Work(L"bin\\x64"); }
    std::wstring RecorderFolder() const { return Work(L"bin\\x86"); }
    std::wstring Program() const { return ProgramFolder() + L"\\Keyreap.exe"; }
    std::wstring Recorder() const { return RecorderFolder() + L"\\Keyreap.exe"; }

    DWORD RunWith(const std::wstring& arguments) const {
        DeleteFileW((RecorderFolder() + L"\\commandline.txt").c_str());
        return RunLine(Quoted(Program()) + L" " + arguments);
    }
    // The companion's command line; empty if it was not started.
    std::wstring Recorded() const { return ReadUnits(RecorderFolder() + L"\\commandline.txt"); }
    std::wstring Line(const std::wstring& pairs, const std::wstring& mode) const {
        return Quoted(Recorder()) + L" extreg  " + pairs + L" " + mode;
    }
    void EndCompanionWith(const std::string& status) const {
        ASSERT_TRUE(WriteText(RecorderFolder() + L"\\status.txt", status));
    }
};

TEST_F(Companion, GetsTheExactCommandLineAndItsStatusIsReturned) {
    const std::wstring pair = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    EXPECT_EQ(RunWith(L"extreg " + pair + L" keyRedir"), 7U);
    EXPECT_EQ(Recorded(), Line(pair, L"keyRedir"));
}

TEST_F(Companion, MayEndWithAnyStatusWhichIsReturnedUnchanged) {
    for (const auto& [text, status] :
         {std::pair("0", 0U), std::pair("-1", 0xFFFFFFFFU), std::pair("256", 256U), std::pair("259", 259U),
          std::pair("-2147467259", 0x80004005U)}) {
        EndCompanionWith(text);
        EXPECT_EQ(RunWith(L"extreg " + Pair(Work(L"x86.dll"), Work(L"a.reg"))), status);
    }
}

TEST_F(Companion, GetsEveryInputThatIsNotA64BitImage) {
    ASSERT_TRUE(WriteText(Work(L"text.txt"), "text"));
    ASSERT_TRUE(WriteText(Work(L"empty.dll"), ""));
    ASSERT_TRUE(WriteText(Work(L"cut.dll"), "MZ"));
    const std::wstring files[] = {Work(L"x86.dll"),
                                  Sample(Bitness::x86, L"recordcompanion.exe"),
                                  Sample(Bitness::x64, L"calculator.tlb"),
                                  Work(L"text.txt"),
                                  Work(L"empty.dll"),
                                  Work(L"cut.dll"),
                                  Work(L"missing.dll"),
                                  Work(L"bin")};
    for (const std::wstring& file : files) {
        const std::wstring pair = Pair(file, Work(L"a.reg"));
        EXPECT_EQ(RunWith(L"extreg " + pair + L" keyRedir"), 7U) << file;
        EXPECT_EQ(Recorded(), Line(pair, L"keyRedir")) << file;
    }
}

TEST_F(Companion, IsNotStartedForAnImageOfEither64BitMachine) {
    constexpr std::size_t offsetOfHeaders = 0x3C;
    Bytes image = ReadBytes(Work(L"x64.dll")).value();
    const std::size_t machine = image.at(offsetOfHeaders) + 4U;
    image.at(machine) = 0x00;
    image.at(machine + 1) = 0x02;
    ASSERT_TRUE(WriteBytes(Work(L"itanium.dll"), image));
    EXPECT_EQ(RunWith(L"extreg " + Pair(Work(L"x64.dll"), Work(L"a.reg")) + L" keyRedir"), 0U);
    EXPECT_EQ(RunWith(L"extreg " + Pair(Work(L"itanium.dll"), Work(L"b.reg")) + L" keyRedir"), statusFailed);
    EXPECT_EQ(Recorded(), L"");
}

TEST_F(Companion, GetsItsPairsInTheirOrderAfterThe64BitOnesAreCaptured) {
    const std::wstring first = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    const std::wstring second = Pair(Work(L"missing.tlb"), Work(L"b.reg"));
    const std::wstring own = Pair(Work(L"x64.dll"), Work(L"c.reg"));
    EXPECT_EQ(RunWith(L"extreg " + first + L" " + own + L" " + second + L" keyRedir"), 7U);
    EXPECT_EQ(Recorded(), Line(first + L" " + second, L"keyRedir"));
    EXPECT_TRUE(Holds(Work(L"c.reg"), Golden("plain.reg")));
}

TEST_F(Companion, IsNotStartedAfterAFailedPair) {
    const std::wstring other = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    const std::wstring failing = Pair(Sample(Bitness::x64, L"orphan.dll"), Work(L"b.reg"));
    EXPECT_EQ(RunWith(L"extreg " + other + L" " + failing + L" keyRedir"), statusFailed);
    EXPECT_EQ(Recorded(), L"");
    EXPECT_EQ(RegFiles(), nothing);
}

TEST_F(Companion, AlwaysGetsTheModeWordInItsCanonicalSpelling) {
    const std::wstring pair = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    const std::pair<const wchar_t*, const wchar_t*> words[] = {
        {L"keyRedir", L"keyRedir"}, {L"KEYREDIR", L"keyRedir"}, {L"Trace", L"trace"},
        {L"both", L"both"},         {L"BOTH", L"both"},         {L"", L"both"},
        {L"garbage", L"both"},      {L"trace2", L"both"},       {L"\"\"", L"both"},
        {L"\"trace \"", L"both"},   {L"\u212AeyRedir", L"both"}};
    for (const auto& [given, passedOn] : words) {
        EXPECT_EQ(RunWith(L"extreg " + pair + L" " + given), 7U) << given;
        EXPECT_EQ(Recorded(), Line(pair, passedOn)) << given;
    }
}

TEST_F(Companion, GetsNormalisedPathsWithoutEscapes) {
    const std::pair<std::wstring, std::wstring> paths[] = {
        {L"\\\\?\\C:\\a.tlb", L"C:\\a.tlb"},
        {L"C:\\a.tlb\\\\", L"C:\\a.tlb"},
        {L"\\a.tlb", L"a.tlb"},
        {L"\\\\\\\\server\\s\\a.tlb", L"\\\\server\\s\\a.tlb"},
        {L"a/b.tlb", L"a/b.tlb"},
        {L"a\\\"b.tlb", L"a\"b.tlb"},
        {L"", L""},
        {L"%PATH%.tlb", L"%PATH%.tlb"}};
    for (const auto& [given, passedOn] : paths) {
        // A backslash before the closing quote would escape it.
        const std::wstring argument = given.ends_with(L'\\') ? given : Quoted(given);
        EXPECT_EQ(RunWith(L"extreg " + argument + L" " + Quoted(L"o.reg") + L" keyRedir"), 7U) << given;
        EXPECT_EQ(Recorded(), Line(Pair(passedOn, L"o.reg"), L"keyRedir")) << given;
    }
}

TEST_F(Companion, GetsAbsolutePathsOf248CharactersWithThePrefix) {
    const std::wstring drive = L"C:\\" + std::wstring(100, L'a') + L"\\";
    const std::wstring of247 = drive + std::wstring(247 - drive.size(), L'b');
    const std::wstring of248 = of247 + L"c";
    const std::wstring share = L"\\\\server\\" + std::wstring(239, L's');
    const std::wstring relative(248, L'r');
    EXPECT_EQ(RunWith(L"extreg " + Pair(of247, of248) + L" " + Pair(share, relative) + L" keyRedir"), 7U);
    EXPECT_EQ(Recorded(),
              Line(Pair(of247, L"\\\\?\\" + of248) + L" " + Pair(L"\\\\?\\" + share, relative), L"keyRedir"));
}

TEST_F(Companion, ThatIsMissingFailsTheRunAndThe64BitOutputsStay) {
    RemoveDirectoryWithContents(RecorderFolder());
    const std::wstring pairs =
        Pair(Work(L"x86.dll"), Work(L"a.reg")) + L" " + Pair(Work(L"x64.dll"), Work(L"b.reg"));
    EXPECT_EQ(RunWith(L"extreg " + pairs + L" keyRedir"), statusFailed);
    EXPECT_TRUE(Holds(Work(L"b.reg"), Golden("plain.reg")));
    EXPECT_EQ(RegFiles(), Lines{L"b.reg"});
}

TEST_F(Companion, MayBeMissingIfNoPairNeedsIt) {
    RemoveDirectoryWithContents(RecorderFolder());
    EXPECT_EQ(RunWith(L"extreg " + Pair(Work(L"x64.dll"), Work(L"b.reg")) + L" keyRedir"), 0U);
}

TEST_F(Companion, HasTheProgramsFileNameWhateverTheProgramsFolderIsCalled) {
    MakeDirectory(Work(L"bin\\any folder"));
    ASSERT_TRUE(Copy(Program(), Work(L"bin\\any folder\\Other name.exe")));
    ASSERT_TRUE(Copy(Recorder(), Work(L"bin\\x86\\Other name.exe")));
    const std::wstring pair = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    EXPECT_EQ(RunLine(Quoted(Work(L"bin\\any folder\\Other name.exe")) + L" extreg " + pair + L" trace"), 7U);
    EXPECT_EQ(Recorded(), Quoted(Work(L"bin\\x86\\Other name.exe")) + L" extreg  " + pair + L" trace");
}

TEST_F(Companion, WorksInTheCallersCurrentDirectory) {
    const std::wstring line = Quoted(Program()) + L" extreg " + Pair(Work(L"x86.dll"), L"a.reg");
    EXPECT_EQ(RunLine(line, Work(L"temp")), 7U);
    EXPECT_EQ(ReadUnits(RecorderFolder() + L"\\directory.txt"), Work(L"temp"));
}

TEST_F(Companion, IsStartedWithThePrefixFrom248Characters) {
    for (const std::size_t length : {247U, 248U}) {
        const std::size_t fixedLength = Work(L"").size() + std::wstring(L"\\x86\\Keyreap.exe").size();
        const std::wstring folder = Work(std::wstring(length - fixedLength, L'p'));
        const std::wstring recorder = folder + L"\\x86\\Keyreap.exe";
        ASSERT_EQ(recorder.size(), length);
        MakeDirectory(folder + L"\\x64");
        MakeDirectory(folder + L"\\x86");
        ASSERT_TRUE(Copy(Program(), folder + L"\\x64\\Keyreap.exe"));
        ASSERT_TRUE(Copy(Recorder(), recorder));
        const std::wstring pair = Pair(Work(L"x86.dll"), Work(L"a.reg"));
        EXPECT_EQ(RunLine(Quoted(folder + L"\\x64\\Keyreap.exe") + L" extreg " + pair), 7U);
        EXPECT_EQ(ReadUnits(folder + L"\\x86\\commandline.txt"),
                  Quoted((length < 248 ? L"" : L"\\\\?\\") + recorder) + L" extreg  " + pair + L" both");
    }
}

// A copy of a program in the root of the system's drive. It exists as long as the object does.
class ProgramInRoot {
public:
    explicit ProgramInRoot(const std::wstring& program) {
        wchar_t windows[MAX_PATH] = {};
        GetWindowsDirectoryW(windows, MAX_PATH);
        path = std::wstring(windows, 2) + L"\\keyreap" + std::to_wstring(GetCurrentProcessId()) + L".exe";
        EXPECT_TRUE(Copy(program, path));
    }
    ProgramInRoot(const ProgramInRoot&) = delete;
    ProgramInRoot& operator=(const ProgramInRoot&) = delete;
    ~ProgramInRoot() { DeleteFileW(path.c_str()); }

    const std::wstring& Path() const { return path; }

private:
    std::wstring path;
};

TEST_F(Companion, OfAProgramInTheRootOfADriveIsSearchedRelativeToTheCurrentDirectory) {
    const ProgramInRoot program(Program());
    const std::wstring recorder = L"x86\\" + NameOf(program.Path());
    ASSERT_TRUE(Copy(Recorder(), Work(L"bin\\" + recorder)));
    const std::wstring pair = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    const std::wstring line = Quoted(program.Path()) + L" extreg " + pair;
    EXPECT_EQ(RunLine(line, Work(L"bin")), 7U);
    EXPECT_EQ(Recorded(), Quoted(recorder) + L" extreg  " + pair + L" both");
    EXPECT_EQ(RunLine(line, Work(L"temp")), statusFailed);
}

TEST_F(Companion, GetsALineOfTheMaximumLength) {
    constexpr std::size_t longestLine = 32'766;
    std::wstring pairs = Pair(Work(L"x86.dll"), Work(L"a.reg"));
    const std::wstring next =
        L" " + Pair(L"C:\\" + std::wstring(200, L'n') + L".tlb", L"C:\\" + std::wstring(200, L'o'));
    while (Line(pairs + next, L"keyRedir").size() + 10 < longestLine) {
        pairs += next;
    }
    const std::size_t missing = longestLine - Line(pairs + L" \"\" \"\"", L"keyRedir").size();
    pairs += L" " + Pair(std::wstring(missing, L'm'), L"");
    ASSERT_EQ(Line(pairs, L"keyRedir").size(), longestLine);
    EXPECT_EQ(RunWith(L"extreg " + pairs + L" keyRedir"), 7U);
    EXPECT_EQ(Recorded(), Line(pairs, L"keyRedir"));
}

} // namespace

} // namespace keyreap::endtoend
