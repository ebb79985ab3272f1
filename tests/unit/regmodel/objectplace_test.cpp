#include "regmodel/objectplace.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::wstring_view guid = L"{00000000-0000-0000-0000-000000000001}";

// Kind and id of a key's object, as text; "none" without one. `Prog` is a ProgID.
std::wstring ObjectOf(std::wstring_view path) {
    constexpr const wchar_t* words[] = {L"Class",    L"Interface", L"TypeLib",        L"ProgId", L"AppId",
                                        L"Category", L"Extension", L"ShellExtension", L"Service"};
    const RegPlace place = PlaceOf(path);
    const auto object = ObjectAt(place, [](const RegPlace& of) { return of.names[0] == L"Prog"; });
    if (!object) {
        return L"none";
    }
    std::wstring text = words[static_cast<std::size_t>(object->kind)];
    for (std::size_t i = object->first; i < object->last; ++i) {
        text += (i == object->first ? L' ' : L'\\') + place.names[i];
    }
    return text;
}

std::wstring InClasses(std::wstring_view key) {
    return ObjectOf(std::wstring(L"HKEY_CLASSES_ROOT\\").append(key));
}

std::wstring WithGuid(std::wstring_view word) {
    return std::wstring(word).append(guid);
}

TEST(ObjectPlace, KeysBelowAGuidBelongToItsObject) {
    EXPECT_EQ(InClasses(WithGuid(L"CLSID\\")), WithGuid(L"Class "));
    EXPECT_EQ(InClasses(WithGuid(L"clsid\\") + L"\\InprocServer32\\a"), WithGuid(L"Class "));
    EXPECT_EQ(InClasses(WithGuid(L"Interface\\") + L"\\TypeLib"), WithGuid(L"Interface "));
    EXPECT_EQ(InClasses(WithGuid(L"TypeLib\\") + L"\\1.0\\0\\win32"), WithGuid(L"TypeLib "));
    EXPECT_EQ(InClasses(WithGuid(L"Component Categories\\")), WithGuid(L"Category "));
}

TEST(ObjectPlace, ListsAndWhatIsNoGuidInThemBelongToNone) {
    for (const std::wstring_view list :
         {L"CLSID", L"Interface", L"TypeLib", L"Component Categories", L"AppID"}) {
        EXPECT_EQ(InClasses(list), L"none");
    }
    EXPECT_EQ(InClasses(L"CLSID\\CLSID"), L"none");
}

TEST(ObjectPlace, AppIdIsAGuidOrAProgram) {
    EXPECT_EQ(InClasses(WithGuid(L"AppID\\")), WithGuid(L"AppId "));
    EXPECT_EQ(InClasses(L"AppID\\server.exe"), L"AppId server.exe");
}

TEST(ObjectPlace, NameThatBeginsWithADotIsAnExtension) {
    EXPECT_EQ(InClasses(L".txt\\OpenWithProgids"), L"Extension .txt");
}

TEST(ObjectPlace, OtherNamesAreProgIdsIfTheyAreSaidToBe) {
    EXPECT_EQ(InClasses(L"Prog\\shell\\open"), L"ProgId Prog");
    EXPECT_EQ(InClasses(L"Other"), L"none");
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\Software\\Prog"), L"none");
    EXPECT_EQ(ObjectOf(L"HKEY_CLASSES_ROOT"), L"none");
}

TEST(ObjectPlace, HandlersOfTheShellAreShellExtensions) {
    EXPECT_EQ(InClasses(L"*\\shellex\\IconHandler"), L"ShellExtension *\\shellex\\IconHandler");
    EXPECT_EQ(InClasses(WithGuid(L".txt\\ShellEx\\")), WithGuid(L"ShellExtension .txt\\ShellEx\\"));
    EXPECT_EQ(InClasses(L"Prog\\shellex\\ContextMenuHandlers\\A\\B"),
              L"ShellExtension Prog\\shellex\\ContextMenuHandlers\\A");
}

TEST(ObjectPlace, ListsOfHandlersBelongToWhatTheyExtend) {
    EXPECT_EQ(InClasses(L"Prog\\shellex"), L"ProgId Prog");
    EXPECT_EQ(InClasses(L"Prog\\shellex\\ContextMenuHandlers"), L"ProgId Prog");
    EXPECT_EQ(InClasses(L".txt\\shellex\\PropertySheetHandlers"), L"Extension .txt");
    EXPECT_EQ(InClasses(L"*\\shellex"), L"none");
}

TEST(ObjectPlace, ListsOfExplorerHaveShellExtensions) {
    const std::wstring explorer =
        L"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\";
    EXPECT_EQ(ObjectOf(explorer + WithGuid(L"Browser Helper Objects\\")),
              WithGuid(L"ShellExtension Browser Helper Objects\\"));
    EXPECT_EQ(ObjectOf(explorer + L"ShellIconOverlayIdentifiers\\A"),
              L"ShellExtension ShellIconOverlayIdentifiers\\A");
    EXPECT_EQ(ObjectOf(explorer + L"Browser Helper Objects"), L"none");
    EXPECT_EQ(ObjectOf(explorer + L"Advanced\\A"), L"none");
}

TEST(ObjectPlace, ShellExtensionSaysWhatItExtends) {
    const RegPlace named = PlaceOf(L"HKEY_CLASSES_ROOT\\Prog\\shellex\\ContextMenuHandlers\\A");
    const auto facts = ShellExtensionAt(named, {ObjectKind::ShellExtension, 0, 4});
    ASSERT_TRUE(facts.has_value());
    EXPECT_EQ(facts->target, L"Prog");
    EXPECT_EQ(facts->handler, L"ContextMenuHandlers");
    EXPECT_EQ(facts->name, L"A");
    EXPECT_FALSE(ShellExtensionAt(named, {ObjectKind::ProgId, 0, 1}).has_value());
}

TEST(ObjectPlace, ServicesAreInAnyControlSet) {
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\S\\Parameters"),
              L"Service S");
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\System\\ControlSet001\\Services\\S"), L"Service S");
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services"), L"none");
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\S"), L"none");
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\System\\ControlSets\\Services\\S"), L"none");
    EXPECT_EQ(ObjectOf(L"HKEY_CURRENT_USER\\System\\CurrentControlSet\\Services\\S"), L"none");
}

TEST(ObjectPlace, SourcesOfTheEventLogAreNoPartOfItsService) {
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\A"),
              L"none");
    EXPECT_EQ(ObjectOf(L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\EventLog"),
              L"Service EventLog");
}

TEST(ObjectPlace, ApprovedListIsInSoftware) {
    const std::wstring list = L"Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved";
    EXPECT_TRUE(IsApprovedList(PlaceOf(L"HKEY_LOCAL_MACHINE\\Software\\" + list)));
    EXPECT_TRUE(IsApprovedList(PlaceOf(L"HKEY_CURRENT_USER\\Software\\Wow6432Node\\" + list)));
    EXPECT_FALSE(IsApprovedList(PlaceOf(L"HKEY_LOCAL_MACHINE\\Software\\" + list + L"\\A")));
    EXPECT_FALSE(IsApprovedList(PlaceOf(L"HKEY_CLASSES_ROOT\\" + list)));
}

} // namespace
} // namespace keyreap
