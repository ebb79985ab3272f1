#include "platform/core/stacktrace/stacktrace.h"
#include "tests/unit/stacktrace/capturedcontext.h"
#include "tests/unit/stacktrace/scripteddebughelp.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>

namespace keyreap {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testsupport::ScriptedDebugHelp;
using testsupport::ScriptedFrame;

const std::wstring header(StackTraceHeader);
const std::wstring moreFrames(moreFramesLine);

std::wstring MainModuleLine() {
    return ClosingLine(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr)));
}

std::vector<ScriptedFrame> Frames(DWORD64 count) {
    std::vector<ScriptedFrame> frames;
    for (DWORD64 i = 1; i <= count; ++i) {
        frames.push_back({i, "f" + std::to_string(i), {}});
    }
    return frames;
}

CONTEXT SomeContext() {
    CONTEXT context;
    std::memset(&context, 0, sizeof(context));
#if defined(_WIN64)
    context.Rip = 0x1111;
    context.Rbp = 0x2222;
    context.Rsp = 0x3333;
#else
    context.Eip = 0x1111;
    context.Ebp = 0x2222;
    context.Esp = 0x3333;
#endif
    return context;
}

std::wstring Trace(const ScriptedDebugHelp& help, int maxFrames) {
    const CONTEXT context = SomeContext();
    std::wstring text;
    AppendStackTrace(text, &context, maxFrames, help.EntryPoints());
    return text;
}

TEST(AppendStackTrace, WithoutAContextDoesNothing) {
    const ScriptedDebugHelp help(Frames(1));
    std::wstring text = L"text";
    AppendStackTrace(text, nullptr, 200, help.EntryPoints());
    EXPECT_EQ(text, L"text");
    EXPECT_THAT(help.calls, ElementsAre());
}

TEST(AppendStackTrace, WithoutTheDebugHelpLibraryAppendsNothing) {
    const CONTEXT context = SomeContext();
    std::wstring text = L"text";
    AppendStackTrace(text, &context, 200, DebugHelp());
    EXPECT_EQ(text, L"text");
}

TEST(AppendStackTrace, WithoutASymbolHandlerAppendsNothingAndCleansUp) {
    ScriptedDebugHelp help(Frames(1));
    help.invadeResult = FALSE;
    help.initializeResult = FALSE;
    EXPECT_EQ(Trace(help, 200), L"");
    EXPECT_EQ(help.calls.back(), "cleanup");
}

TEST(AppendStackTrace, WithoutASearchPathAppendsNothingAndCleansUp) {
    ScriptedDebugHelp help(Frames(1));
    help.setSearchPathResult = FALSE;
    EXPECT_EQ(Trace(help, 200), L"");
    EXPECT_EQ(help.calls.back(), "cleanup");
}

TEST(AppendStackTrace, OnlyOneMeansThatTheSearchPathWasSet) {
    ScriptedDebugHelp help(Frames(1));
    help.setSearchPathResult = 2;
    EXPECT_EQ(Trace(help, 200), L"");
}

TEST(AppendStackTrace, AppendsToWhatIsThere) {
    const ScriptedDebugHelp help(Frames(1));
    const CONTEXT context = SomeContext();
    std::wstring text = L"text";
    AppendStackTrace(text, &context, 200, help.EntryPoints());
    EXPECT_EQ(text, L"text" + header + L"[0x0000000000000001]  f1()\r\n" + MainModuleLine());
}

TEST(AppendStackTrace, OpensAndClosesTheSymbolHandlerByItself) {
    const ScriptedDebugHelp help(Frames(1));
    Trace(help, 200);
    EXPECT_THAT(help.calls, ElementsAre("options", "invade", "path", "walk", "walk", "cleanup"));
    EXPECT_EQ(help.options, 0x80000016u);
    EXPECT_EQ(help.process, GetCurrentProcess());
    EXPECT_THAT(help.modules, IsEmpty());
}

TEST(AppendStackTrace, ListsTheModulesItselfWhereTheLibraryCanNot) {
    ScriptedDebugHelp help(Frames(1));
    help.invadeResult = FALSE;
    EXPECT_THAT(Trace(help, 200), StartsWith(header));
    EXPECT_THAT(help.calls,
                ElementsAre("options", "invade", "initialize", "path", "walk", "walk", "cleanup"));
    EXPECT_THAT(help.modules, Contains(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(nullptr))));
    EXPECT_THAT(help.modules, Contains(reinterpret_cast<std::uintptr_t>(GetModuleHandleW(L"kernel32.dll"))));
}

TEST(AppendStackTrace, LooksForSymbolsBesideTheProgram) {
    const ScriptedDebugHelp help;
    Trace(help, 200);
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    EXPECT_THAT(path, StartsWith(help.searchPath + "\\"));
    EXPECT_THAT(std::string(path).substr(help.searchPath.size() + 1), Not(HasSubstr("\\")));
}

