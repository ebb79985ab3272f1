#include "trace/kernelpath.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace keyreap {
namespace {

struct Normalized {
    PredefinedRoot root;
    std::wstring path;

    friend bool operator==(const Normalized&, const Normalized&) = default;
};

// The result of NormalizeKernelPath; empty for a name that it refuses.
std::optional<Normalized> Normalize(std::wstring_view path, bool classesAsRoot = true) {
    Normalized result{};
    if (!NormalizeKernelPath(path, classesAsRoot, result.root, result.path)) {
        return std::nullopt;
    }
    return result;
}

std::optional<Normalized> Is(PredefinedRoot root, std::wstring_view path) {
    return Normalized{root, std::wstring(path)};
}

std::wstring Without(std::wstring path, std::wstring_view component) {
    RemovePathComponent(path, component);
    return path;
}

TEST(PredefinedRoot, HasTheValueOfItsHandleSignExtendedInA64BitBuild) {
    const bool is64Bit = sizeof(void*) == 8;
    EXPECT_EQ(classesRoot, is64Bit ? 0xFFFFFFFF80000000u : 0x80000000u);
    EXPECT_EQ(currentUserRoot, is64Bit ? 0xFFFFFFFF80000001u : 0x80000001u);
    EXPECT_EQ(localMachineRoot, is64Bit ? 0xFFFFFFFF80000002u : 0x80000002u);
    EXPECT_EQ(usersRoot, is64Bit ? 0xFFFFFFFF80000003u : 0x80000003u);
}

TEST(NormalizeKernelPath, RefusesTheBareRegistryRoot) {
    EXPECT_EQ(Normalize(L"\\REGISTRY"), std::nullopt);
}

TEST(NormalizeKernelPath, RefusesARelativeName) {
    EXPECT_EQ(Normalize(L"Software\\Acme\\Product"), std::nullopt);
    EXPECT_EQ(Normalize(L""), std::nullopt);
}

TEST(NormalizeKernelPath, ARefusalClearsTheTextAndLeavesTheRootAlone) {
    PredefinedRoot root = usersRoot;
    std::wstring normalized = L"stale";
    EXPECT_FALSE(NormalizeKernelPath(L"Software", true, root, normalized));
    EXPECT_EQ(normalized, L"");
    EXPECT_EQ(root, usersRoot);
}

TEST(NormalizeKernelPath, TenCharactersAreEnough) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\"), Is(noRoot, L""));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\A"), Is(noRoot, L"A"));
}

TEST(NormalizeKernelPath, IgnoresTheCaseOfEveryPrefix) {
    EXPECT_EQ(Normalize(L"\\registry\\machine\\software\\classes\\CLSID"), Is(classesRoot, L"CLSID"));
    EXPECT_EQ(Normalize(L"\\Registry\\User\\.default\\A"), Is(usersRoot, L".default\\A"));
    EXPECT_EQ(Normalize(L"\\registry\\user\\s-1-5-21-1\\A"), Is(currentUserRoot, L"A"));
    EXPECT_EQ(Normalize(L"\\registry\\user\\s-1-5-21-1_CLASSES\\A"), Is(classesRoot, L"A"));
}

TEST(NormalizeKernelPath, TheMachineItselfIsLocalMachineWithAnEmptyPath) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE"), Is(localMachineRoot, L""));
}

TEST(NormalizeKernelPath, AMachineKeyKeepsItsPath) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SYSTEM\\ControlSet001"),
              Is(localMachineRoot, L"SYSTEM\\ControlSet001"));
}

TEST(NormalizeKernelPath, MachineClassesAreTheClassesRootOnlyWithClassesAsRoot) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.acme"), Is(classesRoot, L".acme"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.acme", false),
              Is(localMachineRoot, L"SOFTWARE\\Classes\\.acme"));
}

