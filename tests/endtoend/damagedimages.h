#pragma once

#include "tests/endtoend/harness/workbench.h"

#include <cstdint>
#include <string>

namespace keyreap::endtoend {

// Damaged images of one bitness in whole runs. Each bitness has a program of its own, for the time that it
// takes.
class DamagedImages : public Workbench {
protected:
    // Gives many damaged servers to a build of that bitness, one a run, and expects of each run a result, a
    // failure, or the very fault with which the image ends another host, in the place that it asks for or
    // moved from there. A run may stay only if the image keeps such a host too.
    void CaptureThem(Bitness bitness);

private:
    void CaptureOne(Bitness bitness, const std::wstring& file);

    std::uint32_t succeeded = 0;
    std::uint32_t failed = 0;
};

} // namespace keyreap::endtoend
