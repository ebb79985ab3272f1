#pragma once

#include <array>
#include <string>

namespace keyreap {

// Descriptors that bwrap passes into the box.
namespace boxdescriptor {
inline constexpr int errors = 3; // standard error of the command
inline constexpr int begun = 4;  // gets a byte when the box stands
inline constexpr int log = 5;    // the server's request log, where it has one
inline constexpr int words = 6;  // further words for bwrap
inline constexpr int info = 7;   // where bwrap says which process is the box's first
inline constexpr int calls = 8;  // the filter of system calls
} // namespace boxdescriptor

struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
};

// Both ends are closed when another program is executed. Throws std::system_error.
Pipe MakePipe();

// A file in memory with these words, each ended by a NUL; a descriptor from its beginning. Throws
// std::system_error.
int FileOfWords(const std::string& bytes);

void Close(int& descriptor);

// No descriptor from `first` on stays open when another program is executed.
void KeepFromOthers(int first);

// All that can be read until the end.
std::string ReadAll(int descriptor);

} // namespace keyreap