TEST(NormalizeKernelPath, PrefixesMatchInsideALongerWord) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\ClassesOld"), Is(classesRoot, L"Old"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE2\\A"), Is(localMachineRoot, L"2\\A"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USERS\\A"), Is(noRoot, L"S\\A"));
    EXPECT_EQ(Normalize(L"\\REGISTRYY\\A"), Is(noRoot, L"Y\\A"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\.DEFAULT2\\A"), Is(usersRoot, L".DEFAULT2\\A"));
}

TEST(NormalizeKernelPath, AnyUserOfTheMachineIsTheCurrentUser) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000\\Software\\X"),
              Is(currentUserRoot, L"Software\\X"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-9-9-9-500\\Software\\X"),
              Is(currentUserRoot, L"Software\\X"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000"), Is(currentUserRoot, L""));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21\\X"), Is(currentUserRoot, L"X"));
}

TEST(NormalizeKernelPath, AUsersClassHiveIsTheClassesRoot) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000_Classes\\CLSID\\{X}"),
              Is(classesRoot, L"CLSID\\{X}"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000_Classes"), Is(classesRoot, L""));
}

TEST(NormalizeKernelPath, WithoutClassesAsRootAUsersClassHiveIsBelowTheCurrentUsersSoftware) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000_Classes\\CLSID\\{X}", false),
              Is(currentUserRoot, L"SOFTWARE\\Classes\\CLSID\\{X}"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_Classes\\Wow6432Node\\CLSID", false),
              Is(currentUserRoot, L"SOFTWARE\\Classes\\CLSID"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_Classes", false), Is(currentUserRoot, L""));
}

TEST(NormalizeKernelPath, TheThirtyTwoBitViewIsRemovedBeforeSoftwareIsPutInFront) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_Classes\\Wow6432Node", false),
              Is(currentUserRoot, L"SOFTWARE\\Classes\\"));
}

TEST(NormalizeKernelPath, OnlyTheEndOfTheAccountMarksAClassHive) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1\\X_Classes\\A"), Is(currentUserRoot, L"X_Classes\\A"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_ClassesX\\A"), Is(currentUserRoot, L"A"));
}

TEST(NormalizeKernelPath, TheDefaultUserStaysBelowUsersByItsName) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\.DEFAULT\\Software"), Is(usersRoot, L".DEFAULT\\Software"));
}

TEST(NormalizeKernelPath, AShortWellKnownAccountHasNoRoot) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER\\S-1-5-18\\Software"), Is(noRoot, L"S-1-5-18\\Software"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\USER"), Is(noRoot, L""));
}

TEST(NormalizeKernelPath, AnUnknownHiveHasNoRoot) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\A\\{1234}\\Root"), Is(noRoot, L"A\\{1234}\\Root"));
}

TEST(NormalizeKernelPath, OnlyOneLeadingBackslashIsRemoved) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\\\A"), Is(localMachineRoot, L"\\A"));
}

TEST(NormalizeKernelPath, ATrailingBackslashStays) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\A\\"), Is(localMachineRoot, L"SOFTWARE\\A\\"));
}

TEST(NormalizeKernelPath, TheThirtyTwoBitViewIsRemovedAfterTheClassesTest) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node\\Classes\\CLSID"),
              Is(localMachineRoot, L"SOFTWARE\\Classes\\CLSID"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\Wow6432Node\\CLSID\\{X}"),
              Is(classesRoot, L"CLSID\\{X}"));
}

TEST(NormalizeKernelPath, TheThirtyTwoBitViewInAnotherCaseStays) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\WOW6432NODE\\X"),
              Is(localMachineRoot, L"SOFTWARE\\WOW6432NODE\\X"));
}

TEST(NormalizeKernelPath, TheNameOfTheThirtyTwoBitViewIsRemovedInsideALongerNameTooAndOnlyOnce) {
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432NodeOld\\X"),
              Is(localMachineRoot, L"SOFTWAREOld\\X"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node\\Wow6432Node\\X"),
              Is(localMachineRoot, L"SOFTWARE\\Wow6432Node\\X"));
    EXPECT_EQ(Normalize(L"\\REGISTRY\\MACHINE\\Wow6432Node"), Is(localMachineRoot, L""));
}

