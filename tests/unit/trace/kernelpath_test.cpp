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

// What NormalizeKernelPath gives; nothing for a name that it refuses.
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
    EXPECT_EQ(is64Bit ? 0xFFFFFFFF80000000u : 0x80000000u, classesRoot);
    EXPECT_EQ(is64Bit ? 0xFFFFFFFF80000001u : 0x80000001u, currentUserRoot);
    EXPECT_EQ(is64Bit ? 0xFFFFFFFF80000002u : 0x80000002u, localMachineRoot);
    EXPECT_EQ(is64Bit ? 0xFFFFFFFF80000003u : 0x80000003u, usersRoot);
}

TEST(NormalizeKernelPath, RefusesTheBareRegistryRoot) {
    EXPECT_EQ(std::nullopt, Normalize(L"\\REGISTRY"));
}

TEST(NormalizeKernelPath, RefusesARelativeName) {
    EXPECT_EQ(std::nullopt, Normalize(L"Software\\Acme\\Product"));
    EXPECT_EQ(std::nullopt, Normalize(L""));
}

TEST(NormalizeKernelPath, ARefusalClearsTheTextAndLeavesTheRootAlone) {
    PredefinedRoot root = usersRoot;
    std::wstring normalized = L"stale";
    EXPECT_FALSE(NormalizeKernelPath(L"Software", true, root, normalized));
    EXPECT_EQ(L"", normalized);
    EXPECT_EQ(usersRoot, root);
}

TEST(NormalizeKernelPath, TenCharactersAreEnough) {
    EXPECT_EQ(Is(noRoot, L""), Normalize(L"\\REGISTRY\\"));
    EXPECT_EQ(Is(noRoot, L"A"), Normalize(L"\\REGISTRY\\A"));
}

TEST(NormalizeKernelPath, IgnoresTheCaseOfEveryPrefix) {
    EXPECT_EQ(Is(classesRoot, L"CLSID"), Normalize(L"\\registry\\machine\\software\\classes\\CLSID"));
    EXPECT_EQ(Is(usersRoot, L".default\\A"), Normalize(L"\\Registry\\User\\.default\\A"));
    EXPECT_EQ(Is(currentUserRoot, L"A"), Normalize(L"\\registry\\user\\s-1-5-21-1\\A"));
    EXPECT_EQ(Is(classesRoot, L"A"), Normalize(L"\\registry\\user\\s-1-5-21-1_CLASSES\\A"));
}

TEST(NormalizeKernelPath, TheMachineItselfIsLocalMachineWithAnEmptyPath) {
    EXPECT_EQ(Is(localMachineRoot, L""), Normalize(L"\\REGISTRY\\MACHINE"));
}

TEST(NormalizeKernelPath, AMachineKeyKeepsItsPath) {
    EXPECT_EQ(Is(localMachineRoot, L"SYSTEM\\ControlSet001"),
              Normalize(L"\\REGISTRY\\MACHINE\\SYSTEM\\ControlSet001"));
}

