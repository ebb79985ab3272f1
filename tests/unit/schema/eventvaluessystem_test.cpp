#include "platform/core/text/text.h"
#include "tests/support/tracebuilder.h"
#include "trace/schema/eventvalues.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t cimString = 8; // by their published numbers, wbemcli.h
constexpr std::uint32_t cimUint8 = 17;

TEST(DecodeValues, NarrowTextMovesTheCursorByItsBytesInWideText) {
    const std::wstring euro = L"\u20AC";
    const PayloadBuilder payload =
        PayloadBuilder().Narrow(WideToMultiByte(euro, CP_ACP)).U8(0).U32(0x04030201);
    const EventSchema schema{{{L"", cimString, {}}, {L"", cimUint8, {}}}, 8};
    EventValues values(schema);
    EXPECT_TRUE(DecodeValues(values, payload.bytes));
    EXPECT_EQ(values.values[0].at(0).text, euro);
    // Both bytes of the character, and one for the end.
    EXPECT_EQ(values.values[1].at(0).number, std::to_integer<std::uint64_t>(payload.bytes[3]));
}

} // namespace
} // namespace keyreap
