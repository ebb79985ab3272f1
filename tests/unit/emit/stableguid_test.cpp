#include "kit/emit/stableguid.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(NamedGuid, IsThePublishedOne) {
    // The example of RFC 9562, A.4.
    const std::optional<Guid> dns = WholeGuid(L"6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    EXPECT_EQ(BareGuidText(NamedGuid(*dns, "www.example.com")), L"2ED6657D-E927-568B-95E1-2665A8AEA6A2");
}

TEST(NamedGuid, DependsOnSpaceAndName) {
    const Guid space = *WholeGuid(L"{B29A312E-EB83-43BC-A846-E0C0563B8801}");
    EXPECT_EQ(NamedGuid(space, "a"), NamedGuid(space, "a"));
    EXPECT_NE(NamedGuid(space, "a"), NamedGuid(space, "b"));
    EXPECT_NE(NamedGuid(space, "a"), NamedGuid(Guid(), "a"));
}

TEST(WholeGuid, HasBracesOrNot) {
    EXPECT_EQ(BareGuidText(*WholeGuid(L"{b29a312e-eb83-43bc-a846-e0c0563b8801}")),
              L"B29A312E-EB83-43BC-A846-E0C0563B8801");
    EXPECT_TRUE(WholeGuid(L"b29a312e-eb83-43bc-a846-e0c0563b8801"));
    for (const wchar_t* const other : {L"", L"{}", L"b29a312e", L"{b29a312e-eb83-43bc-a846-e0c0563b8801",
                                       L"g29a312e-eb83-43bc-a846-e0c0563b8801"}) {
        EXPECT_FALSE(WholeGuid(other));
    }
}

} // namespace
} // namespace keyreap
