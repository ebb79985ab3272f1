#include "regmodel/registrymodel.h"
#include "tests/unit/regmodel/goldenfiles.h"
#include "tests/unit/regmodel/regdocuments.h"

#include <map>

namespace keyreap::testsupport {
namespace {

constexpr std::wstring_view guid = L"{00000000-0000-0000-0000-00000000000A}";

std::wstring Key(std::wstring_view path, std::wstring_view entries = L"") {
    return std::wstring(L"\r\n[").append(path).append(L"]\r\n").append(entries);
}

std::wstring ClassKey(std::wstring_view root, std::wstring_view below = L"") {
    return Key(std::wstring(root).append(L"\\CLSID\\").append(guid).append(below), L"@=\"x\"\r\n");
}

// Every section and every entry is in exactly one list.
void ExpectPartition(const RegDocument& document) {
    const RegistryModel model = ModelOf(document);
    std::map<RegEntryRef, int> entries;
    std::map<std::size_t, int> sections;
    const auto count = [](auto& counts, const auto& list) {
        for (const auto& item : list) {
            ++counts[item];
        }
    };
    count(entries, model.otherEntries);
    count(sections, model.otherSections);
    for (const RegObject& object : model.objects) {
        count(entries, object.entries);
        count(sections, object.sections);
    }
    std::size_t total = 0;
    for (const RegSection& section : document.sections) {
        total += section.entries.size();
    }
    EXPECT_EQ(entries.size(), total);
    EXPECT_EQ(sections.size(), document.sections.size());
    const auto isOnce = [](const auto& item) { return item.second == 1; };
    EXPECT_TRUE(std::ranges::all_of(entries, isOnce));
    EXPECT_TRUE(std::ranges::all_of(sections, isOnce));
}

TEST(RegistryModel, SectionsOfAClassAreOneObject) {
    const RegistryModel model =
        ModelOf(Read(ClassKey(L"HKEY_CLASSES_ROOT") + ClassKey(L"HKEY_CLASSES_ROOT", L"\\InprocServer32")));
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].identity.kind, ObjectKind::Class);
    EXPECT_EQ(model.objects[0].id, guid);
    EXPECT_EQ(model.objects[0].sections, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(model.objects[0].entries, (std::vector<RegEntryRef>{{0, 0}, {1, 0}}));
}

TEST(RegistryModel, CaseOfNamesMakesNoOtherObject) {
    std::wstring folded = ClassKey(L"hkey_classes_root");
    std::ranges::replace(folded, L'A', L'a');
    EXPECT_EQ(ModelOf(Read(ClassKey(L"HKEY_CLASSES_ROOT") + folded)).objects.size(), 1u);
}

TEST(RegistryModel, OtherHiveOrViewIsAnotherObject) {
    const RegistryModel model =
        ModelOf(Read(ClassKey(L"HKEY_CLASSES_ROOT") + ClassKey(L"HKEY_CLASSES_ROOT\\Wow6432Node") +
                     ClassKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes") +
                     ClassKey(L"HKEY_CURRENT_USER\\Software\\Classes") +
                     ClassKey(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Classes") +
                     ClassKey(L"HKEY_USERS\\A\\Software\\Classes")));
    EXPECT_EQ(model.objects.size(), 6u);
}

TEST(RegistryModel, SpellingsOfAViewAreOneObject) {
    EXPECT_EQ(ModelOf(Read(ClassKey(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Classes") +
                           ClassKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\Wow6432Node")))
                  .objects.size(),
              1u);
}

TEST(RegistryModel, WhatMakesUpNoObjectIsListed) {
    const RegistryModel model =
        ModelOf(Read(Key(L"HKEY_CLASSES_ROOT\\CLSID") +
                     Key(L"HKEY_CURRENT_USER\\Software\\A", L"@=\"x\"\r\n\"y\"=\"z\"\r\n")));
    EXPECT_TRUE(model.objects.empty());
    EXPECT_EQ(model.otherSections, (std::vector<std::size_t>{0, 1}));
    EXPECT_EQ(model.otherEntries, (std::vector<RegEntryRef>{{1, 0}, {1, 1}}));
}

TEST(RegistryModel, ApprovedShellExtensionsAreValues) {
    const RegistryModel model = ModelOf(Read(
        Key(L"HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved",
            std::wstring(L"\"").append(guid).append(L"\"=\"name\"\r\n\"other\"=\"x\"\r\n"))));
    ASSERT_EQ(model.objects.size(), 1u);
    const auto& facts = std::get<ShellExtensionFacts>(model.objects[0].facts);
    EXPECT_EQ(facts.handler, L"Approved");
    EXPECT_EQ(facts.clsid, guid);
    EXPECT_EQ(facts.name, L"name");
    EXPECT_EQ(model.objects[0].entries, (std::vector<RegEntryRef>{{0, 0}}));
    EXPECT_EQ(model.otherEntries, (std::vector<RegEntryRef>{{0, 1}}));
}

TEST(RegistryModel, DeletedKeyBelongsToItsObject) {
    const RegistryModel model = ModelOf(Read(ClassKey(L"HKEY_CLASSES_ROOT") +
                                             Key(std::wstring(L"-HKEY_CLASSES_ROOT\\CLSID\\").append(guid))));
    ASSERT_EQ(model.objects.size(), 1u);
    EXPECT_EQ(model.objects[0].sections.size(), 2u);
    EXPECT_EQ(std::get<ClassFacts>(model.objects[0].facts).name, L"");
}

TEST(RegistryModel, ObjectIsFoundByItsIdentity) {
    const RegistryModel model = ModelOf(Read(Key(L"HKEY_CLASSES_ROOT\\.Ext")));
    const RegScope scope = PlaceOf(L"HKEY_CLASSES_ROOT").scope;
    EXPECT_EQ(FindObject(model, {ObjectKind::Extension, scope, L".ext"}), &model.objects[0]);
    EXPECT_EQ(FindObject(model, {ObjectKind::Extension, scope, L".other"}), nullptr);
    EXPECT_EQ(FindObject(model, {ObjectKind::ProgId, scope, L".ext"}), nullptr);
}

TEST(RegistryModel, EachEntryOfAGoldenFileBelongsToOneObjectOrNone) {
    for (const std::filesystem::path& file : GoldenFiles()) {
        SCOPED_TRACE(file);
        ExpectPartition(ReadBytes(ContentOf(file)));
    }
}

// The calculator of the tests registers a class with its ProgIDs, an interface and a type library.
TEST(RegistryModel, CaptureOfTheCalculatorIsKnownCompletely) {
    const RegDocument document = ReadBytes(ContentOf(GoldenFile("calculator-x64.reg")));
    const RegistryModel model = ModelOf(document);
    std::map<ObjectKind, int> counts;
    for (const RegObject& object : model.objects) {
        ++counts[object.identity.kind];
    }
    EXPECT_EQ(counts[ObjectKind::Class], 1);
    EXPECT_EQ(counts[ObjectKind::TypeLib], 1);
    EXPECT_EQ(counts[ObjectKind::Interface], 1);
    EXPECT_EQ(counts[ObjectKind::ProgId], 2);
    EXPECT_TRUE(model.otherEntries.empty());
}

} // namespace
} // namespace keyreap::testsupport
