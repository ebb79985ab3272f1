// KeyKitLive: answers what only a live host can, for keykit. Usage: KeyKitLive REQUEST.json. Each answer is a
// line of JSON on standard output, on which nothing else is: what servers print is discarded. What crashes
// ends the program, and keeps the lines before it.
#include "kit/live/crash.h"
#include "kit/live/question.h"
#include "platform/core/filterstack.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace keyreap {

namespace {

constexpr int statusRefused = 2;

HANDLE answers = INVALID_HANDLE_VALUE;

// Keeps standard output for the answers, under a handle that no other program inherits, and gives the process
// NUL in its place. False if there is none.
bool TakeOutput() {
    const HANDLE self = GetCurrentProcess();
    constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const HANDLE file = CreateFileW(L"NUL", GENERIC_WRITE, sharing, nullptr, OPEN_EXISTING, 0, nullptr);
    const int nothing = _open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_WRONLY);
    if (nothing < 0 || DuplicateHandle(self, GetStdHandle(STD_OUTPUT_HANDLE), self, &answers, 0, FALSE,
                                       DUPLICATE_SAME_ACCESS) == FALSE) {
        return false;
    }
    const bool isReplaced = _dup2(nothing, _fileno(stdout)) == 0;
    return isReplaced && SetStdHandle(STD_OUTPUT_HANDLE,
                                      reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stdout)))) != FALSE;
}

struct Question {
    std::string_view word;
    void (*answer)(const nlohmann::json& request);
};

constexpr std::array<Question, 6> questions{{{"create", AnswerCreate},
                                             {"steps", AnswerSteps},
                                             {"capture", AnswerCapture},
                                             {"call", AnswerCall},
                                             {"library", AnswerLibrary},
                                             {"dependencies", AnswerDependencies}}};

nlohmann::json ReadRequest(const wchar_t* file) {
    std::ifstream stream(std::filesystem::path(file), std::ios::binary);
    return nlohmann::json::parse(stream, nullptr, false);
}

} // namespace

void Answer(const nlohmann::json& line) {
    const std::string text = line.dump() + '\n';
    DWORD written = 0;
    WriteFile(answers, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

int AnswerRequest(const wchar_t* file) {
    const nlohmann::json request = ReadRequest(file);
    const std::string word = request.is_object() ? request.value("question", std::string()) : std::string();
    const auto isOfWord = [&word](const Question& question) { return question.word == word; };
    const auto found = std::ranges::find_if(questions, isOfWord);
    if (found == questions.end()) {
        std::fputs("KeyKitLive: there is no such question\n", stderr);
        return statusRefused;
    }
    Answer({{"bitness", 8 * sizeof(void*)}});
    try {
        found->answer(request);
    } catch (const nlohmann::json::exception& exception) {
        std::fprintf(stderr, "KeyKitLive: %s\n", exception.what());
        return statusRefused;
    }
    return 0;
}

} // namespace keyreap

int wmain(int argc, wchar_t** argv) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    SetUnhandledExceptionFilter(keyreap::EndAtException);
    keyreap::KeepStackForFilter();
    if (argc != 2 || !keyreap::TakeOutput()) {
        std::fputs("Usage: KeyKitLive REQUEST.json\n", stderr);
        return keyreap::statusRefused;
    }
    const int status = keyreap::AnswerRequest(argv[1]);
    // Servers are still loaded, and what they do at the end of a process is no part of an answer.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    return status;
}
