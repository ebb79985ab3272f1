#pragma once

#include "regfile/regfilewriter.h"
#include "trace/replay/keymapping.h"
#include "trace/replay/pendingkey.h"
#include "trace/replay/registrylog.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// Writes what a walk over an operation log tells to a .reg file, with the values' data as the registry has
// them now. Every operation raises what `RegFileWriter` raises.
class RegFileSink : public RegistryLogVisitor {
public:
    // Opens the writer, on a path in the form that the file API takes.
    explicit RegFileSink(std::wstring_view regFilePath);

    // Appends a row of the table by which a key is written under another name than that under which its
    // values are read. The first row that fits counts.
    void AddKeyMapping(KeyMapping mapping);

    void AddReplacement(std::wstring_view from, std::wstring_view to);

    void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState, std::uint32_t valueCount,
               std::uint32_t childCount) override;
    void OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                 Outcome kind) override;

    // Sorts and writes all that waits. With `sorted`, the call that ends the walk; no value of the key told
    // last may follow it.
    void Flush();

    bool sorted = false; // collect and sort the keys of one root, or write each at once

private:
    void AnnounceKey(PredefinedRoot root, const std::wstring& keyPath, bool created);
    void WriteKey(PredefinedRoot root, const std::wstring& keyPath, bool created);
    bool Substitute(PredefinedRoot root, const std::wstring& keyPath, PredefinedRoot& newRoot,
                    std::wstring& newPath) const;

    std::vector<PendingKey> pending;
    PredefinedRoot lastRoot = noRoot; // the key announced last, before substitution
    std::wstring lastKeyPath;
    std::vector<KeyMapping> mappings;
    RegFileWriter writer;
};

} // namespace keyreap
