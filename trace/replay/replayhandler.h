#pragma once

#include "trace/registryeventhandler.h"

namespace keyreap {

// The handler of a replay, for which class registrations are below HKEY_CLASSES_ROOT. It is final, so that
// Dispatch calls its operations directly.
class ReplayHandler final : public RegistryEventHandler {
public:
    ReplayHandler() : RegistryEventHandler(true) {}

    void OnEvent(const TraceEvent& event) override { Dispatch(*this, event); }
};

} // namespace keyreap
