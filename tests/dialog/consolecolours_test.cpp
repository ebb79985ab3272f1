#include "platform/core/errorreport/failurereporter.h"
#include "platform/core/failurepresentation.h"
#include "platform/os/ownedhandle.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// Records the colours in which it is called.
class ColourSink : public FailureSink {
public:
    bool Write(const std::wstring&) override {
        attributes = ConsoleAttributes();
        return true;
    }

    static WORD ConsoleAttributes() {
        CONSOLE_SCREEN_BUFFER_INFO info = {};
        GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info);
        return info.wAttributes;
    }

    WORD attributes = 0;
};

// A console's screen as the standard output of the program.
class ConsoleOutput {
public:
    ConsoleOutput() { SetStdHandle(STD_OUTPUT_HANDLE, screen.Get()); }
    ~ConsoleOutput() { SetStdHandle(STD_OUTPUT_HANDLE, before); }

private:
    HANDLE before = GetStdHandle(STD_OUTPUT_HANDLE);
    OwnedFile screen{CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 nullptr, OPEN_EXISTING, 0, nullptr)};
};

TEST(ConsoleColours, AFailureIsRedAndTheColoursComeBack) {
    FreeConsole();
    ASSERT_TRUE(AllocConsole());
    const ConsoleOutput output;
    SetConsoleTextAttribute(GetStdHandle(STD_OUTPUT_HANDLE), FOREGROUND_GREEN);
    ColourSink console;
    FailurePresentation presentation;
    presentation.SetConsoleSink(&console);
    presentation.ShowFailure(nullptr, {L"short", L"full", L"KIND", L"file.cpp:7"});
    EXPECT_EQ(console.attributes, 12);
    EXPECT_EQ(ColourSink::ConsoleAttributes(), FOREGROUND_GREEN);
}

} // namespace
} // namespace keyreap
