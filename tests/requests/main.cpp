#include "tests/requests/childmodes.h"

#include <windows.h>

#include <shellapi.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

// Runs the tests, or with `child` as the first argument what a test does in a child process.
int main(int argc, char** argv) {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    const std::vector<std::wstring> arguments(words + 1, words + count);
    LocalFree(words);
    if (!arguments.empty() && arguments.front() == L"child") {
        return keyreap::RunAsChild({arguments.begin() + 1, arguments.end()});
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
