#include "tools/observer/debuglines.h"
#include "tools/observer/exceptionwords.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr int accessViolationStatus = 5;

// Two processes: 0020 is the one that crashes, with the threads 0024 and 0028. Bases are as Wine writes them.
class CrashTextTest : public testing::Test {
protected:
    CrashTextTest() {
        Load("C:\\\\windows\\\\system32\\\\kernelbase.dll", "000000007B000000", "builtin");
        Load("Z:\\\\bin\\\\Keyreap.exe", "0000000140000000", "native");
        Load("C:\\\\windows\\\\system32\\\\msvcrt.dll", "0000000228280000", "builtin");
        Load("Z:\\\\s\\\\server.dll", "00000002CA9D0000", "native");
    }

    void Load(const std::string& path, const std::string& base, const std::string& kind) {
        lines.Take("0020:0028:trace:loaddll:build_module Loaded L\"" + path + "\" at " + base + ": " + kind);
    }
    void Raise(const std::string& code, const std::string& address) {
        Exception("dispatch_exception code=" + code + " flags=0 addr=" + address + " ip=0");
        Exception("dispatch_exception  info[0]=0000000000000000");
    }
    void Exception(const std::string& text) { lines.Take("0020:0028:trace:seh:" + text); }
    void Present(const std::vector<std::string>& frames) {
        DebugHelp("SymInitializeW (FFFFFFFFFFFFFFFF (null) 1)");
        for (const std::string& frame : frames) {
            DebugHelp("x86_64_stack_walk Enter: PC=flat<" + frame + "> Frame=flat<0> Mode=64bit Count=1");
        }
    }
    void DebugHelp(const std::string& text) { lines.Take("0020:0028:trace:dbghelp:" + text); }

    std::string Text(int status = accessViolationStatus) const {
        constexpr std::uint64_t size = 0x10000;
        return CrashText(lines, status, [](const LoadedModule&) { return size; });
    }

    DebugLines lines;
};

