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

// The order of a sink's keys and values in its file.
enum class KeyOrder {
    asReported, // each is written at once
    sorted,     // those of one root are collected and sorted
};

// Writes what a walk over an operation log reports to a .reg file, with the values' data as the registry has
// them now. Every operation raises what `RegFileWriter` raises.
class RegFileSink : public RegistryLogVisitor {
public:
    // Creates the file. The path has the form that the file API takes.
    explicit RegFileSink(std::wstring_view regFilePath, KeyOrder order = KeyOrder::asReported);

    // Appends a row of the table that gives the name under which a key is written. Its values are read under
    // the name in the log. The first row that fits counts.
    void AddKeyMapping(KeyMapping mapping);

    void AddReplacement(std::wstring_view from, std::wstring_view to);

    void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState, std::uint32_t valueCount,
               std::uint32_t childCount) override;
    void OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                 Outcome kind) override;

    // Sorts and writes all that was collected. A sorted file needs this call at the end of the walk; after it
    // no value of the key reported last may follow.
    void Flush();

private:
    void AnnounceKey(PredefinedRoot root, const std::wstring& keyPath, bool created);
    void WriteKey(PredefinedRoot root, const std::wstring& keyPath, bool created);
    bool Substitute(PredefinedRoot root, const std::wstring& keyPath, PredefinedRoot& newRoot,
                    std::wstring& newPath) const;

    KeyOrder order;
    std::vector<PendingKey> pending;
    PredefinedRoot lastRoot = noRoot; // the key announced last, before substitution
    std::wstring lastKeyPath;
    std::vector<KeyMapping> mappings;
    RegFileWriter writer;
};

} // namespace keyreap
