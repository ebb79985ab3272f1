// A program that a test of the scripts can drive: it writes its words, as UTF-16 lines, to the file that the
// variable KEYREAP_WORDS names, and then does what the first word says.
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

void WriteWords(int count, wchar_t** words) {
    const wchar_t* path = _wgetenv(L"KEYREAP_WORDS");
    if (path == nullptr)
        return;
    FILE* file = _wfopen(path, L"wb");
    for (int i = 1; i < count; ++i) {
        const std::wstring line = std::wstring(words[i]) + L"\n";
        fwrite(line.data(), sizeof(wchar_t), line.size(), file);
    }
    fclose(file);
}

} // namespace

int wmain(int count, wchar_t** words) {
    WriteWords(count, words);
    const std::wstring verb = count > 1 ? words[1] : L"";
    if (verb == L"status")
        return _wtoi(words[2]);
    if (verb == L"print") {
        std::puts("a server's words");
        std::fputs("a server's complaints\n", stderr);
    }
    if (verb == L"wait")
        Sleep(INFINITE);
    while (verb == L"spin") {
    }
    return count < 2 ? -1 : 0;
}
