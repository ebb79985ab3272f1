#pragma once

#include "platform/os/file/unicodefilewriterex.h"
#include "regfile/pathsubstitution.h"
#include "regfile/valuetext.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace keyreap {

// Writes a .reg document, strictly in the order of the calls and straight to disk, one write a call. It knows
// nothing of the registry: it neither sorts nor merges. Every operation that writes raises `Exception` when
// the file can't be opened or written; what was written by then stays on disk.
class RegFileWriter {
public:
    // Creates the file (`path` in the form that the file API takes), cutting an existing one, and writes the
    // header line.
    explicit RegFileWriter(std::wstring_view path);

    // Adds a substitution, in escaped form, that later REG_SZ values undergo behind the earlier ones.
    void AddReplacement(std::wstring_view from, std::wstring_view to);

    // The header of a key, and of a key to be deleted. The path stands between the brackets as it is.
    void AddKey(std::wstring_view keyPath);
    void AddDeletedKey(std::wstring_view keyPath);

    // One value of the key announced last; an empty name is the default value.
    void AddValue(std::wstring_view name, const ValueText& text, std::uint32_t type);

private:
    PathReplacements replacements;
    UnicodeFileWriterEx file;
};

} // namespace keyreap
