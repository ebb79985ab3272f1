#pragma once

#include "trace/replay/registrylog.h"

#include <cstdint>
#include <string>

namespace keyreap {

// Removes from the live registry what a log says was put there: the values that lasted, and every key without
// subkeys, with all its values, and then its parents up to the first that the system refuses to delete.
// Values that were overwritten or deleted are not restored. Failures are ignored.
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