TEST(NormalizeKernelPath, MachineClassesAreTheClassesRootOnlyIfWanted) {
    EXPECT_EQ(Is(classesRoot, L".acme"), Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.acme"));
    EXPECT_EQ(Is(localMachineRoot, L"SOFTWARE\\Classes\\.acme"),
              Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\.acme", false));
}

TEST(NormalizeKernelPath, PrefixesMatchInsideALongerWord) {
    EXPECT_EQ(Is(classesRoot, L"Old"), Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\ClassesOld"));
    EXPECT_EQ(Is(localMachineRoot, L"2\\A"), Normalize(L"\\REGISTRY\\MACHINE2\\A"));
    EXPECT_EQ(Is(noRoot, L"S\\A"), Normalize(L"\\REGISTRY\\USERS\\A"));
    EXPECT_EQ(Is(noRoot, L"Y\\A"), Normalize(L"\\REGISTRYY\\A"));
    EXPECT_EQ(Is(usersRoot, L".DEFAULT2\\A"), Normalize(L"\\REGISTRY\\USER\\.DEFAULT2\\A"));
}

TEST(NormalizeKernelPath, AnyUserOfTheMachineIsTheCurrentUser) {
    EXPECT_EQ(Is(currentUserRoot, L"Software\\X"),
              Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000\\Software\\X"));
    EXPECT_EQ(Is(currentUserRoot, L"Software\\X"),
              Normalize(L"\\REGISTRY\\USER\\S-1-5-21-9-9-9-500\\Software\\X"));
    EXPECT_EQ(Is(currentUserRoot, L""), Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000"));
    EXPECT_EQ(Is(currentUserRoot, L"X"), Normalize(L"\\REGISTRY\\USER\\S-1-5-21\\X"));
}

TEST(NormalizeKernelPath, AUsersClassHiveIsTheClassesRoot) {
    EXPECT_EQ(Is(classesRoot, L"CLSID\\{X}"),
              Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000_Classes\\CLSID\\{X}"));
    EXPECT_EQ(Is(classesRoot, L""), Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000_Classes"));
}

TEST(NormalizeKernelPath, WithoutClassesAsRootAUsersClassHiveLiesBelowTheCurrentUsersSoftware) {
    EXPECT_EQ(Is(currentUserRoot, L"SOFTWARE\\Classes\\CLSID\\{X}"),
              Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1-2-3-1000_Classes\\CLSID\\{X}", false));
    EXPECT_EQ(Is(currentUserRoot, L"SOFTWARE\\Classes\\CLSID"),
              Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_Classes\\Wow6432Node\\CLSID", false));
    EXPECT_EQ(Is(currentUserRoot, L""), Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_Classes", false));
}

TEST(NormalizeKernelPath, TheThirtyTwoBitViewGoesAheadOfTheSoftwareThatIsPutInFront) {
    EXPECT_EQ(Is(currentUserRoot, L"SOFTWARE\\Classes\\"),
              Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_Classes\\Wow6432Node", false));
}

TEST(NormalizeKernelPath, OnlyTheEndOfTheAccountTellsAClassHive) {
    EXPECT_EQ(Is(currentUserRoot, L"X_Classes\\A"), Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1\\X_Classes\\A"));
    EXPECT_EQ(Is(currentUserRoot, L"A"), Normalize(L"\\REGISTRY\\USER\\S-1-5-21-1_ClassesX\\A"));
}

TEST(NormalizeKernelPath, TheDefaultUserStaysBelowUsersByItsName) {
    EXPECT_EQ(Is(usersRoot, L".DEFAULT\\Software"), Normalize(L"\\REGISTRY\\USER\\.DEFAULT\\Software"));
}

TEST(NormalizeKernelPath, AShortWellKnownAccountHasNoRoot) {
    EXPECT_EQ(Is(noRoot, L"S-1-5-18\\Software"), Normalize(L"\\REGISTRY\\USER\\S-1-5-18\\Software"));
    EXPECT_EQ(Is(noRoot, L""), Normalize(L"\\REGISTRY\\USER"));
}

TEST(NormalizeKernelPath, AnUnknownHiveHasNoRoot) {
    EXPECT_EQ(Is(noRoot, L"A\\{1234}\\Root"), Normalize(L"\\REGISTRY\\A\\{1234}\\Root"));
}

TEST(NormalizeKernelPath, OneLeadingBackslashGoesAndNoMore) {
    EXPECT_EQ(Is(localMachineRoot, L"\\A"), Normalize(L"\\REGISTRY\\MACHINE\\\\A"));
}

TEST(NormalizeKernelPath, ATrailingBackslashStays) {
    EXPECT_EQ(Is(localMachineRoot, L"SOFTWARE\\A\\"), Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\A\\"));
}

TEST(NormalizeKernelPath, TheThirtyTwoBitViewGoesBehindTheClassesTest) {
    EXPECT_EQ(Is(localMachineRoot, L"SOFTWARE\\Classes\\CLSID"),
              Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node\\Classes\\CLSID"));
    EXPECT_EQ(Is(classesRoot, L"CLSID\\{X}"),
              Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes\\Wow6432Node\\CLSID\\{X}"));
}

TEST(NormalizeKernelPath, TheThirtyTwoBitViewInAnotherCaseStays) {
    EXPECT_EQ(Is(localMachineRoot, L"SOFTWARE\\WOW6432NODE\\X"),
              Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\WOW6432NODE\\X"));
}

TEST(NormalizeKernelPath, TheNameOfTheThirtyTwoBitViewGoesInsideALongerNameTooAndOnlyOnce) {
    EXPECT_EQ(Is(localMachineRoot, L"SOFTWAREOld\\X"),
              Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432NodeOld\\X"));
    EXPECT_EQ(Is(localMachineRoot, L"SOFTWARE\\Wow6432Node\\X"),
              Normalize(L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node\\Wow6432Node\\X"));
    EXPECT_EQ(Is(localMachineRoot, L""), Normalize(L"\\REGISTRY\\MACHINE\\Wow6432Node"));
}

TEST(RemovePathComponent, TakesTheBackslashAheadWithIt) {
    EXPECT_EQ(L"A\\C", Without(L"A\\B\\C", L"B"));
    EXPECT_EQ(L"A", Without(L"A\\B", L"B"));
}

TEST(RemovePathComponent, WithNoneAheadTakesTheBackslashBehind) {
    EXPECT_EQ(L"C", Without(L"B\\C", L"B"));
}

TEST(RemovePathComponent, WithNeitherTakesTheTextAlone) {
    EXPECT_EQ(L"", Without(L"B", L"B"));
    EXPECT_EQ(L"old", Without(L"Bold", L"B"));
    EXPECT_EQ(L"A\\CD", Without(L"A\\CBD", L"B"));
}

TEST(RemovePathComponent, RespectsCase) {
    std::wstring path = L"A\\b\\C";
    EXPECT_FALSE(RemovePathComponent(path, L"B"));
    EXPECT_EQ(L"A\\b\\C", path);
}

TEST(RemovePathComponent, TakesTheFirstOccurrenceOnly) {
    EXPECT_EQ(L"A\\C\\B", Without(L"A\\B\\C\\B", L"B"));
}

TEST(RemovePathComponent, TellsWhetherItRemovedSomething) {
    std::wstring path = L"A\\B";
    EXPECT_TRUE(RemovePathComponent(path, L"B"));
    EXPECT_FALSE(RemovePathComponent(path, L"B"));
    EXPECT_FALSE(RemovePathComponent(path, L""));
    EXPECT_EQ(L"A", path);
}

} // namespace
} // namespace keyreap