TEST(AppendStackTrace, StartsAtTheRegistersOfTheContext) {
    const ScriptedDebugHelp help;
    Trace(help, 200);
    EXPECT_EQ(help.machineType, sizeof(void*) == 8 ? 0x8664u : 0x14Cu);
    EXPECT_EQ(help.firstFrame.AddrPC.Offset, 0x1111u);
    EXPECT_EQ(help.firstFrame.AddrFrame.Offset, 0x2222u);
    EXPECT_EQ(help.firstFrame.AddrStack.Offset, 0x3333u);
    EXPECT_EQ(help.firstFrame.AddrPC.Mode, AddrModeFlat);
    EXPECT_EQ(help.firstFrame.AddrFrame.Mode, AddrModeFlat);
    EXPECT_EQ(help.firstFrame.AddrStack.Mode, AddrModeFlat);
}

TEST(AppendStackTrace, LeavesTheContextAsItIs) {
    const ScriptedDebugHelp help(Frames(3));
    const CONTEXT context = SomeContext();
    const CONTEXT before = context;
    std::wstring text;
    AppendStackTrace(text, &context, 200, help.EntryPoints());
    EXPECT_EQ(std::memcmp(&context, &before, sizeof(context)), 0);
}

TEST(AppendStackTrace, GivesTheLibraryTheSizesOfItsStructures) {
    const ScriptedDebugHelp help(Frames(1));
    Trace(help, 200);
    EXPECT_EQ(help.symbolSize, 88u);
    EXPECT_EQ(help.longestName, 2000u);
    EXPECT_EQ(help.lineSize, sizeof(void*) == 8 ? 40u : 24u);
}

TEST(AppendStackTrace, WritesEachFrameWithWhatIsKnownOfIt) {
    const ScriptedDebugHelp help({{0x10, "both", "C:\\src\\both.cpp", 7},
                                  {0x20, "function", "", 0},
                                  {0x30, "", "C:\\src\\line.cpp", 8},
                                  {0x40, "", "", 0}});
    EXPECT_EQ(Trace(help, 200), header +
                                    L"[0x0000000000000010]  both() -> both.cpp:7\r\n"
                                    L"[0x0000000000000020]  function()\r\n"
                                    L"[0x0000000000000030]  ----- -> line.cpp:8\r\n"
                                    L"[0x0000000000000040]  -----\r\n" +
                                    MainModuleLine());
}

TEST(AppendStackTrace, BelowTheLimitThereIsNoMarker) {
    const ScriptedDebugHelp help(Frames(5));
    EXPECT_THAT(Trace(help, 200), Not(HasSubstr(moreFrames)));
}

TEST(AppendStackTrace, TheMarkerFollowsTheLastAllowedFrame) {
    const ScriptedDebugHelp help(Frames(5));
    EXPECT_EQ(Trace(help, 2), header + L"[0x0000000000000001]  f1()\r\n[0x0000000000000002]  f2()\r\n" +
                                  moreFrames + MainModuleLine());
}

TEST(AppendStackTrace, TheMarkerComesAlsoIfTheStackEndsAtTheLimit) {
    const ScriptedDebugHelp one(Frames(1));
    EXPECT_EQ(Trace(one, 1), header + L"[0x0000000000000001]  f1()\r\n" + moreFrames + MainModuleLine());
}

TEST(AppendStackTrace, WithoutAllowedFramesThereAreHeaderAndClosingLine) {
    const ScriptedDebugHelp help(Frames(5));
    EXPECT_EQ(Trace(help, 0), header + MainModuleLine());
    EXPECT_EQ(Trace(help, -1), header + MainModuleLine());
}

TEST(AppendStackTrace, AWalkThatFailsAtOnceLeavesTheClosingLine) {
    const ScriptedDebugHelp help;
    EXPECT_EQ(Trace(help, 200), header + MainModuleLine());
}

std::wstring TraceOfThisFunction(int maxFrames) {
    CONTEXT context = {};
    testsupport::captureThisFunction(&context);
    std::wstring text;
    AppendStackTrace(text, &context, maxFrames);
    return text;
}

// Called through a pointer that may change, so that the function has a frame of its own.
std::wstring (*volatile traceOfThisFunction)(int) = TraceOfThisFunction;

TEST(AppendStackTrace, ShowsFunctionAndLineOfThisProgramsOwnCode) {
    const std::wstring text = traceOfThisFunction(200);
    EXPECT_THAT(text, StartsWith(header));
    EXPECT_THAT(text, HasSubstr(L"TraceOfThisFunction"));
    EXPECT_THAT(text, HasSubstr(L"stacktrace_test.cpp:"));
    EXPECT_THAT(text, EndsWith(MainModuleLine()));
}

TEST(AppendStackTrace, ASecondTraceIsLikeTheFirst) {
    CONTEXT context = {};
    testsupport::captureThisFunction(&context);
    std::wstring first;
    AppendStackTrace(first, &context, 1);
    std::wstring second;
    AppendStackTrace(second, &context, 1);
    EXPECT_EQ(first, second);
}

TEST(AppendStackTrace, ThreadsTakeTurns) {
    std::wstring other;
    std::thread thread([&other] { other = traceOfThisFunction(200); });
    const std::wstring own = traceOfThisFunction(200);
    thread.join();
    EXPECT_THAT(own, HasSubstr(L"TraceOfThisFunction"));
    EXPECT_THAT(other, HasSubstr(L"TraceOfThisFunction"));
}

} // namespace
} // namespace keyreap
