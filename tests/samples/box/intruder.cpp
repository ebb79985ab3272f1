// A line of the list is the name of a way and its arguments, in UTF-8 with tabs between them. Its key is
// named after the line's number and its way; the value Result begins with `done` or `refused`.
#include "tests/samples/box/intruder.h"

#include "tests/samples/box/child.h"
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <algorithm>
#include <sstream>

namespace keyreap::samples::box {

namespace {

std::string ContentOf(const std::wstring& path) {
    std::string content(0x10000, '\0');
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    DWORD size = 0;
    ReadFile(file, content.data(), static_cast<DWORD>(content.size()), &size, nullptr);
    CloseHandle(file);
    content.resize(size);
    return content;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

Function Find(std::span<const Way> ways, std::string_view name) {
    const auto found =
        std::find_if(ways.begin(), ways.end(), [=](const Way& way) { return way.name == name; });
    return found == ways.end() ? nullptr : found->function;
}

Outcome InProcess(Function function, const Arguments& arguments) {
    Outcome outcome;
    outcome.result = function(arguments, outcome.got);
    return outcome;
}

std::string TextOf(const Outcome& outcome) {
    const std::string got(outcome.got.View());
    if (outcome.signal != 0) {
        return "refused: signal " + std::to_string(outcome.signal) + ' ' + got;
    }
    return outcome.result < 0 ? "refused: error " + std::to_string(-outcome.result) + ' ' + got
                              : "done: " + got;
}

std::string Try(const std::string& name, const Arguments& arguments) {
    for (const auto ways :
         {FileWays(), ProcessWays(), PrivilegeWays(), NetworkWays(), ResourceWays(), LastingWays()}) {
        if (const Function function = Find(ways, name)) {
            return TextOf(InChild(function, arguments));
        }
    }
    const Function function = Find(WindowsWays(), name);
    return function != nullptr ? TextOf(InProcess(function, arguments)) : "unknown";
}

// Everything in it is printable ASCII.
std::wstring Widened(const std::string& text) {
    return {text.begin(), text.end()};
}

} // namespace

void TryAll() {
    const KeyWriter key(HKEY_CLASSES_ROOT, L"KeyreapIntruder");
    key.SetText(L"", L"tried");
    const std::wstring module = ModulePathOf(reinterpret_cast<const void*>(&TryAll));
    const std::wstring list = module.substr(0, module.rfind(L'\\') + 1) + L"attempts.txt";
    std::size_t number = 0;
    for (const std::string& line : Split(ContentOf(list), '\n')) {
        std::vector<std::string> words = Split(line, '\t');
        const std::string name = words.empty() ? "" : words.front();
        words.erase(words.begin(), words.begin() + (words.empty() ? 0 : 1));
        const std::string result = Try(name, Arguments(std::move(words)));
        const std::string title = std::to_string(++number) + ' ' + name;
        KeyWriter(key.Handle(), Widened(title)).SetText(L"Result", Widened(result));
    }
}

} // namespace keyreap::samples::box
