// A program that a test of the scripts can drive: it writes its words, as UTF-16 lines, to the file that the
// variable KEYREAP_WORDS names, and then does what the first word says. Of all files it captures only those
// with which the set-up tries the host: a server with one value, and a program without any.
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

void WriteText(const wchar_t* path, const std::wstring& text) {
    if (FILE* file = _wfopen(path, L"wb")) {
        fwrite(text.data(), sizeof(wchar_t), text.size(), file);
        fclose(file);
    }
}

void Capture(int count, wchar_t** words) {
    const std::wstring header = L"\xFEFFWindows Registry Editor Version 5.00\r\n";
    for (int i = 2; i + 1 < count; i += 2) {
        const std::wstring input = words[i];
        if (input.find(L"\\thermometer.dll") != std::wstring::npos)
            WriteText(words[i + 1], header + L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n\"B\"=\"C\"\r\n");
        if (input.find(L"\\explain.exe") != std::wstring::npos)
            WriteText(words[i + 1], header);
    }
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
    if (verb == L"extreg")
        Capture(count, words);
    if (verb == L"wait")
        Sleep(INFINITE);
    while (verb == L"spin") {
    }
    return count < 2 ? -1 : 0;
}
