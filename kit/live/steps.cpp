#include "kit/live/steps.h"

#include "kit/live/answerfile.h"
#include "kit/live/keynames.h"
#include "kit/live/question.h"
#include "kit/live/quietprocess.h"
#include "kit/live/registrydifference.h"
#include "kit/live/requesttext.h"
#include "kit/live/valuejson.h"

#include <windows.h>

#include <array>
#include <string>

namespace keyreap {

namespace {

using Json = nlohmann::json;

constexpr wchar_t machineName[] = L"HKEY_LOCAL_MACHINE";
constexpr wchar_t usersName[] = L"HKEY_USERS";

std::wstring SystemProgram(const std::wstring& name) {
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return std::wstring(folder.data()) + L'\\' + name;
}

std::wstring OwnProgram() {
    constexpr std::size_t longest = 32767;
    std::wstring own(longest, L'\0');
    own.resize(GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size())));
    return own;
}

// Wine sets up a part of the registry for the desktop and for the first process of a bitness. That is no
// change that anything makes which runs later.
void SetUpHost() {
    GetDesktopWindow();
    const std::wstring program = SystemProgram(L"regsvr32.exe");
    RunQuietly(program, L'"' + program + L"\" /s C:\\missing.dll", DiscardingFile().Get());
}

Json RunJson(const QuietRun& run) {
    return run.isStarted ? Json{{"status", run.status}} : Json{{"error", run.status}};
}

} // namespace

void Steps::Take(std::size_t number, const Json& step) {
    current = number;
    const std::string word = step.value("step", std::string());
    if (word == "snapshot") {
        TakeSnapshot();
    } else if (word == "run") {
        Run(step);
    } else if (word == "difference") {
        Difference();
    } else if (word == "read") {
        Read(step);
    } else if (word == "ask") {
        Ask(step);
    } else {
        Say({{"failure", "there is no such step"}});
    }
}

void Steps::TakeSnapshot() {
    if (!snapshot) {
        SetUpHost();
    }
    TreeReader reader;
    snapshot = Snapshot{reader.Tree(TreeReader::Open(HKEY_LOCAL_MACHINE, {}).Get()),
                        reader.Tree(TreeReader::Open(HKEY_USERS, {}).Get())};
    SayDone();
}

void Steps::Run(const Json& step) {
    const OwnedFile nothing = DiscardingFile();
    Say(RunJson(RunQuietly(TextOf(step, "program"), TextOf(step, "line"), nothing.Get())));
}

void Steps::Difference() {
    if (!snapshot) {
        Say({{"failure", "there is no snapshot"}});
        return;
    }
    const UserKeyNames names;
    RegistryDifference difference([this, &names](const ChangedKey& key) {
        Json answer = {{"key", LosslessUtf8(names.NameOf(key.name))},
                       {"created", key.isCreated},
                       {"removed", key.isRemoved},
                       {"values", Json::array()}};
        for (const ChangedValue& value : key.values) {
            answer["values"].push_back(ChangeJson(value));
        }
        Say(std::move(answer));
    });
    difference.Compare(TreeReader::Open(HKEY_LOCAL_MACHINE, {}).Get(), snapshot->machine, machineName);
    difference.Compare(TreeReader::Open(HKEY_USERS, {}).Get(), snapshot->users, usersName);
    SayDone();
}

void Steps::Read(const Json& step) {
    TreeReader reader;
    for (const std::wstring& name : TextsOf(step, "keys")) {
        const auto [root, path] = RootAndPath(name);
        HKEY opened = nullptr;
        if (root != nullptr) {
            RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &opened);
        }
        const OwnedRegistryKey key(opened);
        Json answer = {{"key", LosslessUtf8(name)}, {"isThere", key.Valid()}, {"values", Json::array()}};
        for (const auto& [value, data] : reader.Values(key.Get(), TreeReader::SummaryOf(key.Get()))) {
            answer["values"].push_back(ValueJson(value, data));
        }
        Say(std::move(answer));
    }
    SayDone();
}

// The answers go through a file: at the end of a pipe nobody would know whether a process that is still
// running has it.
void Steps::Ask(const Json& step) {
    const TemporaryFile request;
    const TemporaryFile answers;
    request.Write(step.value("request", Json::object()).dump());
    QuietRun run;
    {
        const OwnedFile output = answers.OpenForPrograms();
        const std::wstring own = OwnProgram();
        run = RunQuietly(own, L'"' + own + L"\" \"" + request.Path() + L'"', output.Get());
    }
    for (const std::string& line : answers.Lines()) {
        Json answer = Json::parse(line, nullptr, false);
        if (answer.is_object()) {
            Say(std::move(answer));
        }
    }
    Say(RunJson(run));
}

void Steps::Say(Json answer) const {
    answer["step"] = current;
    Answer(answer);
}

void Steps::SayDone() const {
    Say({{"done", true}});
}

void AnswerSteps(const Json& request) {
    Steps steps;
    std::size_t number = 0;
    for (const Json& step : request.value("steps", Json::array())) {
        steps.Take(number, step);
        ++number;
    }
}

} // namespace keyreap
