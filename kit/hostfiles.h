#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Files of the machine that the program runs on. Names are UTF-8, or any bytes where the system takes these.
namespace keyreap {

// True also for what is no file, or can't be looked at.
bool IsThere(const std::string& name);

// None if the file can't be read.
std::optional<std::vector<std::uint8_t>> ReadWholeFile(const std::string& name);

// False if not all of it was written.
bool WriteWholeFile(const std::string& name, std::string_view bytes);

// The last part of the name.
std::string FileNameOf(const std::string& name);

// The name from the root of the file system, without a look at the file.
std::string FullName(const std::string& name);

// The full path under which a Windows program sees the file: on another system on drive Z:, as under Wine. A
// path of Windows stays as it is. Empty if the name isn't UTF-8.
std::wstring WindowsPathOf(const std::string& name);

// True for a drive's path or a share's.
bool IsWindowsPath(std::string_view name);

} // namespace keyreap
