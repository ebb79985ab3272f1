#include "etl/registryevent.h"
#include "kit/explain/keyfilter.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

StoryOperation OnKey() {
    StoryOperation operation;
    operation.type = registryevent::createKey;
    return operation;
}

StoryOperation OnValue(std::wstring name) {
    StoryOperation operation;
    operation.type = registryevent::setValue;
    operation.valueName = std::move(name);
    return operation;
}

TEST(KeyFilter, TakesTheShortNamesOfTheRoots) {
    EXPECT_EQ(KeyFilter::Of(L"hkcr\\A\\", {})->Key(), L"HKEY_CLASSES_ROOT\\A");
    EXPECT_EQ(KeyFilter::Of(L"HKCU", {})->Key(), L"HKEY_CURRENT_USER");
    EXPECT_EQ(KeyFilter::Of(L"HKLM\\A", {})->Key(), L"HKEY_LOCAL_MACHINE\\A");
    EXPECT_EQ(KeyFilter::Of(L"HKEY_USERS\\A", {})->Key(), L"HKEY_USERS\\A");
}

TEST(KeyFilter, NeedsARoot) {
    EXPECT_FALSE(KeyFilter::Of(L"Software\\A", {}));
    EXPECT_FALSE(KeyFilter::Of(L"", {}));
    EXPECT_FALSE(KeyFilter::Of(L"HKCRx\\A", {}));
}

TEST(KeyFilter, TakesTheKeyItsValuesAndTheKeysAbove) {
    const KeyFilter filter = *KeyFilter::Of(L"HKCR\\A\\B", {});
    EXPECT_TRUE(filter.Takes(OnKey(), L"HKEY_CLASSES_ROOT\\a\\b"));
    EXPECT_TRUE(filter.Takes(OnKey(), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_TRUE(filter.Takes(OnValue(L"v"), L"HKEY_CLASSES_ROOT\\A\\B"));
    EXPECT_FALSE(filter.Takes(OnValue(L"v"), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(filter.Takes(OnKey(), L"HKEY_CLASSES_ROOT\\A\\B\\C"));
    EXPECT_FALSE(filter.Takes(OnKey(), L"HKEY_CLASSES_ROOT\\A\\Bx"));
}

TEST(KeyFilter, IsAboutTheValueIfOneIsNamed) {
    const KeyFilter filter = *KeyFilter::Of(L"HKCR\\A", L"v");
    EXPECT_TRUE(filter.IsAbout(OnValue(L"V"), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(filter.IsAbout(OnValue(L"w"), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(filter.IsAbout(OnKey(), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_TRUE(filter.Takes(OnKey(), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(filter.Takes(OnValue(L"w"), L"HKEY_CLASSES_ROOT\\A"));
}

TEST(KeyFilter, TheDefaultValueHasAnEmptyName) {
    const KeyFilter filter = *KeyFilter::Of(L"HKCR\\A", L"");
    EXPECT_TRUE(filter.IsAbout(OnValue(L""), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(filter.IsAbout(OnValue(L"v"), L"HKEY_CLASSES_ROOT\\A"));
}

TEST(KeyFilter, AllNamesOfAClassAreTheSame) {
    const KeyFilter filter = *KeyFilter::Of(L"HKLM\\Software\\Classes\\A", {});
    EXPECT_TRUE(filter.IsAbout(OnKey(), L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_TRUE(filter.IsAbout(OnKey(), L"HKEY_CURRENT_USER\\SOFTWARE\\Classes\\A"));
    EXPECT_FALSE(filter.IsAbout(OnKey(), L"HKEY_LOCAL_MACHINE\\Software\\ClassesA"));
}

TEST(KeyFilter, BothViewsAreTheSame) {
    const KeyFilter filter = *KeyFilter::Of(L"HKCR\\Wow6432Node\\CLSID\\{1}", {});
    EXPECT_TRUE(filter.IsAbout(OnKey(), L"HKEY_CLASSES_ROOT\\CLSID\\{1}"));
    EXPECT_TRUE(filter.IsAbout(OnKey(), L"HKEY_CLASSES_ROOT\\WOW6432NODE\\CLSID\\{1}"));
    for (const wchar_t* const asked : {L"HKLM\\Software\\Wow6432Node\\Classes\\CLSID\\{1}",
                                       L"HKLM\\Software\\Classes\\Wow6432Node\\CLSID\\{1}",
                                       L"HKCU\\Software\\Classes\\wow6432node\\CLSID\\{1}"}) {
        EXPECT_TRUE(KeyFilter::Of(asked, {})->IsAbout(OnKey(), L"HKEY_CLASSES_ROOT\\CLSID\\{1}")) << asked;
    }
    EXPECT_TRUE(KeyFilter::Of(L"HKLM\\Software\\Wow6432Node\\A", {})
                    ->IsAbout(OnKey(), L"HKEY_LOCAL_MACHINE\\SOFTWARE\\A"));
}

TEST(KeyFilter, AllNamesOfTheControlSetAreTheSame) {
    for (const wchar_t* const asked :
         {L"HKLM\\SYSTEM\\ControlSet001\\A", L"HKLM\\System\\ControlSet002\\A"}) {
        const KeyFilter filter = *KeyFilter::Of(asked, {});
        EXPECT_TRUE(filter.IsAbout(OnKey(), L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\A")) << asked;
    }
    EXPECT_FALSE(KeyFilter::Of(L"HKLM\\SYSTEM\\ControlSet0011\\A", {})
                     ->IsAbout(OnKey(), L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\A"));
}

} // namespace
} // namespace keyreap
