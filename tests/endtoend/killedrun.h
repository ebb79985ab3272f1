#pragma once

#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stops.h"
#include "tests/endtoend/harness/ways.h"

#include <string>

namespace keyreap::endtoend {

// A run that something ends before its time, and what is left of it.
class KilledRun : public Workbench {
protected:
    KilledRun();
    ~KilledRun() override;

    // A line for one pair, from a sample to a file in the folder of the test.
    std::wstring Line(const Way& way, const std::wstring& sample, const std::wstring& regFile) const;
    DWORD CaptureOf(const Way& way, const std::wstring& sample, const std::wstring& regFile) const;

    // As on a machine where neither the program nor one of the targets here ever ran.
    void ForgetEverything() const;
    // What the targets here wrote past all redirection.
    static RegistryTree LiveEntries();

    // After whatever end of another run: one in the same mode gives its exact bytes, and of what the other
    // left it takes the temporary tree alone.
    void ExpectAGoodNextRun(const Way& way) const;

    Stops stops;
};

} // namespace keyreap::endtoend
