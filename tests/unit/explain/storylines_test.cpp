#include "kit/explain/storylines.h"
#include "tests/unit/explain/capturedstory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using Texts = std::vector<std::wstring>;

const std::wstring key = std::wstring(treePath) + L"HKCR\\Server";
const std::wstring name = L"HKEY_CLASSES_ROOT\\Server";

TEST(StoryLines, ALineSaysWhoDidWhatAndWhatBecameOfIt) {
    CapturedStory capture;
    capture.Set(key, L"a");
    capture.Set(key, L"a");
    capture.Set(key, L"");
    capture.HasValue(name, L"a").HasValue(name, L"");
    EXPECT_EQ(
        StoryLines(capture.Explained()),
        (Texts{L"1 KeyKitExplain.exe (32): set value HKEY_CLASSES_ROOT\\Server, value \"a\": overwritten "
               L"later (line 2, set value by KeyKitExplain.exe (32))",
               L"2 KeyKitExplain.exe (32): set value HKEY_CLASSES_ROOT\\Server, value \"a\": in the result",
               L"3 KeyKitExplain.exe (32): set value HKEY_CLASSES_ROOT\\Server, default value: in the "
               L"result"}));
}

TEST(StoryLines, EqualOperationsOnKeysAreOneLine) {
    CapturedStory capture;
    capture.Create(key);
    capture.Create(key);
    capture.HasKey(name);
    EXPECT_EQ(
        StoryLines(capture.Explained()),
        Texts{L"1 KeyKitExplain.exe (32): create key HKEY_CLASSES_ROOT\\Server: in the result (2 times)"});
}

TEST(StoryLines, AProcessThatIsNotWatchedHasItsParent) {
    CapturedStory capture;
    const std::size_t child = capture.StartProcess(L"child.exe", 0);
    capture.By(child).Create(L"\\REGISTRY\\Machine\\Software\\A");
    EXPECT_EQ(
        StoryLines(capture.Explained()),
        Texts{
            L"1 child.exe (33): create key HKEY_LOCAL_MACHINE\\Software\\A: not in the result: by a process "
            L"that isn't watched, started by KeyKitExplain.exe (32)"});
}

TEST(StoryLines, WhatOnlyReadsAndOtherProgramsAreCounted) {
    CapturedStory capture;
    capture.Open(key);
    const std::size_t foreign = capture.StartProcess(L"services.exe", noIndex, false);
    capture.By(foreign).Create(L"\\REGISTRY\\Machine\\Software\\A");
    const Texts lines = StoryLines(capture.Explained());
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with(L"2 more operations")) << lines[0].size();
}

TEST(StoryLines, TheStoryOfAKeyHasTheReadsToo) {
    CapturedStory capture;
    capture.Open(key);
    capture.Open(key + L"\\Sub");
    EXPECT_EQ(
        StoryLines(capture.Explained(), *KeyFilter::Of(name, {})),
        Texts{L"1 KeyKitExplain.exe (32): open key HKEY_CLASSES_ROOT\\Server: was there and only opened"});
}

TEST(StoryLines, ANameAddsNoLines) {
    CapturedStory capture;
    capture.Set(key, L"a\n\x1b\x9b");
    capture.HasValue(name, L"a\n\x1b\x9b");
    const Texts lines = StoryLines(capture.Explained());
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(L"value \"a???\""), std::wstring::npos);
}

TEST(StoryLines, OnlyAKernelTraceHasTimes) {
    CapturedStory capture;
    const std::size_t set = capture.Set(key, L"");
    capture.HasValue(name, L"");
    capture.Operation(set).time = 120'000;
    EXPECT_EQ(StoryLines(capture.Explained()),
              Texts{L"1 12 ms KeyKitExplain.exe (32): set value HKEY_CLASSES_ROOT\\Server, default value: in "
                    L"the result"});
}

TEST(StoryLines, AStoryThatDoesNotMarkTheSystemsShowsNoValueThatWasSoughtInVain) {
    CapturedStory capture;
    capture.Add(registryevent::queryValue, key, L"a", notFound);
    EXPECT_EQ(StoryLines(capture.Explained()).size(), 1U);
    EXPECT_NE(StoryLines(capture.Explained())[0].find(L"not there at all"), std::wstring::npos);
    capture.story.marksSystems = false;
    EXPECT_TRUE(StoryLines(capture.Explained())[0].starts_with(L"1 more operations"));
    capture.Open(key + L"\\Sub", notFound);
    EXPECT_NE(StoryLines(capture.Explained())[0].find(L"not there at all"), std::wstring::npos);
    EXPECT_EQ(StoryLines(capture.Explained(), *KeyFilter::Of(name, L"a")).size(), 1U);
}

TEST(StoryLines, ARenamingNamesTheNewKey) {
    CapturedStory capture;
    capture.Set(key, L"a");
    capture.Rename(key, L"New");
    const Texts expected = {
        L"1 KeyKitExplain.exe (32): set value HKEY_CLASSES_ROOT\\Server, value \"a\": its key was renamed "
        L"later "
        L"(line 2, rename key to \"New\" by KeyKitExplain.exe (32)); the result has the new name",
        L"2 KeyKitExplain.exe (32): rename key HKEY_CLASSES_ROOT\\Server to \"New\": the result has the new "
        L"name"};
    EXPECT_EQ(StoryLines(capture.Explained()), expected);
}

TEST(StoryLines, TheStoryOfAKeyHasTheRenamingToIt) {
    CapturedStory capture;
    capture.Rename(key, L"New");
    EXPECT_EQ(StoryLines(capture.Explained(), *KeyFilter::Of(L"HKCR\\new", {})).size(), 1U);
    EXPECT_TRUE(StoryLines(capture.Explained(), *KeyFilter::Of(L"HKCR\\Newer", {})).empty());
}

} // namespace
} // namespace keyreap
