#include "platform/core/text/platformguid.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

// IID_IUnknown, whose parts are published.
constexpr GUID unknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

TEST(PlatformGuid, GoesThereAndBackUnchanged) {
    const Guid guid = ParseGuid(L"{01234567-89AB-CDEF-0123-456789ABCDEF}");
    const GUID platform = ToPlatformGuid(guid);
    EXPECT_EQ(platform.Data1, 0x01234567UL);
    EXPECT_EQ(platform.Data2, 0x89AB);
    EXPECT_EQ(platform.Data3, 0xCDEF);
    EXPECT_EQ(platform.Data4[0], 0x01);
    EXPECT_EQ(platform.Data4[7], 0xEF);
    EXPECT_EQ(FromPlatformGuid(platform), guid);
}

TEST(PlatformGuid, AParsedTextIsThePlatformsOwn) {
    EXPECT_EQ(FromPlatformGuid(unknown), ParseGuid(L"{00000000-0000-0000-C000-000000000046}"));
}

} // namespace
} // namespace keyreap
