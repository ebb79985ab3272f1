#pragma once

#include <windows.h>

#include <objbase.h>

namespace keyreap {

enum class ApartmentExit {
    ifEntered, // only if the object was the first to enter (exactly S_OK)
    always,    // whatever the attempt to enter gave
};

// A single-threaded COM apartment on this thread, for the life of the object. With `ifEntered`, an apartment
// of the same kind that the thread was in already counts one entry more from then on, and one of another kind
// is left alone.
class ComApartment {
public:
    explicit ComApartment(ApartmentExit exit = ApartmentExit::ifEntered)
        : leaves(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED) == S_OK || exit == ApartmentExit::always) {
    }
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() {
        if (leaves) {
            CoUninitialize();
        }
    }

private:
    bool leaves;
};

} // namespace keyreap
