#include "extract/nativefileregister/droppedfailures.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace keyreap {
namespace {

TEST(SucceedsOrDrops, GivesTheResultOfTheBody) {
    EXPECT_TRUE(SucceedsOrDrops([] { return true; }));
    EXPECT_FALSE(SucceedsOrDrops([] { return false; }));
}

TEST(SucceedsOrDrops, StandardExceptionsAreDropped) {
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw std::runtime_error("x"); }));
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw std::bad_alloc(); }));
}

TEST(SucceedsOrDrops, OwnExceptionsAndThoseDerivedFromThemAreDropped) {
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw Exception(L"file", 1); }));
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw WindowsException(L"file", 1); }));
}

TEST(SucceedsOrDrops, ComFailuresAreDropped) {
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw CAtlException(E_FAIL); }));
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw _com_error(E_NOINTERFACE); }));
}

TEST(SucceedsOrDrops, AnythingElseIsDropped) {
    EXPECT_FALSE(SucceedsOrDrops([]() -> bool { throw 7; }));
}

} // namespace
} // namespace keyreap
