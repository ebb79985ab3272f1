#include "kit/explain/advice.h"
#include "tests/unit/explain/capturedstory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::wstring key = std::wstring(treePath) + L"HKCR\\Server";
const std::wstring name = L"HKEY_CLASSES_ROOT\\Server";

std::wstring AdviceOn(CapturedStory& capture, std::optional<std::wstring> value = {}) {
    return AdviceText(capture.Explained(), *KeyFilter::Of(name, value));
}

TEST(Advice, WhatIsThereNeedsNone) {
    CapturedStory capture;
    capture.Set(key, L"a");
    capture.HasValue(name, L"a");
    EXPECT_EQ(AdviceOn(capture, L"a"), name + L", value \"a\": it is in the result.");
    EXPECT_TRUE(IsInResult(capture.Explained(), *KeyFilter::Of(name, L"a")));
    EXPECT_FALSE(IsInResult(capture.Explained(), *KeyFilter::Of(name, L"b")));
}

TEST(Advice, AnEmptyKeyLeadsToTheModeTrace) {
    CapturedStory capture;
    capture.Open(std::wstring(treePath) + L"HKLM\\Software\\Needed", notFound);
    capture.live.keys = {L"Software\\Needed"};
    EXPECT_EQ(
        AdviceOn(capture, L""),
        name +
            L", default value: it is not in the result; nothing was done to it; the last thing that was "
            L"looked for, and is only in the registry, is HKEY_LOCAL_MACHINE\\Software\\Needed (line 1): try "
            L"the mode trace.");
}

TEST(Advice, AMissingKeyLeadsToADependency) {
    CapturedStory capture;
    capture.Open(std::wstring(treePath) + L"HKCR\\CLSID\\{1}", notFound);
    EXPECT_NE(AdviceOn(capture).find(L"supply the dependency that HKEY_CLASSES_ROOT\\CLSID\\{1} belongs to"),
              std::wstring::npos);
}

TEST(Advice, WhatNobodyTouchedMayBeMisspelt) {
    CapturedStory capture;
    EXPECT_EQ(AdviceOn(capture),
              name + L": it is not in the result; nothing was done to it; check its spelling.");
}

TEST(Advice, AChildIsCapturedByItself) {
    CapturedStory capture;
    const std::size_t child = capture.StartProcess(L"child.exe", 0);
    capture.By(child).Set(L"\\REGISTRY\\Machine\\Software\\Classes\\Server", L"a");
    EXPECT_NE(AdviceOn(capture).find(L"capture child.exe (33) itself"), std::wstring::npos);
}

TEST(Advice, ARenamedKeyLeadsToTheModeKeyRedir) {
    CapturedStory capture;
    capture.Set(key, L"a");
    capture.Rename(key, L"New");
    capture.HasFiller(name, L"a");
    capture.RecordTrace();
    EXPECT_EQ(AdviceOn(capture, L"a"),
              name + L", value \"a\": its data are not in the result; try the mode keyRedir, "
                     L"which has renamed keys right.");
}

TEST(Advice, TheNewNameOfARenamedKeyIsInTheResultIfTheFileHasIt) {
    CapturedStory capture;
    capture.Set(key, L"a");
    capture.Rename(key, L"New");
    const KeyFilter filter = *KeyFilter::Of(L"HKCR\\New", {});
    EXPECT_EQ(AdviceText(capture.Explained(), filter),
              L"HKEY_CLASSES_ROOT\\New: it is not in the result; nothing was set in it under this name: "
              L"HKEY_CLASSES_ROOT\\Server was renamed to it (line 2); ask about that key.");
    capture.HasKey(L"HKEY_CLASSES_ROOT\\New");
    EXPECT_TRUE(IsInResult(capture.Explained(), filter));
    EXPECT_FALSE(IsInResult(capture.Explained(), *KeyFilter::Of(L"HKCR\\New", L"a")));
}

TEST(Advice, TheNewNameOfARenamedKeyLeadsATraceToTheModeKeyRedir) {
    CapturedStory capture;
    capture.Rename(key, L"New");
    capture.RecordTrace();
    EXPECT_NE(AdviceText(capture.Explained(), *KeyFilter::Of(L"HKCR\\New", {}))
                  .find(L"(line 1); try the mode keyRedir"),
              std::wstring::npos);
}

TEST(Advice, ARemovalOfWhatIsMissingNeedsNoRights) {
    CapturedStory capture;
    capture.Add(registryevent::deleteValue, key, L"a", notFound);
    EXPECT_EQ(AdviceOn(capture, L"a"), name +
                                           L", value \"a\": it is not in the result; nothing is missing: the "
                                           L"server only wanted it removed, and it was not there.");
}

TEST(Advice, AControlSetWithoutValuesMayBeTheServers) {
    CapturedStory capture;
    capture.Create(L"\\REGISTRY\\Machine\\System\\CurrentControlSet\\Server");
    capture.RecordTrace();
    const std::wstring text =
        AdviceText(capture.Explained(), *KeyFilter::Of(L"HKLM\\SYSTEM\\CurrentControlSet\\Server", {}));
    EXPECT_NE(text.find(L"if it is the server's"), std::wstring::npos) << text;
    EXPECT_NE(text.find(L"try the mode keyRedir"), std::wstring::npos) << text;
}

TEST(Advice, AChangeSaysMoreThanALaterSearch) {
    CapturedStory capture;
    capture.Set(key, L"a");
    capture.DeleteValue(key, L"a");
    capture.Add(registryevent::queryValue, key, L"a", notFound);
    capture.RecordTrace();
    EXPECT_NE(AdviceOn(capture, L"a").find(L"it did not last"), std::wstring::npos);
}

} // namespace
} // namespace keyreap
