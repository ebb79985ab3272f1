#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// The words of `keykit capture`.
struct CaptureWords {
    std::vector<std::string> servers; // files and folders
    std::string mode = "both";
    std::string folder;        // for the captures; empty for the current one
    std::string json;          // the file for the summary, or "-"; empty for none
    std::size_t jobs = 0;      // 0: as fits the processors
    std::size_t timeout = 120; // seconds; 0 for no end
    bool resumes = false;
    bool takesPrograms = false;
};

// Captures each server in a session of its own. Returns how the verb ends.
int CaptureServers(const CaptureWords& words);

} // namespace keyreap
