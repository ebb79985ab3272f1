#pragma once

#include "kit/check/checkreport.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The file that a check of a capture leaves beside it (docs/check.schema.json).
namespace keyreap {

struct CheckPartName {
    CheckPart part;
    std::string_view name;
};

// The parts of a check in their order, as command lines and check files name them.
inline constexpr std::array<CheckPartName, 7> checkPartNames = {{
    {CheckPart::Whole, "whole"},
    {CheckPart::Result, "result"},
    {CheckPart::Works, "works"},
    {CheckPart::Clean, "clean"},
    {CheckPart::Noise, "noise"},
    {CheckPart::Same, "same"},
    {CheckPart::Fillers, "fillers"},
}};

// server.check.json for server.reg; a name with another ending keeps it.
std::string CheckFileName(const std::string& captureName);

// The digest by which a check file knows its capture.
std::string DigestOf(std::span<const std::uint8_t> captureBytes);

// The text of a check file. Half a character, for which there is no UTF-8, is U+FFFD in it.
std::string CheckJson(const CheckReport& report);

// The noise in a capture of this digest, as the text of a check file has it; none if the check left that part
// out. A Refusal that begins with the file's name if the text is damaged, or is of another capture.
std::optional<std::vector<NoiseEntry>> NoiseIn(std::string_view json, std::string_view digest,
                                               const std::string& fileName);

// The same of the check file beside a capture; none also if there is no such file.
std::optional<std::vector<NoiseEntry>> ReadNoise(const std::string& captureName,
                                                 std::span<const std::uint8_t> captureBytes);

// A finding as the text of a check file has it.
struct WrittenFinding {
    std::wstring rule;
    std::wstring key;                  // empty: the whole capture
    std::optional<std::wstring> value; // none: the key itself
    std::wstring sentence;
};

// The findings in a check file, with the failures of NoiseIn; none without such a file beside the capture.
std::vector<WrittenFinding> CheckFindingsIn(std::string_view json, std::string_view digest,
                                            const std::string& fileName);
std::vector<WrittenFinding> ReadCheckFindings(const std::string& captureName,
                                              std::span<const std::uint8_t> captureBytes);

} // namespace keyreap
