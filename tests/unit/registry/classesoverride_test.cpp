#include "registry/classesoverride.h"
#include "tests/unit/hostlogger/nativekeys.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace keyreap {
namespace {

constexpr REGSAM EVERY_VIEW[] = {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY};
const std::wstring NAME = L"CLSID\\Keyreap override test"; // CLSID is a key of its own in each live view
const std::wstring ELSEWHERE = L"Software\\Keyreap override test";

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
    const std::wstring path = L"\\REGISTRY\\Machine\\Software\\Classes\\" + std::wstring(below) + NAME;
    return NativeTestKey::Open(nullptr, path, KEY_READ | KEY_WOW64_64KEY).IsOpen();
}

// In which of the live trees the test's key is: 32, 64, both added up, or 0.
int LiveViews() {
    return (IsLive(L"Wow6432Node\\") ? 32 : 0) + (IsLive(L"") ? 64 : 0);
}

class ClassesOverride : public testing::Test {
protected:
    ClassesOverride() { EXPECT_TRUE(CloseGapInClassesOverride()); }

    ~ClassesOverride() override {
        Lift();
        RegDeleteTreeW(HKEY_CURRENT_USER, ELSEWHERE.c_str());
        for (const REGSAM view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
            RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + NAME).c_str(), view, 0);
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

TEST_F(ClassesOverride, HoldsForCallersThatNameAView) {
    OverrideBy(ELSEWHERE);
    for (const REGSAM view : EVERY_VIEW) {
        const std::wstring name = NAME + L'\\' + std::to_wstring(view);
        CreateClass(name, view);
        EXPECT_TRUE(Exists(HKEY_CURRENT_USER, ELSEWHERE + L'\\' + name)) << view;
        for (const REGSAM otherView : EVERY_VIEW) {
            EXPECT_TRUE(Exists(HKEY_CLASSES_ROOT, name, otherView)) << view << " " << otherView;
        }
    }
    EXPECT_EQ(LiveViews(), 0);
}

TEST_F(ClassesOverride, HoldsForEveryCallThatTakesAView) {
    OverrideBy(ELSEWHERE);
    for (const REGSAM view : EVERY_VIEW) {
        CreateClass(NAME, 0);
        EXPECT_EQ(RegDeleteKeyExW(HKEY_CLASSES_ROOT, NAME.c_str(), view, 0), ERROR_SUCCESS) << view;
        EXPECT_FALSE(Exists(HKEY_CURRENT_USER, ELSEWHERE + L'\\' + NAME)) << view;
    }
}

TEST_F(ClassesOverride, HoldsForANameOfAnyLength) {
    const std::wstring deep = ELSEWHERE + L'\\' + std::wstring(255, L'd');
    OverrideBy(deep);
    CreateClass(NAME, KEY_WOW64_32KEY);
    CreateClass(NAME + L"\\64", KEY_WOW64_64KEY);
    EXPECT_TRUE(Exists(HKEY_CURRENT_USER, deep + L'\\' + NAME));
    EXPECT_TRUE(Exists(HKEY_CURRENT_USER, deep + L'\\' + NAME + L"\\64"));
    EXPECT_EQ(LiveViews(), 0);
}

TEST_F(ClassesOverride, IsTheLatestOne) {
    for (const wchar_t* part : {L"\\first", L"\\second"}) {
        OverrideBy(ELSEWHERE + part);
        for (const REGSAM view : EVERY_VIEW) {
            CreateClass(NAME, view);
        }
        EXPECT_TRUE(Exists(HKEY_CURRENT_USER, ELSEWHERE + part + L'\\' + NAME));
        RegDeleteKeyExW(HKEY_CLASSES_ROOT, NAME.c_str(), 0, 0);
    }
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, ELSEWHERE + L"\\first\\" + NAME));
}

TEST_F(ClassesOverride, ThatIsLiftedLeavesEachViewItsOwnTree) {
    OverrideBy(ELSEWHERE);
    for (const REGSAM view : EVERY_VIEW) {
        CreateClass(NAME, view);
    }
    RegDeleteKeyExW(HKEY_CLASSES_ROOT, NAME.c_str(), 0, 0);
    Lift();
    for (const auto& [view, number] : {std::pair<REGSAM, int>{KEY_WOW64_32KEY, 32}, {KEY_WOW64_64KEY, 64}}) {
        CreateClass(NAME, view);
        EXPECT_EQ(LiveViews(), number);
        EXPECT_EQ(RegDeleteKeyExW(HKEY_CLASSES_ROOT, NAME.c_str(), view, 0), ERROR_SUCCESS);
        EXPECT_EQ(LiveViews(), 0);
    }
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, ELSEWHERE + L'\\' + NAME));
}

TEST_F(ClassesOverride, IsNoneForTheClassesBelowAnotherRoot) {
    OverrideBy(ELSEWHERE);
    for (const auto& [view, number] : {std::pair<REGSAM, int>{KEY_WOW64_32KEY, 32}, {KEY_WOW64_64KEY, 64}}) {
        RegCloseKey(Create(HKEY_LOCAL_MACHINE, L"Software\\Classes\\" + NAME, view));
        EXPECT_EQ(LiveViews(), number);
        RegDeleteKeyExW(HKEY_LOCAL_MACHINE, (L"Software\\Classes\\" + NAME).c_str(), view, 0);
    }
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, ELSEWHERE + L'\\' + NAME));
}

TEST_F(ClassesOverride, OfAnotherRootLeavesTheClassesAlone) {
    const HKEY key = Create(HKEY_CURRENT_USER, ELSEWHERE);
    EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, key), ERROR_SUCCESS);
    CreateClass(NAME, KEY_WOW64_32KEY);
    EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr), ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(LiveViews(), 32);
}

} // namespace
} // namespace keyreap
