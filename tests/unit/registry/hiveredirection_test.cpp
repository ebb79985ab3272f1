#include "platform/core/osversion.h"
#include "registry/hiveredirection.h"
#include "tests/support/importreplacement.h"
#include "tests/support/scratchkey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testsupport::ImportReplacement;
using testsupport::ScratchKey;

const std::wstring scratchPath = ScratchKey::path;

bool Exists(HKEY root, const wchar_t* path) {
    return RegKey(path, root, false).Handle() != nullptr;
}

class HiveRedirectionTest : public testing::Test {
protected:
    HiveRedirectionTest() {
        RunningVersion();
        VistaVersion();
    }

    ~HiveRedirectionTest() override {
        for (const HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_USERS, HKEY_LOCAL_MACHINE}) {
            RegOverridePredefKey(root, nullptr);
        }
    }

    static RegKey Hive(const wchar_t* name) {
        return RegKey(scratchPath, HKEY_CURRENT_USER, true).CreateChild(name);
    }

    HiveKeys Keys() const { return {hkcr, hkcu, hku, hklm}; }

    ScratchKey scratch;
    RegKey hkcr = Hive(L"HKCR\\");
    RegKey hkcu = Hive(L"HKCU\\");
    RegKey hku = Hive(L"HKU\\");
    RegKey hklm = Hive(L"HKLM\\");
};

TEST_F(HiveRedirectionTest, EveryRootLandsInItsOwnTree) {
    OverrideRoots(Keys());
    RegKey(L"InRoot", HKEY_CLASSES_ROOT, true).CreateIfMissing();
    RegKey(L"InUser", HKEY_CURRENT_USER, true).CreateIfMissing();
    RegKey(L"InUsers", HKEY_USERS, true).CreateIfMissing();
    RegKey(L"InMachine", HKEY_LOCAL_MACHINE, true).CreateIfMissing();
    LiftOverrides(Keys());
    EXPECT_TRUE(scratch.Has(L"HKCR\\InRoot"));
    EXPECT_TRUE(scratch.Has(L"HKCU\\InUser"));
    EXPECT_TRUE(scratch.Has(L"HKU\\InUsers"));
    EXPECT_TRUE(scratch.Has(L"HKLM\\InMachine"));
    EXPECT_FALSE(Exists(HKEY_CURRENT_USER, L"InUser"));
}

