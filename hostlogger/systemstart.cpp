#include "hostlogger/systemstart.h"

#include "etl/registryevent.h"
#include "hostlogger/requesttracker.h"
#include "platform/core/text/compare.h"

#include <array>
#include <charconv>

namespace keyreap {

namespace {

constexpr char separator = '\t';
constexpr char escape = '%';
constexpr std::string_view innerChange = "inner\t";

void AppendHex(std::uint16_t number, std::string& text) {
    constexpr std::string_view digits = "0123456789abcdef";
    for (int shift = 12; shift >= 0; shift -= 4) {
        text += digits[(number >> shift) & 0xFU];
    }
}

void AppendEscaped(const std::wstring& name, std::string& text) {
    for (const wchar_t unit : FoldedText(name)) {
        if (unit >= L' ' && unit <= L'~' && unit != escape) {
            text += static_cast<char>(unit);
        } else {
            text += escape;
            AppendHex(static_cast<std::uint16_t>(unit), text);
        }
    }
}

std::string_view NameOfChange(std::uint8_t type) {
    switch (type) {
    case registryevent::createKey:
        return "create";
    case registryevent::deleteKey:
        return "delete";
    case registryevent::setValue:
        return "set";
    case registryevent::deleteValue:
        return "unset";
    case registryevent::setInformation:
        return "rename";
    default:
        return {};
    }
}

// A failed creation has a path, too: the loader creates some keys level by level after the full path failed.
std::wstring PathOf(const KeyRequest& request, KeyFacts& facts) {
    if (request.key) {
        return request.key->Path(facts);
    }
    return request.parent ? request.parent->Path(facts) + L'\\' + request.name : request.name;
}

std::uint16_t MachineOf(std::string_view line) {
    std::uint16_t machine = 0;
    const std::string_view digits = line.substr(0, line.find(separator));
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), machine, 16);
    return error == std::errc() && end == digits.data() + digits.size() ? machine : std::uint16_t{0};
}

bool IsInner(std::string_view line) {
    return line.starts_with(innerChange);
}

} // namespace

SystemStart SystemStart::Parse(std::string_view text) {
    SystemStart start;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        if (const std::uint16_t machine = MachineOf(line)) {
            start.machines.insert(machine);
        }
        ++start.counts[std::string(line)];
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return start;
}

SystemStart SystemStart::OfNoChanges() {
    SystemStart start;
    start.machines = {machineI386, machineAmd64};
    return start;
}

unsigned SystemStart::CountOf(const std::string& line) const {
    const auto found = counts.find(line);
    if (found == counts.end()) {
        return 0;
    }
    return IsInner(line) ? anyCount : found->second;
}

bool SystemStart::IsChange(const KeyRequest& request) {
    return !NameOfChange(request.type).empty();
}

std::string SystemStart::LineOf(const KeyRequest& request, KeyFacts& facts) {
    std::string line;
    if (request.origin != KeyOrigin::program) {
        line = innerChange;
        AppendEscaped(PathOf(request, facts), line);
        return line;
    }
    AppendHex(request.machine, line);
    line += separator;
    line += NameOfChange(request.type);
    line += separator;
    AppendEscaped(PathOf(request, facts), line);
    if (request.type == registryevent::setValue || request.type == registryevent::deleteValue) {
        line += separator;
        AppendEscaped(request.name, line);
    }
    return line;
}

} // namespace keyreap
