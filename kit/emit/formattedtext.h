#pragma once

#include "kit/emit/installdata.h"

#include <string>
#include <string_view>

// Texts of Windows Installer's type Formatted, and what its Registry table can't carry.
namespace keyreap {

// A reference to a file is replaced by its path also if the file is in another folder than its component's.
enum class FileForm {
    Reference, // [#id]
    Folder,    // [DIRECTORY]name
};

// Brackets are escaped. Braces have a meaning only if there are brackets too, and data are full of GUIDs.
std::wstring FormattedText(const PieceText& pieces, const InstallData& data, FileForm form);

// The same for a key.
std::wstring FormattedKey(std::wstring_view path);

// The words of a component's Registry table for a root; empty if it has none.
std::wstring InstallerRoot(InstallRoot root);

// Why the table can't carry the key or the value; empty if it can.
std::wstring ReasonAgainstKey(const InstallKey& key);
std::wstring ReasonAgainstValue(const InstallValue& value);

// The component with what the table can carry; notes for the rest. A key without values stays only if it had
// none.
InstallComponent CarriedPart(InstallComponent component, std::vector<EmitNote>& notes);

} // namespace keyreap
