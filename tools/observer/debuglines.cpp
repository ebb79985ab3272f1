#include "tools/observer/debuglines.h"

#include <algorithm>
#include <charconv>

namespace keyreap {

namespace {

constexpr std::string_view raisedAbort = "raise (22)"; // SIGABRT
constexpr std::string_view newModule = "module_new => ";

// The number in hexadecimal after a mark in the text; 0 if there is no such mark.
std::uint64_t NumberAfter(std::string_view text, std::string_view mark) {
    const std::size_t at = text.find(mark);
    std::uint64_t number = 0;
    if (at != std::string_view::npos) {
        const char* start = text.data() + at + mark.size();
        std::from_chars(start, text.data() + text.size(), number, 16);
    }
    return number;
}

void AppendUtf8(std::string& text, std::uint32_t unit) {
    if (unit < 0x80) {
        text += static_cast<char>(unit);
    } else if (unit < 0x800) {
        text += static_cast<char>(0xC0 | (unit >> 6));
        text += static_cast<char>(0x80 | (unit & 0x3F));
    } else if (unit < 0x10000) {
        text += static_cast<char>(0xE0 | (unit >> 12));
        text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (unit & 0x3F));
    } else {
        text += static_cast<char>(0xF0 | (unit >> 18));
        text += static_cast<char>(0x80 | ((unit >> 12) & 0x3F));
        text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (unit & 0x3F));
    }
}

// The first text in the line in the form L"...". Wine writes a backslash as two, and other characters than
// ASCII as the four digits of each UTF-16 unit.
std::string QuotedText(std::string_view line) {
    std::string text;
    std::uint32_t high = 0;
    const std::size_t start = line.find("L\"");
    for (std::size_t i = start == std::string_view::npos ? line.size() : start + 2;
         i < line.size() && line[i] != '"'; ++i) {
        std::uint32_t unit = static_cast<unsigned char>(line[i]);
        if (line[i] == '\\' && i + 1 < line.size()) {
            const char* digits = line.data() + i + 1;
            const std::size_t room = std::min<std::size_t>(4, line.size() - i - 1);
            std::uint32_t escaped = 0;
            if (std::from_chars(digits, digits + room, escaped, 16).ptr == digits + 4) {
                unit = escaped;
                i += 4;
            } else {
                unit = static_cast<unsigned char>(line[++i]);
            }
        }
        if (unit >= 0xD800 && unit < 0xDC00) {
            high = unit;
            continue;
        }
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        AppendUtf8(text, isLow ? 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00) : unit);
    }
    return text;
}

// The text up to the next colon, which is removed with it.
std::string_view NextField(std::string_view& line) {
    const std::size_t colon = line.find(':');
    const std::string_view field = line.substr(0, colon);
    line.remove_prefix(colon == std::string_view::npos ? line.size() : colon + 1);
    return field;
}

} // namespace

void DebugLines::Take(std::string_view line) {
    const std::string process(NextField(line));
    const std::string_view id = NextField(line);
    NextField(line); // trace, warn, fixme or err
    const std::string_view channel = NextField(line);
    if (channel == "loaddll") {
        TakeModuleLine(process, line);
    } else if (channel == "seh") {
        TakeExceptionLine(process, threads[std::string(id)], line);
    } else if (channel == "dbghelp") {
        TakeDebugHelpLine(process, threads[std::string(id)], line);
    }
}

void DebugLines::TakeExceptionLine(const std::string& process, Thread& thread, std::string_view text) {
    if (text.starts_with("dispatch_exception code=")) {
        const auto code = static_cast<std::uint32_t>(NumberAfter(text, "code="));
        thread = {{process, code, {NumberAfter(text, "addr=")}}, false, true, 0};
    } else if (text.starts_with(raisedAbort)) {
        crashes.push_back({process, 0, {}});
    } else if (text.find("Unhandled exception code ") != std::string_view::npos) {
        const auto code = static_cast<std::uint32_t>(NumberAfter(text, "Unhandled exception code "));
        crashes.push_back({process, code, {NumberAfter(text, "addr 0x")}});
    }
}

void DebugLines::TakeModuleLine(const std::string& process, std::string_view text) {
    const std::size_t at = text.rfind("\" at ");
    if (!text.starts_with("build_module Loaded ") || at == std::string_view::npos) {
        return;
    }
    std::string_view place = text.substr(at + 5);
    const bool is32Bit = NextField(place).size() == 8;
    modules[process].push_back({QuotedText(text), NumberAfter(text.substr(at), "at "), 0,
                                place.find("native") != std::string_view::npos, is32Bit});
}

void DebugLines::TakeDebugHelpLine(const std::string& process, Thread& thread, std::string_view text) {
    if (text.starts_with("SymInitializeW ") && thread.hasRaised && !thread.isPresented) {
        thread.isPresented = true;
        thread.crash = crashes.size();
        crashes.push_back(thread.raised);
    } else if (text.starts_with(newModule)) {
        TakeModuleRange(process, text);
    } else if (text.find("_stack_walk Enter: ") != std::string_view::npos && thread.isPresented) {
        auto& frames = crashes[thread.crash].frames;
        const std::uint64_t place = NumberAfter(text, "PC=flat<");
        if (frames.back() != place) {
            frames.push_back(place);
        }
    }
}

void DebugLines::TakeModuleRange(const std::string& process, std::string_view text) {
    const std::string_view place = text.substr(0, text.find(" L\""));
    const std::size_t space = place.rfind(' ');
    const std::string_view kind = place.substr(0, space);
    // Later releases than Wine 8 read a module when they need it, and have dashes for its kind until then.
    if (!kind.ends_with(" PE") && !kind.ends_with(" ---")) {
        return;
    }
    const std::string_view range = place.substr(space);
    const std::uint64_t base = NumberAfter(range, " ");
    const std::uint64_t size = NumberAfter(range, "-") - base;
    auto& list = modules[process];
    const auto known = std::find_if(list.rbegin(), list.rend(),
                                    [base](const LoadedModule& module) { return module.base == base; });
    if (known != list.rend()) {
        known->size = size;
    } else {
        // A module from before the first loading has no line of its own.
        list.insert(list.begin(), {QuotedText(text), base, size, false, false});
    }
}

std::vector<LoadedModule> DebugLines::ModulesOf(const std::string& process) const {
    const auto found = modules.find(process);
    return found == modules.end() ? std::vector<LoadedModule>() : found->second;
}

} // namespace keyreap
