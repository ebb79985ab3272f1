#pragma once

#include <optional>
#include <string>
#include <string_view>

// Paths of this machine and Windows paths: drive Z: is the root of this machine.
namespace keyreap {

// True for a word that begins with a drive letter and a colon, or with two backslashes.
bool IsWindowsPath(std::string_view word);

// True for a word that is relative to the current folder.
bool IsRelative(std::string_view word);

// The Windows path of the file that a word names. A Windows path and an empty word stay as they are. Every
// other word is a path of this machine, relative to `currentFolder`, in which a backslash is a separator too.
std::string WindowsPath(std::string_view word, std::string_view currentFolder);

// The path of this machine that a Windows path leads to, without "." and "..". No result if it is on no drive
// of this machine: drive C: is the run's own.
std::optional<std::string> HostPath(std::string_view windowsPath, std::string_view currentFolder);

// What Windows would do with a name in the path that isn't the name of that file: a part of a sentence, or
// empty.
std::string NameFault(std::string_view windowsPath);

} // namespace keyreap
