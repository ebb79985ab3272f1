#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Asks KeyKitLive what needs a live host: the request is a file, and the answers are lines of JSON. On
// Windows the program is beside this one; on another system the variable KEYKIT_LIVE names the command that
// starts it, with the words x64 or x86, the request's file, and options for the rest of a session.
namespace keyreap {

// A session in which the program answers one request. On Windows it is this machine itself, whatever this
// says beside the bitness; elsewhere it is one that nothing outlives.
struct LiveSession {
    int bitness = 64;
    bool hasClasses = true;    // the registry has the classes of a whole system
    bool isLogged = false;     // a capture can have a trace
    std::string user = {};     // who the session's user is; empty: the usual one
    std::string computer = {}; // what the computer is called; empty: as it is
    // What a session reaches of the machine, beside the request; full names.
    std::vector<std::string> inputs = {};  // files that it reads, with their folders
    std::vector<std::string> outputs = {}; // folders that it writes to
};

// All answers up to the end of the program; the first one has its bitness. Fails with a Refusal if there is
// no such program, or if it can't be started.
std::vector<nlohmann::json> AnswersOf(const LiveSession& session, const nlohmann::json& request);

struct LiveClass {
    std::wstring clsid;
    std::wstring threadingModel; // empty: the main thread's
};

struct CreatedClass {
    std::wstring clsid;
    std::optional<std::uint32_t> result; // an HRESULT; none if the program ended before it said one
    bool isRegistered = false;           // the registry has the class too
};

struct CreationRequest {
    int bitness = 64;
    std::wstring manifest;             // a path of Windows
    std::vector<std::wstring> folders; // in which the servers find other files
    std::vector<std::string> inputs;   // the manifest and the servers, under their names of this machine
    std::vector<LiveClass> classes;
};

// Lets the host create an object of each class by the manifest, one after another. If one ends the program, a
// new one goes on with the next class. An answer is that of the class that it names. There is no time limit:
// a class that doesn't answer is waited for. Fails with a Refusal if there is no such program, or if the
// system can't read the manifest.
std::vector<CreatedClass> CreateClasses(const CreationRequest& request);

} // namespace keyreap
