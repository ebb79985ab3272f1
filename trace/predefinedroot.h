#pragma once

#include <cstdint>

// The predefined registry roots as the trace rooms pass them: the value of the predefined handle (winreg.h)
// as 64 bits, sign-extended in a 64-bit build. winreg.h has their names as macros.
namespace keyreap {

using PredefinedRoot = std::uint64_t;

constexpr PredefinedRoot PredefinedRootFrom(std::uint32_t handle) {
    return static_cast<std::uintptr_t>(static_cast<std::intptr_t>(static_cast<std::int32_t>(handle)));
}

inline constexpr PredefinedRoot noRoot = 0;
inline constexpr PredefinedRoot classesRoot = PredefinedRootFrom(0x80000000);
inline constexpr PredefinedRoot currentUserRoot = PredefinedRootFrom(0x80000001);
inline constexpr PredefinedRoot localMachineRoot = PredefinedRootFrom(0x80000002);
inline constexpr PredefinedRoot usersRoot = PredefinedRootFrom(0x80000003);

} // namespace keyreap
