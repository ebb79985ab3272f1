#pragma once

#include <cstdint>

namespace keyreap {

// The kernel's registry event types that the logger writes, EVENT_TRACE_TYPE_REG... of evntrace.h.
inline constexpr std::uint8_t registryCreate = 10;
inline constexpr std::uint8_t registryOpen = 11;
inline constexpr std::uint8_t registryDelete = 12;
inline constexpr std::uint8_t registrySetValue = 14;
inline constexpr std::uint8_t registryDeleteValue = 15;
inline constexpr std::uint8_t registryQueryValue = 16;
inline constexpr std::uint8_t registrySetInformation = 20;
inline constexpr std::uint8_t registryKcbCreate = 22;
inline constexpr std::uint8_t registryKcbRundownEnd = 25;
inline constexpr std::uint8_t registryClose = 27;

} // namespace keyreap
