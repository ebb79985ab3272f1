// KeyKitLive: answers what only a live host can, for keykit. Usage: KeyKitLive REQUEST.json. Each answer is a
// line of JSON on standard output. What crashes ends the program, and keeps the lines before it.
#include "kit/live/question.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace keyreap {

namespace {

constexpr int statusRefused = 2;

// Without a box and without a debugger, which would wait for somebody.
LONG WINAPI EndAtException(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_EXECUTE_HANDLER;
}

nlohmann::json ReadRequest(const wchar_t* file) {
    std::ifstream stream(std::filesystem::path(file), std::ios::binary);
    return nlohmann::json::parse(stream, nullptr, false);
}

} // namespace

void Answer(const nlohmann::json& line) {
    const std::string text = line.dump() + '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int AnswerRequest(const wchar_t* file) {
    const nlohmann::json request = ReadRequest(file);
    if (!request.is_object() || request.value("question", std::string()) != "create") {
        std::fputs("KeyKitLive: there is no such question\n", stderr);
        return statusRefused;
    }
    Answer({{"bitness", 8 * sizeof(void*)}});
    AnswerCreate(request);
    return 0;
}

} // namespace keyreap

int wmain(int argc, wchar_t** argv) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    SetUnhandledExceptionFilter(keyreap::EndAtException);
    _setmode(_fileno(stdout), _O_BINARY);
    if (argc != 2) {
        std::fputs("Usage: KeyKitLive REQUEST.json\n", stderr);
        return keyreap::statusRefused;
    }
    const int status = keyreap::AnswerRequest(argv[1]);
    // Servers are still loaded, and what they do at the end of a process is no part of an answer.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    return status;
}
