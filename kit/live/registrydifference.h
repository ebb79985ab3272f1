#pragma once

#include "kit/live/registrytree.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace keyreap {

struct ChangedValue {
    std::wstring name;
    std::optional<RegistryData> now;    // none: it was removed
    std::optional<RegistryData> before; // none: it is new
};

struct ChangedKey {
    std::wstring name; // with all the names above it
    bool isCreated = false;
    bool isRemoved = false;
    std::vector<ChangedValue> values;
};

// Finds what has changed since a tree was read: each key that is created or removed, also if it has no value,
// and each whose values have changed. The values of a key are read again only if it was written to since.
class RegistryDifference {
public:
    using Report = std::function<void(const ChangedKey&)>;

    explicit RegistryDifference(Report report) : report(std::move(report)) {}

    // Reports the changes of an open key and below it, under this name.
    void Compare(HKEY key, const RegistryTree& before, const std::wstring& name);

private:
    void CompareValues(HKEY key, const TreeReader::Summary& summary, const RegistryTree& before,
                       const std::wstring& name);
    void ReportCreated(const RegistryTree& tree, const std::wstring& name);
    void ReportRemoved(const RegistryTree& tree, const std::wstring& name);

    Report report;
    TreeReader reader;
};

} // namespace keyreap
