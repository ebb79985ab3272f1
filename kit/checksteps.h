#pragma once

#include "kit/checksessions.h"
#include "kit/livefacts.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The steps of sessions in which a server is checked.
namespace keyreap {

// A program of the system in the server's bitness.
nlohmann::json SystemProgramStep(const CheckedServer& server, const std::string& program,
                                 const std::string& words);

// The path between quotes, as a word of a command line.
std::string QuotedPath(const std::wstring& path);

// The steps that register a server or remove its registration, by programs of the system. They are added when
// this object is made, and it reads their answers.
class Registrar {
public:
    Registrar(LiveSteps& steps, const CheckedServer& server, bool removes);

    // The first status or result of a failure; 0 if there was none. E_UNEXPECTED for a type library that
    // ended the program which registered it.
    std::uint32_t Status() const;

    // True if all steps have answers.
    bool IsDone() const;

private:
    LiveSteps& steps;
    std::vector<std::size_t> own;
    std::optional<std::size_t> library; // the question among them
};

// The names of the keys that the server may have registered.
nlohmann::json CapturedKeys(const Capture& capture);

// The question that captures a server by redirection, once for each output, in a process that has loaded
// these libraries.
nlohmann::json CaptureRequest(const std::wstring& server, const std::vector<std::string>& outputs,
                              const nlohmann::json& preload = nlohmann::json::array());

} // namespace keyreap
