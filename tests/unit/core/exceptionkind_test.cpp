#include "platform/core/exceptionkind.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(ExceptionKindName, HasARowForEachKind) {
    EXPECT_EQ(ExceptionKindName(ExceptionKind{0}), L"EXCEPTION_STD");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{1}), L"EXCEPTION_UNHANDLED");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{2}), L"EXCEPTION_GENERIC");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{3}), L"EXCEPTION_WIN32");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{4}), L"EXCEPTION_CMD");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{5}), L"EXCEPTION_XML_PARSE");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{6}), L"EXCEPTION_SEH");
}

TEST(ExceptionKindName, AnyOtherValueIsUnknown) {
    EXPECT_EQ(ExceptionKindName(ExceptionKind{7}), L"Exception ???");
    EXPECT_EQ(ExceptionKindName(ExceptionKind{-1}), L"Exception ???");
}

TEST(SehKindName, HasARowForEachKind) {
    EXPECT_EQ(SehKindName(SehKind{0}), L"SEH_GENERIC");
    EXPECT_EQ(SehKindName(SehKind{1}), L"SEH_AV_READ_NULLPTR");
    EXPECT_EQ(SehKindName(SehKind{2}), L"SEH_AV_READ_BADPTR");
    EXPECT_EQ(SehKindName(SehKind{3}), L"SEH_AV_WRITE_NULLPTR");
    EXPECT_EQ(SehKindName(SehKind{4}), L"SEH_AV_WRITE_BADPTR");
    EXPECT_EQ(SehKindName(SehKind{5}), L"SEH_AV_DEP_NULLPTR");
    EXPECT_EQ(SehKindName(SehKind{6}), L"SEH_AV_DEP_BADPTR");
}

TEST(SehKindName, AnyOtherValueIsGeneric) {
    EXPECT_EQ(SehKindName(SehKind{7}), L"SEH_GENERIC");
    EXPECT_EQ(SehKindName(SehKind{-1}), L"SEH_GENERIC");
}

} // namespace
} // namespace keyreap
