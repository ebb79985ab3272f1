#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace keyreap {

// The request log of the session's server, if it has one.
struct RequestLog {
    std::string filter; // the program between the server and the file
    std::string file;
    std::string mixedKeys;
    std::string unplacedLines;

    bool IsWanted() const { return !filter.empty(); }
};

// How much a session may use; 0 stands for no ceiling.
struct Ceilings {
    std::uint64_t memory = 0;    // bytes
    std::uint64_t file = 0;      // bytes of one file
    std::uint64_t temporary = 0; // bytes in each folder of temporary files
    std::uint64_t threads = 0;   // the system counts processes by their threads
};

// The words of sessionbox.
struct BoxWords {
    std::string report; // a file outside of the box, with what became of it
    std::string prefix; // the session's own folder
    std::string hidden; // a folder that is empty in the box, or nothing
    std::string server;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    std::vector<std::string> seen;
    std::vector<std::string> changed;
    std::vector<std::pair<std::string, std::string>> placed; // a file, and the path at which it is in the box
    std::vector<std::string> variables;                      // NAME=VALUE
    std::vector<std::string> passed;                         // names of the caller's variables
    bool hasDisplay = false;
    RequestLog log;
    Ceilings ceilings;
    std::vector<std::string> command;
};

// Throws std::invalid_argument for words that aren't those of the program.
BoxWords ParsedBoxWords(std::span<char* const> words);

} // namespace keyreap
