#include "kit/lint/lintinput.h"
#include "tests/unit/capture/capturelines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::DocumentOf;

constexpr std::wstring_view inProcess =
    L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}\\InprocServer32]";

Capture CaptureOf(std::initializer_list<std::wstring_view> lines) {
    return {L"a.reg", DocumentOf(lines)};
}

std::vector<std::wstring> ServersOf(std::initializer_list<std::wstring_view> lines,
                                    std::vector<std::wstring> given = {}) {
    const std::vector<Capture> captures = {CaptureOf(lines)};
    const LintInput input(captures, given, nullptr);
    std::vector<std::wstring> paths;
    for (const CapturedPath& path : input.ServerPaths()) {
        paths.push_back(path.path);
    }
    return paths;
}

TEST(LintInput, FilesThatClassesNameAreServersWithoutGivenOnes) {
    EXPECT_THAT(ServersOf({inProcess, L"@=\"D:\\\\some folder\\\\a.dll\""}),
                ElementsAre(L"D:\\some folder\\a.dll", L"D:\\some folder"));
    EXPECT_THAT(ServersOf({inProcess, L"@=\"D:\\\\some folder\\\\a.dll\""}, {L"Z:\\b\\b.dll"}),
                ElementsAre(L"Z:\\b\\b.dll", L"Z:\\b"));
}

TEST(LintInput, ArgumentsAndNumbersAreNoPartOfAFile) {
    EXPECT_THAT(ServersOf({inProcess, L"@=\"\\\"D:\\\\x\\\\a.exe\\\" /y z.txt\""}),
                ElementsAre(L"D:\\x\\a.exe", L"D:\\x"));
    EXPECT_THAT(ServersOf({inProcess, L"@=\"D:\\\\x\\\\a.dll\\\\2\""}),
                ElementsAre(L"D:\\x\\a.dll", L"D:\\x"));
    EXPECT_THAT(ServersOf({inProcess, L"@=\"a.dll\""}), IsEmpty());
}

TEST(LintInput, AFolderMayHaveADot) {
    EXPECT_THAT(ServersOf({inProcess, L"@=\"C:\\\\Users\\\\john.doe\\\\a.dll\""}),
                ElementsAre(L"C:\\Users\\john.doe\\a.dll", L"C:\\Users\\john.doe"));
    EXPECT_THAT(ServersOf({inProcess, L"@=\"C:\\\\v1.2 of x.y\\\\a.b.dll\\\\3\""}),
                ElementsAre(L"C:\\v1.2 of x.y\\a.b.dll", L"C:\\v1.2 of x.y"));
    EXPECT_THAT(ServersOf({inProcess, L"@=\"C:\\\\john.doe\\\\a\""}), IsEmpty());
}

TEST(LintInput, WhatFollowsABlankMayBeArguments) {
    for (const std::wstring_view arguments : {L" /x C:\\\\y.txt", L" -x y\\\\z.txt", L" run C:\\\\y.txt",
                                              L" x /y", L" x", L" %x%\\\\y.txt", L" "}) {
        EXPECT_THAT(ServersOf({inProcess, L"@=\"D:\\\\x.y\\\\a.exe" + std::wstring(arguments) + L"\""}),
                    ElementsAre(L"D:\\x.y\\a.exe", L"D:\\x.y"));
    }
}

TEST(LintInput, AnObjectIsFoundInAnyHive) {
    const std::vector<Capture> captures = {CaptureOf(
        {L"[HKEY_CURRENT_USER\\Software\\Classes\\TypeLib\\{B29A312E-EB83-43bc-A846-E0C0563B8879}\\1.0]"})};
    const LintInput input(captures, {}, nullptr);
    EXPECT_TRUE(input.IsThere(ObjectKind::TypeLib, L"{B29A312E-EB83-43BC-A846-E0C0563B8879}"));
    EXPECT_FALSE(input.IsThere(ObjectKind::Class, L"{B29A312E-EB83-43BC-A846-E0C0563B8879}"));
}

TEST(PlaceOfObject, ItsKeyIsAboveItsFirstSection) {
    const std::vector<Capture> captures = {CaptureOf({inProcess, L"@=\"a.dll\""})};
    const RegistryModel model = ModelOf(captures.front().document);
    EXPECT_EQ(PlaceOfObject(captures.front(), model.objects.front()).key,
              L"HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}");
}

TEST(PlaceOfObject, ANameThatContainsTheIdIsNotItsKey) {
    const std::vector<Capture> captures = {
        CaptureOf({L"[HKEY_LOCAL_MACHINE\\Software\\Classes\\Soft\\CLSID]",
                   L"@=\"{B29A312E-EB83-43BC-A846-E0C0563B8877}\"",
                   L"[HKEY_LOCAL_MACHINE\\Software\\Classes\\Software\\CLSID]",
                   L"@=\"{B29A312E-EB83-43BC-A846-E0C0563B8877}\""})};
    const RegistryModel model = ModelOf(captures.front().document);
    std::vector<std::wstring> keys;
    for (const RegObject& object : model.objects) {
        keys.push_back(PlaceOfObject(captures.front(), object).key);
    }
    EXPECT_THAT(keys, testing::UnorderedElementsAre(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\Soft",
                                                    L"HKEY_LOCAL_MACHINE\\Software\\Classes\\Software"));
}

TEST(KeysWithContent, KeysThatOnlyContainKeysAreNone) {
    const Capture capture =
        CaptureOf({L"[HKEY_CLASSES_ROOT\\A]", L"[HKEY_CLASSES_ROOT\\A B]", L"[HKEY_CLASSES_ROOT\\A\\C]",
                   L"@=\"\"", L"[HKEY_CLASSES_ROOT\\A\\C\\D]"});
    EXPECT_THAT(KeysWithContent(capture), ElementsAre(L"hkey_classes_root\\a b", L"hkey_classes_root\\a\\c",
                                                      L"hkey_classes_root\\a\\c\\d"));
}

TEST(TextsOf, TextsAndListsHaveThem) {
    const Capture capture =
        CaptureOf({L"[HKEY_CLASSES_ROOT\\A]", L"\"text\"=\"x\"",
                   L"\"list\"=hex(7):61,00,00,00,62,00,00,00,00,00", L"\"number\"=dword:00000001"});
    const std::vector<RegEntry>& entries = capture.document.sections.front().entries;
    EXPECT_THAT(TextsOf(entries[0]), ElementsAre(L"x"));
    EXPECT_THAT(TextsOf(entries[1]), ElementsAre(L"a", L"b"));
    EXPECT_THAT(TextsOf(entries[2]), IsEmpty());
}

} // namespace
} // namespace keyreap
