#pragma once

#include "platform/core/compiler.h"
#include "platform/core/exceptionhandling.h"

#include <cstdint>
#include <exception>
#include <string>

namespace keyreap {

// What a session's failures name as their place.
inline constexpr wchar_t sessionSource[] = L"nativefileregister";
inline constexpr std::uint32_t sessionCatchLine = 176;

// Turns a foreign exception into an object that is dropped at once: a failure on this road shows nothing.
inline void DropFailure(const CAtlException& error) {
    WindowsException(sessionSource, sessionCatchLine).SetWin32Error(static_cast<std::uint32_t>(error.m_hr));
}

inline void DropFailure(const _com_error& error) {
    WindowsException(sessionSource, sessionCatchLine).SetComError(error);
}

inline void DropUnknownFailure() {
    const Exception unknown(sessionSource, sessionCatchLine, std::wstring(L"Unknown exception"));
}

// The result of `body`, or false whatever it throws.
template <typename Body>
bool SucceedsOrDrops(Body&& body) noexcept {
    try {
        try {
            return body();
        } catch (const std::exception&) {
        } catch (const Exception&) {
        } catch (const CAtlException& error) {
            DropFailure(error);
        } catch (const _com_error& error) {
            DropFailure(error);
        } catch (...) {
            DropUnknownFailure();
        }
    } catch (...) {
        // Not even the object to be dropped could be made.
    }
    return false;
}

} // namespace keyreap
