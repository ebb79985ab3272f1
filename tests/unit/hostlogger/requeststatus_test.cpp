#include "hostlogger/requeststatus.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(ServerStatus, SuccessIsZero) {
    EXPECT_EQ(ServerStatus("0"), 0U);
}

TEST(ServerStatus, NamesAreThoseOfNtStatuses) {
    EXPECT_EQ(ServerStatus("OBJECT_NAME_NOT_FOUND"), 0xC0000034U);
    EXPECT_EQ(ServerStatus("OBJECT_NAME_EXISTS"), 0x40000000U);
    EXPECT_EQ(ServerStatus("ACCESS_DENIED"), 0xC0000022U);
    EXPECT_EQ(ServerStatus("INVALID_HANDLE"), 0xC0000008U);
    EXPECT_EQ(ServerStatus("KEY_DELETED"), 0xC000017CU);
    EXPECT_EQ(ServerStatus("CHILD_MUST_BE_VOLATILE"), 0xC0000181U);
    EXPECT_EQ(ServerStatus("PREDEFINED_HANDLE"), 0x40000016U);
}

TEST(ServerStatus, StatusesWithoutANameAreHexadecimal) {
    EXPECT_EQ(ServerStatus("c0000123"), 0xC0000123U);
    EXPECT_EQ(ServerStatus("103"), 0x103U);
}

TEST(ServerStatus, AnInvalidStatusIsAFailure) {
    for (const char* text :
         {"", " ", "SOMETHING_ELSE", "0x1", "-1", "1ffffffff", "12 ", "object_name_exists"}) {
        EXPECT_EQ(ServerStatus(text), 0xC0000001U) << '"' << text << '"';
    }
}

} // namespace
} // namespace keyreap
