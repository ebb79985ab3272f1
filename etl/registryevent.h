#pragma once

#include <cstdint>

namespace keyreap {

// Types of registry events, the values of EVENT_TRACE_TYPE_REGCREATE and its neighbours in evntrace.h.
namespace registryevent {
inline constexpr std::uint8_t createKey = 10;
inline constexpr std::uint8_t openKey = 11;
inline constexpr std::uint8_t deleteKey = 12;
inline constexpr std::uint8_t queryKey = 13;
inline constexpr std::uint8_t setValue = 14;
inline constexpr std::uint8_t deleteValue = 15;
inline constexpr std::uint8_t queryValue = 16;
inline constexpr std::uint8_t enumerateKey = 17;
inline constexpr std::uint8_t enumerateValue = 18;
inline constexpr std::uint8_t queryMultipleValue = 19;
inline constexpr std::uint8_t setInformation = 20;
inline constexpr std::uint8_t flush = 21;
inline constexpr std::uint8_t kcbCreate = 22;
inline constexpr std::uint8_t kcbDelete = 23;
inline constexpr std::uint8_t kcbRundownBegin = 24;
inline constexpr std::uint8_t kcbRundownEnd = 25;
inline constexpr std::uint8_t virtualize = 26;
inline constexpr std::uint8_t close = 27;
inline constexpr std::uint8_t setSecurity = 28;
inline constexpr std::uint8_t querySecurity = 29;
} // namespace registryevent

} // namespace keyreap
