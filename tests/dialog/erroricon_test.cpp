#include "platform/core/errorreport/erroricon.h"

#include <gmock/gmock.h>

namespace keyreap {
namespace {

// The icon that all users of a process share.
HICON SharedIcon() {
    return LoadIconW(nullptr, reinterpret_cast<const wchar_t*>(IDI_ERROR));
}

bool IsThere(HICON icon) {
    ICONINFO parts = {};
    if (!GetIconInfo(icon, &parts)) {
        return false;
    }
    DeleteObject(parts.hbmColor);
    DeleteObject(parts.hbmMask);
    return true;
}

TEST(ErrorIcon, IsItsOwnIconScaledByTheCommonControls) {
    ErrorIcon icon;
    const HICON loaded = icon.Load();
    EXPECT_TRUE(IsThere(loaded));
    EXPECT_NE(loaded, SharedIcon());
}

TEST(ErrorIcon, IsDestroyedWithTheObjectIfItIsItsOwn) {
    HICON loaded = nullptr;
    {
        ErrorIcon icon;
        loaded = icon.Load();
        EXPECT_TRUE(IsThere(loaded));
    }
    EXPECT_FALSE(IsThere(loaded));
}

class WithoutScaling : public testing::TestWithParam<const wchar_t*> {};

TEST_P(WithoutScaling, IsTheSharedIconAndStays) {
    HICON loaded = nullptr;
    {
        ErrorIcon icon(GetParam());
        loaded = icon.Load();
    }
    EXPECT_EQ(loaded, SharedIcon());
    EXPECT_TRUE(IsThere(loaded));
}

INSTANTIATE_TEST_SUITE_P(OfALibraryWithoutTheEntryPointOrNone, WithoutScaling,
                         testing::Values(L"kernel32.dll", L"keyreap-no-such-library.dll"));

} // namespace
} // namespace keyreap
