#pragma once

#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stops.h"
#include "tests/endtoend/harness/ways.h"

#include <string>

namespace keyreap::endtoend {

// Runs that are killed, and what they leave.
class KilledRun : public Workbench {
protected:
    KilledRun();
    ~KilledRun() override;

    // The command line that captures a sample into a file of the work folder.
    std::wstring Line(const Way& way, const std::wstring& sample, const std::wstring& regFile) const;
    DWORD CaptureOf(const Way& way, const std::wstring& sample, const std::wstring& regFile) const;

    // Makes the machine one where neither the program nor one of these targets ever ran.
    void ForgetEverything() const;
    // The entries of these targets in the live registry.
    static RegistryTree LiveEntries();

    // A next run in the same mode gives exactly its bytes. Of what the killed run left it removes only the
    // temporary tree. Where the killed run's logger still runs, a run before it has the result of one without
    // a trace.
    void ExpectNextRunToSucceed(const Way& way) const;

    Stops stops;

private:
    void ExpectNextRun(const Way& way, const Bytes& expected) const;
};

} // namespace keyreap::endtoend
