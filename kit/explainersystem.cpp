// Here the program runs on this machine itself, and the story comes from a kernel trace.
#include "kit/explainer.h"
#include "kit/hostfiles.h"
#include "kit/ownfolder.h"
#include "kit/programwords.h"
#include "kit/temporaryfolder.h"
#include "kit/verb.h"
#include "platform/core/text/utf8.h"

#include <windows.h>

#include <cstdio>
#include <optional>
#include <utility>
#include <variant>

namespace keyreap {

namespace {

constexpr DWORD elevationRequired = 740; // ERROR_ELEVATION_REQUIRED, winerror.h

struct Answer {
    DWORD status = statusRefused;
    std::string text;
};

// The status of a program that was started, or the system's error.
std::variant<DWORD, std::string> StatusOf(const std::wstring& program, std::wstring line) {
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start,
                       &process) == FALSE) {
        const DWORD error = GetLastError();
        return error == elevationRequired ? std::string("a prompt of an administrator is needed")
                                          : "error " + std::to_string(error);
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD status = 0;
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return status;
}

// None with a sentence if the program can't be started.
std::optional<Answer> Ask(const std::string& bitness, const std::vector<std::string>& words,
                          std::string& failure) {
    const TemporaryFolder folder;
    const std::string output = folder.FileNamed("story.txt");
    const std::wstring program = OwnFolder() + L"..\\..\\tools\\" +
                                 std::wstring(bitness.begin(), bitness.end()) + L"\\KeyKitExplain.exe";
    std::vector<std::wstring> line = {program, WindowsPathOf(output)};
    for (const std::string& word : words) {
        line.push_back(UnitsOfUtf8(word).value_or(std::wstring()));
    }
    const auto status = StatusOf(program, CommandLineOf(line));
    if (const auto* const error = std::get_if<std::string>(&status)) {
        failure = ReadableUtf8(program) + " can't be started: " + *error;
        return {};
    }
    const std::vector<std::uint8_t> bytes = ReadWholeFile(output).value_or(std::vector<std::uint8_t>());
    return Answer{std::get<DWORD>(status), std::string(bytes.begin(), bytes.end())};
}

bool HasStory(const Answer& answer) {
    return answer.status == statusWhole || answer.status == statusIncomplete;
}

// Why there is no story: the program's own sentence, or that it has none.
std::string ReasonOf(Answer answer) {
    if (answer.status != statusRefused || answer.text.empty()) {
        return "the server ended the program that captures it: status " + std::to_string(answer.status);
    }
    answer.text.resize(answer.text.find_last_not_of('\n') + 1);
    return std::move(answer.text);
}

} // namespace

int RunExplainer(const std::string& bitness, const std::vector<std::string>& words) {
    std::string failure;
    const std::optional<Answer> answer = Ask(bitness, words, failure);
    if (!answer || !HasStory(*answer)) {
        Say("explain: " + (answer ? ReasonOf(*answer) : failure));
        return statusRefused;
    }
    std::fwrite(answer->text.data(), 1, answer->text.size(), stdout);
    return static_cast<int>(answer->status);
}

std::string ExplainedText(const std::string& bitness, const std::vector<std::string>& words) {
    std::string failure;
    const std::optional<Answer> answer = Ask(bitness, words, failure);
    return answer && HasStory(*answer) ? answer->text : std::string();
}

} // namespace keyreap
