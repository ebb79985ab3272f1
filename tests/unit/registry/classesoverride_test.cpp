#include "registry/classesoverride.h"
#include "tests/unit/hostlogger/nativekeys.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace keyreap {
namespace {

constexpr REGSAM everyView[] = {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY};
const std::wstring testKey = L"CLSID\\Keyreap override test"; // the live views have different CLSID keys
const std::wstring otherPlace = L"Software\\Keyreap override test";

HKEY Create(HKEY root, const std::wstring& path, REGSAM view = 0) {
    HKEY key = nullptr;
    EXPECT_EQ(
        RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view, nullptr, &key, nullptr),
        ERROR_SUCCESS);
    return key;
}

bool Exists(HKEY root, const std::wstring& path, REGSAM view = 0) {
    HKEY key = nullptr;
    const bool found = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ | view, &key) == ERROR_SUCCESS;
    RegCloseKey(key);
    return found;
}

bool IsLive(const wchar_t* below) {
    const std::wstring path = L"\\REGISTRY\\Machine\\Software\\Classes\\" + std::wstring(below) + testKey;
    return NativeTestKey::Open(nullptr, path, KEY_READ | KEY_WOW64_64KEY).IsOpen();
}

// The live trees that have the test's key: 32, 64, their sum for both, or 0.
int LiveViews() {
    return (IsLive(L"Wow6432Node\\") ? 32 : 0) + (IsLive(L"") ? 64 : 0);
}

class ClassesOverride : public testing::Test {
protected:
    ClassesOverride() { EXPECT_TRUE(CloseGapInClassesOverride()); }

    ~ClassesOverride() override {
        Lift();
        RegDeleteTreeW(HKEY_CURRENT_USER, otherPlace.c_str());
        for (const REGSAM view : {REGSAM{KEY_WOW64_32KEY}, REGSAM{KEY_WOW64_64KEY}}) {
            RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + testKey).c_str(), view, 0);
        }
    }

    static void OverrideBy(const std::wstring& path) {
        const HKEY key = Create(HKEY_CURRENT_USER, path);
        EXPECT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, key), ERROR_SUCCESS);
        RegCloseKey(key);
    }
    static void Lift() { RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr); }
    static void CreateClass(const std::wstring& path, REGSAM view) {
        RegCloseKey(Create(HKEY_CLASSES_ROOT, path, view));
    }
};

TEST_F(ClassesOverride, AppliesToCallersThatNameAView) {
    OverrideBy(otherPlace);
    for (const REGSAM view : everyView) {
        const std::wstring name = testKey + L'\\' + std::to_wstring(view);
        CreateClass(name, view);
        EXPECT_TRUE(Exists(HKEY_CURRENT_USER, otherPlace + L'\\' + name)) << view;
        for (const REGSAM otherView : everyView) {
            EXPECT_TRUE(Exists(HKEY_CLASSES_ROOT, name, otherView)) << view << " " << otherView;
        }
    }
    EXPECT_EQ(LiveViews(), 0);
}

TEST_F(ClassesOverride, AppliesToEveryCallThatTakesAView) {
    OverrideBy(otherPlace);
    for (const REGSAM view : everyView) {
        CreateClass(testKey, 0);
        EXPECT_EQ(RegDeleteKeyExW(HKEY_CLASSES_ROOT, testKey.c_str(), view, 0), ERROR_SUCCESS) << view;
        EXPECT_FALSE(Exists(HKEY_CURRENT_USER, otherPlace + L'\\' + testKey)) << view;
    }
}

TEST_F(ClassesOverride, AppliesToANameOfAnyLength) {
    const std::wstring deep = otherPlace + L'\\' + std::wstring(255, L'd');
    OverrideBy(deep);
    CreateClass(testKey, KEY_WOW64_32KEY);
    CreateClass(testKey + L"\\64", KEY_WOW64_64KEY);
    EXPECT_TRUE(Exists(HKEY_CURRENT_USER, deep + L'\\' + testKey));
    EXPECT_TRUE(Exists(HKEY_CURRENT_USER, deep + L'\\' + testKey + L"\\64"));
    EXPECT_EQ(LiveViews(), 0);
}

TEST_F(ClassesOverride, IsTheLatestOne) {
    for (const wchar_t* part : {L"\\first", L"\\second"}) {
        OverrideBy(otherPlace + part);
        for (const REGSAM view : everyView) {
            CreateClass(testKey, view);
        }
        EXPECT_TRUE(Exists(HKEY_CURRENT_USER, otherPlace + part + L'\\' + testKey));
        RegDeleteKeyExW(HKEY_CLASSES_ROOT, testKey.c_str(), 0, 0);
    }
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, otherPlace + L"\\first\\" + testKey));
}

TEST_F(ClassesOverride, ThatIsLiftedLeavesEachViewItsOwnTree) {
    OverrideBy(otherPlace);
    for (const REGSAM view : everyView) {
        CreateClass(testKey, view);
    }
    RegDeleteKeyExW(HKEY_CLASSES_ROOT, testKey.c_str(), 0, 0);
    Lift();
    for (const auto& [view, number] : {std::pair<REGSAM, int>{KEY_WOW64_32KEY, 32}, {KEY_WOW64_64KEY, 64}}) {
        CreateClass(testKey, view);
        EXPECT_EQ(LiveViews(), number);
        EXPECT_EQ(RegDeleteKeyExW(HKEY_CLASSES_ROOT, testKey.c_str(), view, 0), ERROR_SUCCESS);
        EXPECT_EQ(LiveViews(), 0);
    }
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, otherPlace + L'\\' + testKey));
}

TEST_F(ClassesOverride, DoesNotApplyToTheClassesBelowAnotherRoot) {
    OverrideBy(otherPlace);
    for (const auto& [view, number] : {std::pair<REGSAM, int>{KEY_WOW64_32KEY, 32}, {KEY_WOW64_64KEY, 64}}) {
        RegCloseKey(Create(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + testKey, view));
        EXPECT_EQ(LiveViews(), number);
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + testKey).c_str(), view, 0);
    }
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, otherPlace + L'\\' + testKey));
}

TEST_F(ClassesOverride, OfAnotherRootLeavesTheClassesAlone) {
    const HKEY key = Create(HKEY_CURRENT_USER, otherPlace);
    EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, key), ERROR_SUCCESS);
    CreateClass(testKey, KEY_WOW64_32KEY);
    EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr), ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(LiveViews(), 32);
}

} // namespace
} // namespace keyreap
