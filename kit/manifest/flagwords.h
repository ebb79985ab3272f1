#pragma once

#include <optional>
#include <string>
#include <string_view>

// Numbers of the registry as a manifest has them: words with commas between them.
namespace keyreap {

// The words of the bits OLEMISC, or LIBFLAGS, of a decimal number; empty for 0. None if it is no number or
// has a bit without a word.
std::optional<std::wstring> MiscStatusWords(std::wstring_view number);
std::optional<std::wstring> LibraryFlagWords(std::wstring_view number);

// A type library's version in decimal numbers. The registry has it as hexadecimal ones. None if it isn't one.
std::optional<std::wstring> DecimalVersion(std::wstring_view version);

// The word in the spelling that manifests have; none for what they have no word for. Without a model it is
// empty.
std::optional<std::wstring> ThreadingModelWord(std::wstring_view model);

} // namespace keyreap