TEST_F(CrashTextTest, NamesTheModuleOfTheFault) {
    Raise("c0000005", "00000002CA9D1401");
    Present({"2ca9d1401", "140001000"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) in server.dll");
}

TEST_F(CrashTextTest, NamesWhoCalledTheSystem) {
    Raise("c0000005", "0000000228280010");
    Present({"228280010", "140000010", "2ca9d1401", "140001000"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) in msvcrt.dll, called by server.dll");
}

TEST_F(CrashTextTest, NamesWhoRaisedAnException) {
    Raise("e0000105", "000000007B000010");
    Present({"7b000010", "2ca9d1401"});
    EXPECT_EQ(Text(), "exception 0xE0000105 in server.dll");
}

TEST_F(CrashTextTest, SaysWhatWasLoadedLastWhereNobodyIsSeenToRaise) {
    Raise("80000100", "000000007B000010");
    Present({"7b000010", "140000010"});
    EXPECT_EQ(Text(1), "call of a function that a library lacks (0x80000100), after server.dll was loaded");
}

TEST_F(CrashTextTest, PassesOverTheRunTimeOfACompiler) {
    Load("Z:\\\\s\\\\libstdc++-6.dll", "0000000300000000", "native");
    Raise("20474343", "000000007B000010");
    Present({"7b000010", "300000010", "2ca9d1401"});
    EXPECT_EQ(Text(0x43), "C++ exception that nobody caught (0x20474343) in server.dll");
}

TEST_F(CrashTextTest, SaysThatAPlaceIsInNoModule) {
    Raise("c0000005", "0000000000000000");
    Present({"0"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) outside of any module, after server.dll was loaded");
}

TEST_F(CrashTextTest, TakesAModulesEndFromItsRange) {
    Raise("c0000005", "00000002CA9D1401");
    DebugHelp("SymInitializeW (FFFFFFFFFFFFFFFF (null) 1)");
    DebugHelp("module_new => PE 2ca9d0000-2ca9d1401 L\"Z:\\\\s\\\\server.dll\"");
    EXPECT_EQ(Text(), "access violation (0xC0000005) outside of any module, after server.dll was loaded");
    DebugHelp("module_new => PE 2ca9d0000-2ca9d1402 L\"Z:\\\\s\\\\server.dll\"");
    EXPECT_EQ(Text(), "access violation (0xC0000005) in server.dll");
}

TEST_F(CrashTextTest, KnowsAModuleThatWasThereFromTheStart) {
    Raise("c0000005", "0000000170000010");
    DebugHelp("SymInitializeW (FFFFFFFFFFFFFFFF (null) 1)");
    DebugHelp("module_new => PE 170000000-170361000 L\"C:\\\\windows\\\\system32\\\\ntdll.dll\"");
    EXPECT_EQ(Text(), "access violation (0xC0000005) in ntdll.dll");
}

TEST_F(CrashTextTest, KnowsAModuleThatIsNotYetRead) {
    Raise("c0000005", "0000000170000010");
    DebugHelp("SymInitializeW (FFFFFFFFFFFFFFFF (null) 1)");
    DebugHelp("module_new => built-in --- 170000000-170361000 L\"C:\\\\windows\\\\system32\\\\ntdll.dll\"");
    EXPECT_EQ(Text(), "access violation (0xC0000005) in ntdll.dll");
}

TEST_F(CrashTextTest, TakesNoModuleOfTheHost) {
    Raise("c0000005", "0000000170000010");
    DebugHelp("SymInitializeW (FFFFFFFFFFFFFFFF (null) 1)");
    DebugHelp("module_new => ELF 170000000-170361000 L\"/usr/lib/wine/ntdll.so\"");
    EXPECT_EQ(Text(), "access violation (0xC0000005) outside of any module, after server.dll was loaded");
}

TEST_F(CrashTextTest, TakesTheModuleThatWasLoadedLastAtAPlace) {
    Load("Z:\\\\s\\\\second.dll", "00000002CA9D0000", "native");
    Raise("c0000005", "00000002CA9D1401");
    Present({"2ca9d1401"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) in second.dll");
}

TEST_F(CrashTextTest, ExceptionThatIsNotPresentedIsNoCrash) {
    Raise("c0000005", "00000002CA9D1401");
    EXPECT_EQ(Text(), "");
}

TEST_F(CrashTextTest, PresentationWithoutAnExceptionIsNoCrash) {
    Present({});
    lines.Take("0020:0024:trace:seh:dispatch_exception code=c0000005 flags=0 addr=00000002CA9D1401 ip=0");
    EXPECT_EQ(Text(), "");
    EXPECT_EQ(Text(3), "");
}

TEST_F(CrashTextTest, CrashThatDoesNotExplainTheStatusIsIgnored) {
    Raise("c0000005", "00000002CA9D1401");
    Present({"2ca9d1401"});
    EXPECT_EQ(Text(0), "");
    EXPECT_EQ(Text(255), "");
    EXPECT_EQ(Text(3), "");
}

TEST_F(CrashTextTest, CodeWithoutLowBitsGivesTheStatusOne) {
    Raise("e0000100", "000000007B000010");
    Present({"7b000010", "2ca9d1401"});
    EXPECT_EQ(Text(1), "exception 0xE0000100 in server.dll");
    EXPECT_EQ(Text(0), "");
}

TEST_F(CrashTextTest, LastMatchingCrashCounts) {
    Raise("c0000005", "00000002CA9D1401");
    Present({"2ca9d1401"});
    Raise("c0000094", "0000000140000010");
    Present({"140000010"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) in server.dll");
    EXPECT_EQ(Text(0x94), "integer division by zero (0xC0000094) in Keyreap.exe");
}

TEST_F(CrashTextTest, AbortHasNoPlace) {
    Exception("raise (22)");
    EXPECT_EQ(Text(3), "abort (status 3), after server.dll was loaded");
    EXPECT_EQ(Text(), "");
}

TEST_F(CrashTextTest, AnotherSignalIsNoAbort) {
    Exception("raise (2)");
    EXPECT_EQ(Text(3), "");
}

TEST_F(CrashTextTest, UnhandledExceptionNeedsNoFilter) {
    lines.Take(
        "0020:0028:err:seh:NtRaiseException Unhandled exception code c0000409 flags 1 addr 0x2ca9d13ff");
    EXPECT_EQ(Text(9), "stack buffer overrun or fast fail (0xC0000409) in server.dll");
}

TEST_F(CrashTextTest, ModulesOfAnotherProcessDoNotCount) {
    lines.Take(
        "0030:0034:trace:loaddll:build_module Loaded L\"Z:\\\\other.dll\" at 00000002CA9D0000: native");
    Raise("c0000005", "00000002CA9D1401");
    Present({"2ca9d1401"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) in server.dll");
}

TEST_F(CrashTextTest, NamesComeInUtf8) {
    Load("Z:\\\\S\\00e9rv\\00ebr \\2713 \\d83d\\de00.dll", "0000000300000000", "native");
    Raise("c0000005", "0000000300000010");
    Present({"300000010"});
    EXPECT_EQ(Text(),
              "access violation (0xC0000005) in S\xC3\xA9rv\xC3\xABr \xE2\x9C\x93 \xF0\x9F\x98\x80.dll");
}

TEST_F(CrashTextTest, LinesCutAnywhereDoNoHarm) {
    const std::string line =
        "0020:0028:trace:loaddll:build_module Loaded L\"Z:\\\\S\\d83d\\de00.dll\" at 0000: native";
    for (std::size_t size = 0; size < line.size(); ++size) {
        lines.Take(line.substr(0, size));
    }
    Raise("c0000005", "00000002CA9D1401");
    Present({"2ca9d1401"});
    EXPECT_EQ(Text(), "access violation (0xC0000005) in server.dll");
}

TEST(ExceptionWords, ACodeWithoutANameIsShownAlone) {
    EXPECT_EQ(ExceptionWords(0xE0000001), "exception 0xE0000001");
    EXPECT_EQ(ExceptionWords(0xC00000FD), "stack overflow (0xC00000FD)");
    EXPECT_FALSE(IsFault(0xE0000001));
    EXPECT_TRUE(IsFault(0xC0000005));
    EXPECT_FALSE(IsFault(0x20474343));
}

} // namespace
} // namespace keyreap
