#pragma once

#include "platform/os/file/unicodefilewriterex.h"
#include "regfile/pathsubstitution.h"
#include "regfile/valuetext.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace keyreap {

// Writes a .reg document, in the order of the calls and directly to disk, with one write for each call. It
// knows nothing of the registry: it neither sorts nor merges. Every operation that writes raises `Exception`
// if the file can't be opened or written; the part that was written before stays on disk.
class RegFileWriter {
public:
    // Creates the file (`path` in the form that the file API takes), or truncates an existing one, and writes
    // the header line.
    explicit RegFileWriter(std::wstring_view path);

    // Adds a substitution, in escaped form. It is applied to later REG_SZ values, after the earlier
    // substitutions.
    void AddReplacement(std::wstring_view from, std::wstring_view to);

    // Writes the header of a key, or of a key to be deleted. The path is put between the brackets unchanged.
    void AddKey(std::wstring_view keyPath);
    void AddDeletedKey(std::wstring_view keyPath);

    // Writes one value of the last key; an empty name is the default value.
    void AddValue(std::wstring_view name, const ValueText& text, std::uint32_t type);

private:
    PathReplacements replacements;
    UnicodeFileWriterEx file;
};

} // namespace keyreap
