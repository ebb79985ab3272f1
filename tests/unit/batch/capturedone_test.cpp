#include "kit/batch/capturedone.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

CapturesDone TwoCaptures() {
    return {{"a.reg", {"d1", "both", "v1", {{"/b/a.dll", "d2"}, {"/b/c.dll", "d3"}}}},
            {"sub/b.reg", {"d4", "keyRedir", "v1", {{"/b/\"b\".dll", "d5"}}}}};
}

TEST(CaptureDoneTest, TheRecordIsReadAsItWasWritten) {
    EXPECT_EQ(CapturesDoneIn(CapturesDoneText(TwoCaptures())), TwoCaptures());
}

TEST(CaptureDoneTest, AnEmptyRecordIsReadAsItWasWritten) {
    EXPECT_EQ(CapturesDoneIn(CapturesDoneText({})), CapturesDone());
    EXPECT_EQ(CapturesDoneText({}), "{\n \"format\": 1,\n \"captures\": []\n}\n");
}

TEST(CaptureDoneTest, OfAnyPartOfARecordNothingIsKnown) {
    const std::string whole = CapturesDoneText(TwoCaptures());
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
        ASSERT_EQ(CapturesDoneIn(whole.substr(0, length)), CapturesDone()) << length;
    }
}

TEST(CaptureDoneTest, OfARecordInAnotherFormatNothingIsKnown) {
    std::string text = CapturesDoneText(TwoCaptures());
    text.replace(text.find(": 1"), 3, ": 2");
    EXPECT_EQ(CapturesDoneIn(text), CapturesDone());
    EXPECT_EQ(CapturesDoneIn(R"({"format": 1, "captures": [{"capture": 1}]})"), CapturesDone());
}

TEST(CaptureDoneTest, ANameThatIsNoUtf8IsNoFailure) {
    EXPECT_NE(CapturesDoneText({{"\xff.reg", {}}}).find("\uFFFD.reg"), std::string::npos);
}

} // namespace
} // namespace keyreap