TEST_F(HiveRedirectionTest, StaleSubkeysAreDeletedAndValuesOfTheRootKeysStay) {
    for (const wchar_t* tree : {L"HKCR", L"HKCU", L"HKU", L"HKLM"}) {
        scratch.Make(std::wstring(tree) + L"\\stale\\deep");
    }
    scratch.SetText(L"HKCR", L"left", L"x");
    OverrideRoots(Keys());
    LiftOverrides(Keys());
    for (const wchar_t* tree : {L"HKCR", L"HKCU", L"HKU", L"HKLM"}) {
        EXPECT_FALSE(scratch.Has(std::wstring(tree) + L"\\stale")) << testing::PrintToString(tree);
    }
    EXPECT_EQ(RegQueryValueExW(hkcr.Handle(), L"left", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
}

TEST_F(HiveRedirectionTest, MachineClassesAreCreatedAndSurviveTheRestoring) {
    OverrideRoots(Keys());
    EXPECT_TRUE(Exists(HKEY_LOCAL_MACHINE, L"Software\\Classes"));
    LiftOverrides(Keys());
    EXPECT_TRUE(scratch.Has(L"HKLM\\Software\\Classes"));
    EXPECT_TRUE(Exists(HKEY_LOCAL_MACHINE, L"Software\\Classes"));
}

TEST_F(HiveRedirectionTest, BelowVersionSixNoMachineClassesAreCreated) {
    OsVersion old;
    old.majorVersion = 5;
    old.minorVersion = 2;
    OverrideRoots(Keys(), old);
    EXPECT_FALSE(Exists(HKEY_LOCAL_MACHINE, L"Software"));
    LiftOverrides(Keys(), old);
    EXPECT_TRUE(hklm.EnumSubkeys().empty());
}

TEST_F(HiveRedirectionTest, BelowVersionSixAnEmptySoftwareKeyIsDeleted) {
    OsVersion old;
    old.majorVersion = 5;
    OverrideRoots(Keys(), old);
    RegKey(L"Software", HKEY_LOCAL_MACHINE, true).CreateIfMissing();
    LiftOverrides(Keys(), old);
    EXPECT_FALSE(scratch.Has(L"HKLM\\Software"));
}

TEST_F(HiveRedirectionTest, BelowVersionSixASoftwareKeyWithSubkeysStays) {
    OsVersion old;
    old.majorVersion = 5;
    OverrideRoots(Keys(), old);
    RegKey(L"Software\\Maker", HKEY_LOCAL_MACHINE, true).CreateIfMissing();
    LiftOverrides(Keys(), old);
    EXPECT_TRUE(scratch.Has(L"HKLM\\Software\\Maker"));
}

TEST_F(HiveRedirectionTest, RootWhoseTemporaryKeyIsNotOpenStaysAsItIs) {
    const RegKey closed;
    OverrideRoots({hkcr, closed, hku, hklm});
    EXPECT_TRUE(Exists(HKEY_CURRENT_USER, scratchPath.c_str()));
    LiftOverrides({hkcr, closed, hku, hklm});
}

TEST_F(HiveRedirectionTest, RestoringLeavesTheTreesAsTheyAre) {
    OverrideRoots(Keys());
    RegKey(L"A\\B", HKEY_CLASSES_ROOT, true).CreateIfMissing();
    LiftOverrides(Keys());
    LiftOverrides(Keys());
    EXPECT_TRUE(scratch.Has(L"HKCR\\A\\B"));
}

// The calls of the system, in their order.
std::vector<std::wstring> calls;
const ImportReplacement* replacedOverride = nullptr;
const ImportReplacement* replacedDelete = nullptr;

LSTATUS WINAPI NoteOverride(HKEY root, HKEY key) {
    calls.push_back((key ? L"override " : L"lift ") + RootName(root));
    return replacedOverride->Original<decltype(&RegOverridePredefKey)>()(root, key);
}

LSTATUS WINAPI NoteDelete(HKEY parent, LPCWSTR name) {
    if (std::wstring_view(name) == L"Classes") {
        calls.push_back(L"delete Classes");
    }
    return replacedDelete->Original<decltype(&RegDeleteKeyW)>()(parent, name);
}

class HiveRedirectionCalls : public HiveRedirectionTest {
protected:
    HiveRedirectionCalls() {
        replacedOverride = &overrides;
        replacedDelete = &deletions;
    }

    ImportReplacement overrides{"RegOverridePredefKey", reinterpret_cast<const void*>(&NoteOverride)};
    ImportReplacement deletions{"RegDeleteKeyW", reinterpret_cast<const void*>(&NoteDelete)};
};

TEST_F(HiveRedirectionCalls, RootsAreOverriddenInTheOrderOfTheTrees) {
    calls.clear();
    OverrideRoots(Keys());
    EXPECT_THAT(calls, ElementsAre(L"override HKEY_CLASSES_ROOT", L"override HKEY_CURRENT_USER",
                                   L"override HKEY_USERS", L"override HKEY_LOCAL_MACHINE"));
    LiftOverrides(Keys());
}

TEST_F(HiveRedirectionCalls, RootsAreLiftedInThatOrderAndTheMachinesRealClassesAreDeletedLast) {
    OverrideRoots(Keys());
    calls.clear();
    LiftOverrides(Keys());
    EXPECT_THAT(calls, ElementsAre(L"lift HKEY_CLASSES_ROOT", L"lift HKEY_CURRENT_USER", L"lift HKEY_USERS",
                                   L"lift HKEY_LOCAL_MACHINE", L"delete Classes"));
}

TEST_F(HiveRedirectionCalls, BelowVersionSixTheClassesAreNotDeleted) {
    OsVersion old;
    old.majorVersion = 5;
    OverrideRoots(Keys(), old);
    calls.clear();
    LiftOverrides(Keys(), old);
    EXPECT_THAT(calls, testing::Not(testing::Contains(L"delete Classes")));
}

} // namespace
} // namespace keyreap
