// As much memory, disk and processes as the host lets it have, up to a limit that a test sets.
#include "tests/samples/box/means.h"

#include <algorithm>

namespace keyreap::samples::box {

namespace {

constexpr std::size_t megabyte = 0x100000;

constexpr int readAndWrite = 3;
constexpr int privateMemory = 0x22;

} // namespace

Word AttachSegment(Word segment, std::size_t size) {
    constexpr int low = 0x40;
    constexpr int inPlace = 040000;
    const Word address = Call(System::Map, nullptr, size, readAndWrite, privateMemory | low, -1, 0);
    return IsFailure(address) ? address : Call(System::AttachMemory, segment, address, inPlace);
}

// Memory counts only once it is in use.
Word TakeMemory(std::size_t megabytes) {
    constexpr int inUse = 0x8000;
    const Word address =
        Call(System::Map, nullptr, megabytes * megabyte, readAndWrite, privateMemory | inUse, -1, 0);
    return IsFailure(address) ? address : 0;
}

namespace {

// Repeats a step for each of a number of megabytes, and appends how many succeeded.
template <typename Step>
Word ForEachMegabyte(unsigned long long count, Text& got, Step step) {
    Word result = 0;
    unsigned long long done = 0;
    while (done < count && (result = step()) >= 0) {
        ++done;
    }
    got.Append(done);
    got.Append(" MB");
    return std::min<Word>(result, 0);
}

Word Allocate(const Arguments& arguments, Text& got) {
    return ForEachMegabyte(arguments.NumberAt(0), got, [] { return TakeMemory(1); });
}

// The first failure, or 0. A disk that is nearly full takes a part.
Word WriteMegabyte(Word file) {
    static char content[megabyte];
    Word written = 0;
    for (std::size_t size = 0; size < megabyte && written >= 0; size += static_cast<std::size_t>(written)) {
        written = Call(System::Write, file, &content[size], megabyte - size);
    }
    return std::min<Word>(written, 0);
}

Word FillFile(Word file, unsigned long long count, Text& got) {
    return file < 0 ? file : ForEachMegabyte(count, got, [file] { return WriteMegabyte(file); });
}

Word FillDisk(const Arguments& arguments, Text& got) {
    const Word file = Call(System::Open, arguments[0], writing | creating, 0600);
    return FillFile(file, arguments.NumberAt(1), got);
}

// A file that exists in memory only and has no path.
Word FillMemoryFile(const Arguments& arguments, Text& got) {
    return FillFile(Call(System::MemoryFile, "", 0), arguments.NumberAt(0), got);
}

// Memory that belongs to no process: each megabyte is left without one that uses it.
Word FillSegments(const Arguments& arguments, Text& got) {
    return ForEachMegabyte(arguments.NumberAt(0), got, [] {
        constexpr int creatingForOwner = 01600;
        const Word segment = Call(System::SharedMemory, 0, megabyte, creatingForOwner);
        const Word address = segment < 0 ? segment : AttachSegment(segment, megabyte);
        if (IsFailure(address)) {
            return address;
        }
        for (std::size_t at = 0; at < megabyte; at += 0x1000) {
            reinterpret_cast<volatile char*>(static_cast<std::uintptr_t>(address))[at] = 1;
        }
        return Call(System::DetachMemory, address);
    });
}

constexpr Way ways[] = {
    {"segments", FillSegments}, {"allocate", Allocate}, {"fill", FillDisk}, {"memoryfile", FillMemoryFile}};

} // namespace

std::span<const Way> ResourceWays() {
    return ways;
}

} // namespace keyreap::samples::box
