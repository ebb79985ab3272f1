#pragma once

#include <cstdint>
#include <span>
#include <string>

// `ValueText`: a registry value's data in the canonical text that the .reg encoders take. Two producers
// exist, and they differ on purpose: the harvest of the temporary trees and the replay of a trace.
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

// The harvest's conversion of a value's raw data. Empty data clears `text`; the types REG_NONE, REG_QWORD and
// all that have no form of their own leave `text` as the caller had it. Data that lacks a terminator ends
// where it ends; an odd last byte is no character; the bytes that a short REG_DWORD lacks count as 0.
void HarvestValueText(std::uint32_t type, std::span<const std::uint8_t> data, ValueText& text);

// The replay's conversion: every type gives a text of its own. A REG_DWORD of fewer than four bytes is empty.
ValueText ReplayValueText(std::uint32_t type, std::span<const std::uint8_t> data);

} // namespace keyreap
