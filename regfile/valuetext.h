#pragma once

#include <cstdint>
#include <span>
#include <string>

// `ValueText`: a registry value's data in the canonical text that the .reg encoders take. Two conversions
// exist and differ deliberately: one for the harvest of the temporary trees, one for the replay of a trace.
namespace keyreap {

using ValueText = std::wstring;

// Registry type codes, as in winnt.h; the names there are macros.
enum class RegType : std::uint32_t {
    None = 0,
    Sz = 1,
    ExpandSz = 2,
    Binary = 3,
    Dword = 4,
    DwordBigEndian = 5,
    Link = 6,
    MultiSz = 7,
    ResourceList = 8,
    FullResourceDescriptor = 9,
    ResourceRequirementsList = 10,
    Qword = 11,
};

// The harvest's conversion of a value's raw data. Empty data clears `text`. REG_NONE, REG_QWORD and all types
// without a form of their own leave `text` unchanged. A string without terminator ends with its data; an odd
// last byte is ignored; the missing bytes of a short REG_DWORD count as 0.
void HarvestValueText(std::uint32_t type, std::span<const std::uint8_t> data, ValueText& text);

// The replay's conversion: every type has a text. A REG_DWORD of fewer than four bytes has the empty text.
ValueText ReplayValueText(std::uint32_t type, std::span<const std::uint8_t> data);

} // namespace keyreap
