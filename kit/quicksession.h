#pragma once

#include <optional>
#include <string>
#include <vector>

namespace keyreap {

// Where the sessions of a run of captures begin. ./keykit knows it.
struct SessionPlaces {
    std::string wine;                 // the folder with the base of all prefixes
    std::string prefix;               // an empty folder; each session has files of its own there
    std::string tools;                // the folder of the programs of a session
    std::vector<std::string> box;     // the words of sessionbox that are the same for each server
    std::vector<std::string> command; // what runs in the box, without the words of the capture
    std::string temporary;            // the most that the files of a session may take, in megabytes
};

// None if ./keykit names no places, since sessions need more than these here.
std::optional<SessionPlaces> NamedSessionPlaces();

// Captures a server as ./keyreap does, without a shell, if nothing about the server, its words and its
// session is special. Prints what ./keyreap would print. Returns its status, or none if ./keyreap has to do
// it.
std::optional<int> CaptureInQuickSession(const SessionPlaces& places, const std::string& server,
                                         const std::string& capture, const std::string& mode);

} // namespace keyreap
