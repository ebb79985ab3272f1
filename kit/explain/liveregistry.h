#pragma once

#include "kit/explain/judge.h"

namespace keyreap {

// The registry as it is now, in the view of this process. Windows only.
class LiveRegistry : public LivePlaces {
public:
    bool HasKey(PredefinedRoot root, const std::wstring& path) override;
    bool HasValue(PredefinedRoot root, const std::wstring& path, const std::wstring& name) override;
};

} // namespace keyreap
