#pragma once

#include <windows.h>

#include <cstddef>

namespace keyreap::testsupport {

// Calls callbacks from machine code for which no unwind tables exist, as code of the system may be: an
// exception that leaves the callback finds no way to a handler and ends the process.
class UntabledCall {
public:
    UntabledCall();
    ~UntabledCall();
    UntabledCall(const UntabledCall&) = delete;
    UntabledCall& operator=(const UntabledCall&) = delete;

    // Calls a function that takes a pointer, and gives its result, which means nothing if the function has
    // none.
    template <typename Result, typename Argument>
    ULONG operator()(Result(WINAPI* function)(Argument*), Argument* argument) const {
        return Call(reinterpret_cast<const void*>(function), argument);
    }

private:
    ULONG Call(const void* function, void* argument) const;

    void* code;
};

} // namespace keyreap::testsupport
