#include "regmodel/progidnames.h"
#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

bool IsProgId(std::wstring_view path, std::wstring_view content) {
    const RegDocument document = Read(content);
    const RegTree tree(document);
    return ProgIdNames(document, tree).IsProgId(PlaceOf(path));
}

TEST(ProgIdNames, NameWithAClassOrACurrentVersionIsAProgId) {
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\a", L"\r\n[HKEY_CLASSES_ROOT\\A\\CLSID]\r\n"));
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\A\\B", L"\r\n[HKEY_CLASSES_ROOT\\A\\CurVer]\r\n"));
}

TEST(ProgIdNames, NameThatAClassNamesIsAProgId) {
    const std::wstring clsid = L"\r\n[HKEY_CLASSES_ROOT\\CLSID\\{x}\\";
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\A", clsid + L"ProgID]\r\n@=\"a\"\r\n"));
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\A", clsid + L"VersionIndependentProgID]\r\n@=\"a\"\r\n"));
    EXPECT_FALSE(IsProgId(L"HKEY_CLASSES_ROOT\\A", clsid + L"Other]\r\n@=\"a\"\r\n"));
}

TEST(ProgIdNames, NameThatAnExtensionNamesIsAProgId) {
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\A", L"\r\n[HKEY_CLASSES_ROOT\\.ext]\r\n@=\"A\"\r\n"));
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\A",
                         L"\r\n[HKEY_CLASSES_ROOT\\.ext\\OpenWithProgids]\r\n\"a\"=hex(0):\r\n"));
}

TEST(ProgIdNames, CurrentVersionOfAProgIdIsOneToo) {
    EXPECT_TRUE(IsProgId(L"HKEY_CLASSES_ROOT\\A.1", L"\r\n[HKEY_CLASSES_ROOT\\A\\CurVer]\r\n@=\"A.1\"\r\n"));
}

TEST(ProgIdNames, AnyOtherNameIsNone) {
    EXPECT_FALSE(IsProgId(L"HKEY_CLASSES_ROOT\\A", L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n@=\"text\"\r\n"));
    EXPECT_FALSE(IsProgId(L"HKEY_CLASSES_ROOT", L"\r\n[HKEY_CLASSES_ROOT\\.ext]\r\n@=\"\"\r\n"));
    EXPECT_FALSE(
        IsProgId(L"HKEY_LOCAL_MACHINE\\Software\\A", L"\r\n[HKEY_CLASSES_ROOT\\.ext]\r\n@=\"A\"\r\n"));
}

} // namespace
} // namespace keyreap::testsupport