constexpr const wchar_t* keys[] = {
    L"",
    L"\\REGISTRY",
    L"\\REGISTRY\\MACHINE",
    L"\\REGISTRY\\MACHINE\\SOFTWARE",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node\\Classes",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Class",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\CLSID",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\Wow6432Node",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\ClassesToo",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\ClassesWow6432Node",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\aWow6432Node",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Acme\\aWow6432Node",
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Acme Tools\\aWow6432Node",
    L"\\REGISTRY\\MACHINERY",
    L"\\REGISTRY\\USER",
    L"\\REGISTRY\\USER\\.DEFAULT",
    L"\\REGISTRY\\USER\\.DEFAULT\\Software\\Acme",
    L"\\REGISTRY\\USER\\S-1-5-18\\Software\\Acme\\Tools",
    L"\\REGISTRY\\USER\\S-1-5-21",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001\\Software",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001\\Software\\Acme\\Tools",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001_Classes",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001_Classes\\",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001_Classes\\Wow6432Node",
    L"\\REGISTRY\\USER\\S-1-5-21-1-1001_Classes\\CLSID",
    L"\\REGISTRY\\A\\{3D971F19-49AB-4000-8D39-A6D9C673D809}",
    L"Software\\Acme\\with a long name",
};
constexpr const wchar_t* names[] = {
    L"a",
    L"a\\",
    L"\\",
    L"\\a\\b",
    L"Classes\\a",
    L"SOFTWARE\\Classes\\a",
    L"MACHINE\\SOFTWARE\\Classes\\a",
    L"Wow6432Node",
    L"Wow6432Node\\a",
    L"a\\bWow6432Node\\c",
    L"S-1-5-21-1-1001_Classes\\a",
    L"_Classes\\a",
    L".DEFAULT\\a",
    L"REGISTRY\\MACHINE\\a",
};

TEST(MakesSubkeyPath, ThePlaceOfAKeyAndANameMakeThePlaceOfTheSubkey) {
    std::size_t made = 0;
    for (const bool classesAsRoot : {false, true}) {
        for (const std::wstring key : keys) {
            PredefinedRoot root = noRoot;
            std::wstring place;
            NormalizeKernelPath(key + L"\\", classesAsRoot, root, place);
            for (const std::wstring name : names) {
                if (!MakesSubkeyPath(root, place, name)) {
                    continue;
                }
                ++made;
                PredefinedRoot rootOfSubkey = noRoot;
                std::wstring placeOfSubkey;
                EXPECT_TRUE(
                    NormalizeKernelPath(key + L"\\" + name, classesAsRoot, rootOfSubkey, placeOfSubkey));
                EXPECT_EQ(rootOfSubkey, root) << key << L" below " << name;
                EXPECT_EQ(placeOfSubkey, place + name) << key << L" below " << name;
            }
        }
    }
    EXPECT_GT(made, 250U);
}

TEST(MakesSubkeyPath, HoldsForAllKeysOfClassesAndForKeysFarFromOtherRoots) {
    EXPECT_TRUE(MakesSubkeyPath(classesRoot, L"", L"CLSID"));
    EXPECT_TRUE(MakesSubkeyPath(localMachineRoot, L"SOFTWARE\\Classes\\", L"a"));
    EXPECT_FALSE(MakesSubkeyPath(localMachineRoot, L"SOFTWARE\\", L"Classes\\a"));
    EXPECT_FALSE(MakesSubkeyPath(noRoot, L"S-1-5-18\\Software\\Acme\\", L"a"));
    EXPECT_FALSE(MakesSubkeyPath(classesRoot, L"CLSID\\", L"aWow6432Nodeb"));
}

TEST(RemovePathComponent, RemovesTheBackslashBeforeIt) {
    EXPECT_EQ(Without(L"A\\B\\C", L"B"), L"A\\C");
    EXPECT_EQ(Without(L"A\\B", L"B"), L"A");
}

TEST(RemovePathComponent, WithoutABackslashBeforeItRemovesTheOneAfterIt) {
    EXPECT_EQ(Without(L"B\\C", L"B"), L"C");
}

TEST(RemovePathComponent, WithoutBackslashesRemovesTheTextAlone) {
    EXPECT_EQ(Without(L"B", L"B"), L"");
    EXPECT_EQ(Without(L"Bold", L"B"), L"old");
    EXPECT_EQ(Without(L"A\\CBD", L"B"), L"A\\CD");
}

TEST(RemovePathComponent, IsCaseSensitive) {
    std::wstring path = L"A\\b\\C";
    EXPECT_FALSE(RemovePathComponent(path, L"B"));
    EXPECT_EQ(path, L"A\\b\\C");
}

TEST(RemovePathComponent, RemovesTheFirstOccurrenceOnly) {
    EXPECT_EQ(Without(L"A\\B\\C\\B", L"B"), L"A\\C\\B");
}

TEST(RemovePathComponent, ReportsWhetherItRemovedSomething) {
    std::wstring path = L"A\\B";
    EXPECT_TRUE(RemovePathComponent(path, L"B"));
    EXPECT_FALSE(RemovePathComponent(path, L"B"));
    EXPECT_FALSE(RemovePathComponent(path, L""));
    EXPECT_EQ(path, L"A");
}

} // namespace
} // namespace keyreap
