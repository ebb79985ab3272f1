// Files of the host, by their paths, by links, and by descriptors that were left open.
#include "tests/samples/box/means.h"

#include <algorithm>
#include <cstring>

namespace keyreap::samples::box {

Word ReadBegin(Word descriptor, Text& got) {
    char begin[60];
    const Word size = Call(System::Read, descriptor, &begin[0], sizeof(begin));
    if (size <= 0) {
        return size < 0 ? size : noSuchThing;
    }
    got.Append(std::string_view(begin, static_cast<std::size_t>(size)));
    return 0;
}

Word OpenAndRead(const char* path, Text& got) {
    const Word file = Call(System::Open, path, reading | closingOnExecution);
    return file < 0 ? file : ReadBegin(file, got);
}

Word WriteMark(Word descriptor) {
    const Word written = Call(System::Write, descriptor, mark.data(), mark.size());
    return written < 0 ? written : 0;
}

bool Contains(const char* path, std::string_view text, Text& got) {
    static char content[0x40000];
    const Word file = Call(System::Open, path, reading | closingOnExecution);
    std::size_t size = 0;
    Word part = 0;
    do {
        size += static_cast<std::size_t>(part);
        part = Call(System::Read, file, &content[size], sizeof(content) - size);
    } while (part > 0);
    Call(System::Close, file);
    const std::string_view whole(content, size);
    const std::size_t at = whole.find(text);
    if (at != std::string_view::npos) {
        got.Append(whole.substr(at, 60));
    }
    return at != std::string_view::npos;
}

namespace {

Word OpenAndWrite(const char* path, int how) {
    constexpr int ownerMayAll = 0666;
    const Word file = Call(System::Open, path, how | closingOnExecution, ownerMayAll);
    const Word result = file < 0 ? file : WriteMark(file);
    Call(System::Close, file);
    return result;
}

Word Read(const Arguments& arguments, Text& got) {
    return OpenAndRead(arguments[0], got);
}

Word Search(const Arguments& arguments, Text& got) {
    const Word file = Call(System::Open, arguments[0], reading);
    if (file < 0) {
        return file;
    }
    return Contains(arguments[0], arguments[1], got) ? 0 : noSuchThing;
}

// Only opens, for files that must be neither read nor written.
Word OpenOnly(const Arguments& arguments, Text&) {
    const Word file = Call(System::Open, arguments[0], *arguments[1] == 'w' ? writing : reading);
    return std::min<Word>(file, 0);
}

Word Write(const Arguments& arguments, Text&) {
    return OpenAndWrite(arguments[0], writing | creating | truncating);
}

Word Append(const Arguments& arguments, Text&) {
    return OpenAndWrite(arguments[0], writing | appending);
}

Word RemoveFile(const Arguments& arguments, Text&) {
    return Call(System::Remove, arguments[0]);
}

Word RenameFile(const Arguments& arguments, Text&) {
    return Call(System::Rename, arguments[0], arguments[1]);
}

// Makes a link to the first path at the second one and writes through it.
Word WriteThrough(System kind, const Arguments& arguments) {
    const Word made = Call(kind, arguments[0], arguments[1]);
    return made < 0 ? made : OpenAndWrite(arguments[1], writing | appending);
}

Word WriteThroughLink(const Arguments& arguments, Text&) {
    return WriteThrough(System::SymbolicLink, arguments);
}

Word WriteThroughHardLink(const Arguments& arguments, Text&) {
    return WriteThrough(System::HardLink, arguments);
}

Word ReadDescriptor(const Arguments& arguments, Text& got) {
    return ReadBegin(static_cast<Word>(arguments.NumberAt(0)), got);
}

Word WriteDescriptor(const Arguments& arguments, Text&) {
    return WriteMark(static_cast<Word>(arguments.NumberAt(0)));
}

Word ReadBelowDescriptor(const Arguments& arguments, Text& got) {
    const Word file = Call(System::OpenBelow, arguments.NumberAt(0), arguments[1], reading);
    return file < 0 ? file : ReadBegin(file, got);
}

// Leaves a program that whoever starts it runs as the user of this process.
Word MakePrivileged(const Arguments& arguments, Text&) {
    constexpr int privileged = 04755;
    const Word written = OpenAndWrite(arguments[0], writing | creating | appending);
    return written < 0 ? written : Call(System::ChangeMode, arguments[0], privileged);
}

// A file by its number on its disk, which needs no path.
Word ReadByHandle(const Arguments& arguments, Text& got) {
    struct Handle {
        std::uint32_t size = sizeof(data);
        std::int32_t kind = 0;
        char data[128] = {};
    } handle;
    constexpr int fromCurrentFolder = -100;
    int mountId = 0;
    const Word named = Call(System::NameToHandle, fromCurrentFolder, arguments[0], &handle, &mountId, 0);
    const Word disk = Call(System::Open, arguments[0], reading);
    const Word file = named < 0 ? named : Call(System::OpenByHandle, disk, &handle, reading);
    return file < 0 ? file : ReadBegin(file, got);
}

constexpr Way ways[] = {
    {"read", Read},
    {"search", Search},
    {"open", OpenOnly},
    {"write", Write},
    {"append", Append},
    {"remove", RemoveFile},
    {"rename", RenameFile},
    {"link", WriteThroughLink},
    {"hardlink", WriteThroughHardLink},
    {"readdescriptor", ReadDescriptor},
    {"writedescriptor", WriteDescriptor},
    {"readbelow", ReadBelowDescriptor},
    {"privileged", MakePrivileged},
    {"byhandle", ReadByHandle},
};

} // namespace

std::span<const Way> FileWays() {
    return ways;
}

} // namespace keyreap::samples::box
