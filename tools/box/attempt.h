#pragma once

#include "tools/box/boxwords.h"
#include "tools/box/controlgroup.h"
#include "tools/box/descriptors.h"

#include <sys/types.h>

#include <string>

namespace keyreap {

// Whether bwrap makes a box with what every box has.
bool EmptyBoxStands(bool hasUsers);

// One attempt to begin a box: bwrap with the first program inside, and beside it the filter of the request
// log, which nothing in the box can reach.
class Attempt {
public:
    // Returns when the command is about to start, or when it is known that it won't. A signal to end, which
    // has to be blocked, ends the attempt. Throws std::system_error.
    Attempt(const BoxWords& words, bool hasUsers, const ControlGroup& group);
    ~Attempt();
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    bool HasBegun() const { return !signs.empty(); }
    bool IsEnded() const { return isEnded; }
    // The session's server is up.
    bool HasServer() const { return signs.size() > 1; }
    // Why it hasn't begun: the last line that bwrap wrote.
    std::string Complaint() const;
    // What bwrap says of the box.
    std::string Information();

    pid_t Process() const { return process; }
    void AwaitFilter();

private:
    void ReadSigns();
    void EndChildren();
    void StartFilter(const RequestLog& log);
    void Start(const BoxWords& words, bool hasUsers, const ControlGroup& group);
    [[noreturn]] void BecomeBubblewrap(const BoxWords& words, bool hasUsers);

    Pipe errors, begun, log, info;
    pid_t process = -1;
    pid_t filter = -1;
    bool isEnded = false; // by a signal
    std::string signs;    // a byte when the box stands, and one when the server is up
    std::string complaints;
};

} // namespace keyreap
