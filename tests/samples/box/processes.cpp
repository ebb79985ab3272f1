// Other processes: their memory, environment and files, signals, new ones, and the terminal.
#include "tests/samples/box/means.h"

#include <cstring>

namespace keyreap::samples::box {

namespace {

struct Entry {
    std::uint64_t number;
    std::int64_t next;
    std::uint16_t size;
    char kind;
    char name[1];
};

Word SendSignal(const Arguments& arguments, Text&) {
    return Call(System::Kill, arguments.NumberAt(0), arguments.NumberAt(1));
}

// As a debugger does.
Word TraceProcess(const Arguments& arguments, Text& got) {
    constexpr int peek = 2;
    constexpr int attach = 16;
    constexpr int detach = 17;
    const auto process = static_cast<Word>(arguments.NumberAt(0));
    const Word attached = Call(System::Trace, attach, process, 0, 0);
    if (attached < 0) {
        return attached;
    }
    int status = 0;
    Call(System::Wait, process, &status, 0, 0);
    Word word = 0;
    const Word result = Call(System::Trace, peek, process, arguments.NumberAt(1), &word);
    got.Append(std::string_view(reinterpret_cast<const char*>(&word), sizeof(word)));
    Call(System::Trace, detach, process, 0, 0);
    return result;
}

Word ReadMemoryFile(const Arguments& arguments, Text& got) {
    char part[60];
    Text path;
    path.Append("/proc/");
    path.Append(arguments[0]);
    path.Append("/mem");
    // The path has to end where its text ends.
    char text[64] = {};
    path.View().copy(text, sizeof(text) - 1);
    const Word file = Call(System::Open, &text[0], reading);
    const Word size =
        file < 0 ? file : Call(System::ReadAt, file, &part[0], sizeof(part), arguments.NumberAt(1), 0);
    got.Append(std::string_view(part, size < 0 ? 0 : static_cast<std::size_t>(size)));
    return size < 0 ? size : 0;
}

struct Range {
    Word begin;
    Word size;
};

Word ReadMemory(const Arguments& arguments, Text& got) {
    char part[60];
    const Range own = {WordOf(&part[0]), sizeof(part)};
    const Range foreign = {static_cast<Word>(arguments.NumberAt(1)), sizeof(part)};
    const Word size = Call(System::ReadMemoryOf, arguments.NumberAt(0), &own, 1, &foreign, 1, 0);
    got.Append(std::string_view(part, size < 0 ? 0 : static_cast<std::size_t>(size)));
    return size < 0 ? size : 0;
}

Word BorrowDescriptor(const Arguments& arguments, Text& got) {
    const Word process = Call(System::OpenProcess, arguments.NumberAt(0), 0);
    const Word file =
        process < 0 ? process : Call(System::BorrowDescriptor, process, arguments.NumberAt(1), 0);
    return file < 0 ? file : ReadBegin(file, got);
}

bool ProcessContains(const Entry& process, const Arguments& arguments, Text& got) {
    char path[128] = "/proc/";
    std::strcat(path, process.name);
    std::strcat(path, "/");
    std::strcat(path, arguments[0]);
    return Contains(path, arguments[1], got);
}

// Looks for a text in one file of every process that is in sight.
Word SearchProcesses(const Arguments& arguments, Text& got) {
    alignas(Entry) static char list[0x8000];
    const Word folder = Call(System::Open, "/proc", reading);
    Word size = folder;
    bool isFound = false;
    while (!isFound && (size = Call(System::Entries, folder, &list[0], sizeof(list))) > 0) {
        for (Word at = 0; at < size && !isFound;) {
            const Entry& entry = *reinterpret_cast<const Entry*>(&list[at]);
            isFound = entry.name[0] >= '1' && entry.name[0] <= '9' && ProcessContains(entry, arguments, got);
            at += entry.size;
        }
    }
    return isFound ? 0 : (size < 0 ? size : noSuchThing);
}

// A descriptor that execution closes reports whether the program was started.
Word Execute(const Arguments& arguments, Text&) {
    constexpr std::size_t longest = 8;
    Word words[longest + 1] = {};
    for (std::size_t index = 0; index < arguments.Count() && index < longest; ++index) {
        words[index] = WordOf(arguments[index]);
    }
    const Word environment[] = {0};
    int ends[2] = {};
    Call(System::Pipe, &ends[0], closingOnExecution);
    const Word process = ForkProcess();
    if (process == 0) {
        const Word failure = Call(System::Execute, arguments[0], &words[0], &environment[0]);
        Call(System::Write, ends[1], &failure, sizeof(failure));
        Call(System::End, 1);
    }
    Call(System::Close, ends[1]);
    Word failure = 0;
    Call(System::Read, ends[0], &failure, sizeof(failure));
    Call(System::Wait, process, nullptr, 0, nullptr);
    return process < 0 ? process : failure;
}

// Puts characters into a terminal's input, as if its user had typed them. The terminal is a path, or the
// number of a descriptor.
Word Type(const Arguments& arguments, Text&) {
    constexpr int typeCharacter = 0x5412;
    const bool isPath = arguments[0][0] == '/';
    const Word terminal =
        isPath ? Call(System::Open, arguments[0], reading) : static_cast<Word>(arguments.NumberAt(0));
    Word result = terminal < 0 ? terminal : 0;
    for (const char* next = arguments[1]; result == 0 && *next != '\0'; ++next) {
        result = Call(System::ControlDevice, terminal, typeCharacter, next);
    }
    return result;
}

constexpr Way ways[] = {
    {"kill", SendSignal},         {"ptrace", TraceProcess},
    {"memory", ReadMemoryFile},   {"vmread", ReadMemory},
    {"borrow", BorrowDescriptor}, {"processes", SearchProcesses},
    {"execute", Execute},         {"type", Type},
};

} // namespace

std::span<const Way> ProcessWays() {
    return ways;
}

} // namespace keyreap::samples::box
