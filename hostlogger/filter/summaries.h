#pragma once

#include "hostlogger/requesttracker.h"

#include <cstddef>
#include <string>

namespace keyreap {

// Puts a summary of the log ahead of every mark of a reader (hostlogger/requestsummary.h). A mark gets none
// as long as the summaries and another one like the last are longer than the rest of the log, so that marks
// can't fill the disk.
class Summaries {
public:
    // The last line of `kept`, which begins at `start`, is the next line of the log.
    void Take(std::size_t start, std::string& kept);

private:
    // Only a reader can look into the registry. A tracker that has asked knows less than one.
    class NoFacts : public KeyFacts {
    public:
        bool Exists(const std::wstring&) override { return Missing(); }
        std::optional<std::wstring> LinkTarget(const std::wstring&) override {
            Missing();
            return {};
        }
        bool WereAsked() const { return asked; }

    private:
        bool Missing() {
            asked = true;
            return false;
        }

        bool asked = false;
    };

    NoFacts facts;
    RequestTracker tracker{facts};
    std::size_t requests = 0;  // bytes of the lines so far
    std::size_t summaries = 0; // bytes of all summaries
    std::size_t lastSize = 0;  // bytes of the last one
};

} // namespace keyreap
