#pragma once

#include "trace/replay/registrylog.h"

#include <cstdint>
#include <string>

namespace keyreap {

// Takes out of the live registry what a log says was put there: the values that lasted, and every key that is
// left without subkeys, with all the values it has, up to the first parent that the system keeps. What was
// overwritten or deleted doesn't come back. Failures are passed over.
class RegistryRemover : public RegistryLogVisitor {
public:
    void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState, std::uint32_t valueCount,
               std::uint32_t childCount) override;
    void OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                 Outcome kind) override;

private:
    std::uint32_t valuesLeft = 0; // of the key reported last
};

} // namespace keyreap
