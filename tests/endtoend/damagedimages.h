#pragma once

#include "tests/endtoend/harness/workbench.h"

#include <cstdint>
#include <string>

namespace keyreap::endtoend {

// Captures damaged images. Each bitness has its own test program because this takes long.
class DamagedImages : public Workbench {
protected:
    // Captures many damaged servers with the build of this bitness, each in its own run. A run must end with
    // a result, with a failure, or with the fault that the image also causes in another host, at its
    // preferred address or moved from there. A run may hang only if the image hangs that host as well.
    void CaptureThem(Bitness bitness);

private:
    void CaptureOne(Bitness bitness, const std::wstring& file);

    std::uint32_t succeeded = 0;
    std::uint32_t failed = 0;
};

} // namespace keyreap::endtoend
