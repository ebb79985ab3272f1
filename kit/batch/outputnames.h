#pragma once

#include <span>
#include <string>
#include <vector>

namespace keyreap {

// A server of a run of captures.
struct BatchServer {
    std::string name;  // as a word of the command line names it
    std::string place; // below the folder that was named, or the file's name alone; with "/"
};

// The names of the captures below the folder for them, one for each server: `sub/name.reg` for
// `sub/name.dll`. Of servers whose captures would have one name, each capture has the whole name of its file
// (`name.dll.reg`), and if these are equal too, as many of the folders above as it takes. No two are equal,
// with the case of letters folded.
std::vector<std::string> OutputNames(std::span<const BatchServer> servers);

} // namespace keyreap
