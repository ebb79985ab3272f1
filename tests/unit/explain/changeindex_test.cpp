#include "kit/explain/changeindex.h"
#include "tests/unit/explain/capturedstory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

bool All(const StoryOperation&) {
    return true;
}

TEST(ChangeIndex, FindsTheNextChangeOfAValue) {
    CapturedStory capture;
    const std::size_t first = capture.Set(L"\\A", L"v");
    capture.Set(L"\\A", L"w");
    capture.Set(L"\\B", L"v");
    const std::size_t second = capture.DeleteValue(L"\\a", L"V");
    const ChangeIndex changes(capture.story.operations, All);
    EXPECT_EQ(changes.Next(first), second);
    EXPECT_EQ(changes.Next(second), noIndex);
    EXPECT_EQ(changes.Previous(second), first);
    EXPECT_EQ(changes.Previous(first), noIndex);
}

TEST(ChangeIndex, FindsTheNextRemovalOfAKeyAbove) {
    CapturedStory capture;
    const std::size_t created = capture.Create(L"\\A\\B\\C");
    capture.Create(L"\\A\\B\\C");
    capture.DeleteKey(L"\\A\\B\\C\\D");
    capture.DeleteKey(L"\\A\\Bx");
    const std::size_t renamed = capture.Rename(L"\\A\\B", L"New");
    capture.DeleteKey(L"\\A");
    EXPECT_EQ(ChangeIndex(capture.story.operations, All).Next(created), renamed);
}

TEST(ChangeIndex, FindsTheCreationAheadOfARemoval) {
    CapturedStory capture;
    const std::size_t created = capture.Create(L"\\A");
    capture.Set(L"\\A", L"v");
    const std::size_t removed = capture.DeleteKey(L"\\A");
    EXPECT_EQ(ChangeIndex(capture.story.operations, All).Previous(removed), created);
}

TEST(ChangeIndex, FailedOperationsAndThoseThatDoNotCountChangeNothing) {
    CapturedStory capture;
    const std::size_t first = capture.Set(L"\\A", L"v");
    capture.Add(registryevent::setValue, L"\\A", L"v", notFound);
    capture.By(0, 99).Set(L"\\A", L"v");
    const ChangeIndex changes(capture.story.operations,
                              [](const StoryOperation& operation) { return operation.threadId != 99; });
    EXPECT_EQ(changes.Next(first), noIndex);
}

TEST(ChangeIndex, TouchesAKeyWithChangesOrChangedValues) {
    CapturedStory capture;
    capture.Create(L"\\Created");
    capture.Set(L"\\Set", L"v");
    capture.Open(L"\\Opened");
    const ChangeIndex changes(capture.story.operations, All);
    EXPECT_TRUE(changes.Touches(L"\\created"));
    EXPECT_TRUE(changes.Touches(L"\\Set"));
    EXPECT_FALSE(changes.Touches(L"\\Opened"));
}

} // namespace
} // namespace keyreap
