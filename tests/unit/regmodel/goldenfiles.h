#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

// The golden files of the whole program, where they are in the source tree.
namespace keyreap::testsupport {

std::filesystem::path GoldenFile(std::string_view name);

// All of them, sorted.
std::vector<std::filesystem::path> GoldenFiles();

std::vector<std::uint8_t> ContentOf(const std::filesystem::path& file);

} // namespace keyreap::testsupport
