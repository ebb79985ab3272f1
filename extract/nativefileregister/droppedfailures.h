#pragma once

#include "platform/core/compiler.h"
#include "platform/core/exceptionhandling.h"

#include <cstdint>
#include <exception>
#include <string>

namespace keyreap {

// The place that a session's failures name.
inline constexpr wchar_t sessionSource[] = L"nativefileregister";
inline constexpr std::uint32_t sessionCatchLine = 176;

// Makes this system's object of a foreign exception and drops it at once: a session's failure is not shown.
inline void DropFailure(const CAtlException& error) {
    WindowsException(sessionSource, sessionCatchLine).SetWin32Error(static_cast<std::uint32_t>(error.m_hr));
}

inline void DropFailure(const _com_error& error) {
    WindowsException(sessionSource, sessionCatchLine).SetComError(error);
}

inline void DropUnknownFailure() {
    const Exception unknown(sessionSource, sessionCatchLine, std::wstring(L"Unknown exception"));
}

// The result of `body`; false if it throws anything.
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
        // The object to be dropped could not be made either.
    }
    return false;
}

} // namespace keyreap
