// What several ways do with files and memory.
#pragma once

#include "tests/samples/box/attempt.h"

namespace keyreap::samples::box {

// How a file is opened.
constexpr int reading = 0;
constexpr int writing = 1;
constexpr int creating = 0100;
constexpr int truncating = 01000;
constexpr int appending = 02000;
constexpr int closingOnExecution = 02000000;

constexpr Word noSuchThing = -2;

// What a way writes.
constexpr std::string_view mark = "intruder";

// Appends the first characters of a file; an error if it has none.
Word ReadBegin(Word descriptor, Text& got);
Word OpenAndRead(const char* path, Text& got);
Word WriteMark(Word descriptor);

// Whether the file contains the text, which is then appended; the file may be one of those without a size.
bool Contains(const char* path, std::string_view text, Text& got);

constexpr bool IsFailure(Word result) {
    return result < 0 && result > -4096;
}

// Attaches a segment of shared memory where 32-bit code reaches it. Gives the address, or an error's number
// below zero.
Word AttachSegment(Word segment, std::size_t size);

// Takes memory for good; an error's number below zero.
Word TakeMemory(std::size_t megabytes);

} // namespace keyreap::samples::box
