#pragma once

#include "kit/capture/capture.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What sessions found out about a server, from which the rules make findings. Nothing of it is judged yet.
namespace keyreap {

// An HRESULT of a failure.
constexpr bool IsFailure(std::uint32_t result) {
    return result > 0x7FFFFFFF;
}

struct ValueData {
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;

    friend bool operator==(const ValueData&, const ValueData&) = default;
};

struct ValueChange {
    std::wstring name;
    std::optional<ValueData> before; // none: it was not there
    std::optional<ValueData> after;  // none: it is gone
};

// A key in which something changed, under the name that the registry itself has for it: a key of the 32-bit
// view has its Wow6432Node, and the classes are below Software\Classes.
struct KeyChange {
    std::wstring key;
    bool isCreated = false;
    bool isRemoved = false;
    std::vector<ValueChange> values;
};

// A key as a process of the server's bitness sees it.
struct KeyState {
    std::wstring key; // as the capture names it
    bool isThere = false;
    std::vector<std::pair<std::wstring, ValueData>> values;
};

// A registration and its removal by a registrar of the system, in one registry. The changes are those since
// the registry was as it is before.
struct RegistrationFacts {
    bool hasClasses = false;  // the registry had its classes, and was not without any
    std::uint32_t status = 0; // of the registrar; 0 if the server is registered
    std::vector<KeyChange> changes;
    std::vector<KeyState> states;              // of the captured keys, after it
    std::optional<std::uint32_t> secondStatus; // of registering it again
    std::optional<std::uint32_t> removalStatus;
    std::vector<KeyChange> changesAfterRemoval;
};

// A DLL that the server needs, or may load later.
struct DependencyFact {
    std::wstring name;
    std::wstring path;      // empty: it is nowhere
    int bitness = 0;        // 0: it is no image
    bool isDelayed = false; // loaded when it is first called
    std::wstring importer;  // the file that names it
};

// How a call of DllRegisterServer ended.
struct CallOutcome {
    CallOutcome() = default;
    CallOutcome(std::uint32_t result) : result(result) {}

    bool Succeeds() const { return result && !IsFailure(*result); }

    std::optional<std::uint32_t> result; // an HRESULT; none if the call ended the process
};

struct ResultFacts {
    CallOutcome redirected;
    CallOutcome outside; // in a full registry
    std::vector<DependencyFact> dependencies;
    // What changed in the registry itself while the server was registered in the redirected roots.
    std::vector<KeyChange> past;
    // The same with a process that went on for a while when DllRegisterServer had returned.
    std::vector<KeyChange> pastAndLater;
    // Keys and values that were looked for in the redirected roots, and that only the registry has; the last
    // one is the last that was looked for.
    std::vector<std::wstring> lookedFor;
};

struct ClassFact {
    std::wstring clsid;
    std::optional<std::uint32_t> byCapture; // an HRESULT; none if the program ended while it was created
    std::optional<std::uint32_t> byRegistration;
};

// Three captures by redirection, each as a document.
struct WitnessFacts {
    RegDocument first;     // in a process of its own
    RegDocument second;    // in that process again
    RegDocument preloaded; // in one that had loaded the system's libraries of the first one before
};

// Two captures by redirection, and where and for whom they were made.
struct PlaceFacts {
    std::wstring server; // a path of Windows
    std::wstring user;
    std::wstring computer;
    RegDocument capture;
};

struct SameFacts {
    PlaceFacts here;
    PlaceFacts elsewhere;
};

struct CheckFacts {
    int bitness = 64;
    std::wstring server; // a path of Windows
    std::optional<RegistrationFacts> empty;
    std::optional<RegistrationFacts> full;
    std::optional<ResultFacts> result;
    std::vector<ClassFact> classes;
    bool hasCreated = false; // the classes were created
    std::optional<WitnessFacts> witnesses;
    bool hasNoSecond = false; // a second capture in the same process failed
    std::optional<SameFacts> same;
};

} // namespace keyreap
