#include "platform/os/comapartment.h"

#include <gtest/gtest.h>

#include <thread>

namespace keyreap {
namespace {

// Runs a test on a thread without COM.
template <typename Body>
void OnFreshThread(Body body) {
    std::thread(body).join();
}

// The result of entering the multithreaded apartment, which is left again.
HRESULT EnterMultithreaded() {
    const HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(result)) {
        CoUninitialize();
    }
    return result;
}

bool IsSingleThreaded() {
    return EnterMultithreaded() == RPC_E_CHANGED_MODE;
}

TEST(ComApartment, LastsAsLongAsTheObject) {
    OnFreshThread([] {
        {
            const ComApartment apartment;
            EXPECT_TRUE(IsSingleThreaded());
        }
        EXPECT_EQ(EnterMultithreaded(), S_OK);
    });
}

TEST(ComApartment, EarlierApartmentKeepsTheAddedEntry) {
    OnFreshThread([] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        static_cast<void>(ComApartment());
        CoUninitialize();
        EXPECT_TRUE(IsSingleThreaded());
        CoUninitialize();
        EXPECT_EQ(EnterMultithreaded(), S_OK);
    });
}

TEST(ComApartment, EarlierApartmentLosesTheAddedEntryIfAlwaysLeft) {
    OnFreshThread([] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        static_cast<void>(ComApartment(ApartmentExit::always));
        EXPECT_TRUE(IsSingleThreaded());
        CoUninitialize();
        EXPECT_EQ(EnterMultithreaded(), S_OK);
    });
}

TEST(ComApartment, EarlierMultithreadedApartmentIsLeftAlone) {
    OnFreshThread([] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        static_cast<void>(ComApartment());
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
    });
}

TEST(ComApartment, EarlierMultithreadedApartmentLosesAnEntryIfAlwaysLeft) {
    OnFreshThread([] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        static_cast<void>(ComApartment(ApartmentExit::always));
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        CoUninitialize();
    });
}

} // namespace
} // namespace keyreap
