#include "regmodel/regtree.h"
#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

// The tree of a file with this content.
class TreeOf {
public:
    explicit TreeOf(std::wstring_view content) : document(Read(content)), tree(document) {}

    RegTree::Key Find(std::wstring_view path) const {
        const RegPlace place = PlaceOf(path);
        return tree.Find(place, place.names.size());
    }

    std::wstring Text(std::wstring_view path, std::wstring_view name = {}) const {
        return tree.Text(Find(path), name);
    }

    bool Has(std::wstring_view path) const { return Find(path) != RegTree::noKey; }

    std::vector<std::wstring> ChildrenOf(std::wstring_view path) const {
        std::vector<std::wstring> names;
        for (const RegTree::Key child : tree.Children(Find(path))) {
            names.push_back(tree.NameOf(child));
        }
        return names;
    }

    RegDocument document;
    RegTree tree;
};

TEST(RegTree, KeysAndValuesAreFoundWithoutCase) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\Aa\\B]\r\n\"Nn\"=\"x\"\r\n");
    EXPECT_EQ(tree.Text(L"hkey_classes_root\\AA\\b", L"nN"), L"x");
}

TEST(RegTree, KeyAboveANamedOneExists) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\A\\B]\r\n");
    EXPECT_TRUE(tree.Has(L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(tree.Has(L"HKEY_CLASSES_ROOT\\B"));
}

TEST(RegTree, HivesAndViewsAreApart) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n");
    EXPECT_FALSE(tree.Has(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\A"));
    EXPECT_FALSE(tree.Has(L"HKEY_CLASSES_ROOT\\Wow6432Node\\A"));
}

TEST(RegTree, LastSettingCounts) {
    const TreeOf tree(L"\r\n[HKEY_USERS\\A]\r\n@=\"1\"\r\n\r\n[HKEY_USERS\\a]\r\n@=\"2\"\r\n");
    EXPECT_EQ(tree.Text(L"HKEY_USERS\\A"), L"2");
}

TEST(RegTree, DeletedValueIsNotSet) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\A]\r\n@=\"1\"\r\n@=-\r\n");
    EXPECT_EQ(tree.tree.Value(tree.Find(L"HKEY_CLASSES_ROOT\\A")), nullptr);
}

TEST(RegTree, DeletedKeyIsGoneWithAllBelowIt) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\A\\B]\r\n@=\"1\"\r\n\r\n[-HKEY_CLASSES_ROOT\\A]\r\n");
    EXPECT_FALSE(tree.Has(L"HKEY_CLASSES_ROOT\\A"));
    EXPECT_FALSE(tree.Has(L"HKEY_CLASSES_ROOT\\A\\B"));
    EXPECT_TRUE(tree.ChildrenOf(L"HKEY_CLASSES_ROOT").empty());
}

TEST(RegTree, KeyThatIsMadeAgainHasOnlyWhatWasSetThen) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\A\\B]\r\n@=\"1\"\r\n\r\n[-HKEY_CLASSES_ROOT\\A]\r\n"
                      L"\r\n[HKEY_CLASSES_ROOT\\A\\B]\r\n\"n\"=\"2\"\r\n");
    EXPECT_EQ(tree.Text(L"HKEY_CLASSES_ROOT\\A\\B"), L"");
    EXPECT_EQ(tree.Text(L"HKEY_CLASSES_ROOT\\A\\B", L"n"), L"2");
    EXPECT_EQ(tree.ChildrenOf(L"HKEY_CLASSES_ROOT"), std::vector<std::wstring>{L"A"});
    EXPECT_EQ(tree.ChildrenOf(L"HKEY_CLASSES_ROOT\\A"), std::vector<std::wstring>{L"B"});
}

TEST(RegTree, ChildrenAreInTheFilesOrder) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\K\\b]\r\n\r\n[HKEY_CLASSES_ROOT\\K\\A]\r\n\r\n"
                      L"[HKEY_CLASSES_ROOT\\k\\B\\C]\r\n");
    EXPECT_EQ(tree.ChildrenOf(L"HKEY_CLASSES_ROOT\\K"), (std::vector<std::wstring>{L"b", L"A"}));
}

TEST(RegTree, DamagedTextCountsAsWhatWasMeant) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\K]\r\n@=\"\\\"\r\n\"none\"=\r\n");
    EXPECT_EQ(tree.Text(L"HKEY_CLASSES_ROOT\\K"), L"\\");
    EXPECT_EQ(tree.Text(L"HKEY_CLASSES_ROOT\\K", L"none"), L"");
}

TEST(RegTree, TextsAreTheValuesThatAreTexts) {
    const TreeOf tree(L"\r\n[HKEY_CLASSES_ROOT\\K]\r\n\"a\"=\"1\"\r\n\"b\"=dword:1\r\n\"c\"=\"2\"\r\n\"A\"="
                      L"\"3\"\r\n\"c\"=-\r\n");
    const auto texts = tree.tree.Texts(tree.Find(L"HKEY_CLASSES_ROOT\\K"));
    EXPECT_EQ(texts, (std::vector<std::pair<std::wstring, std::wstring>>{{L"a", L"3"}}));
}

TEST(RegTree, NothingIsInNoKey) {
    const TreeOf tree(L"");
    EXPECT_EQ(tree.tree.Child(RegTree::noKey, L"a"), RegTree::noKey);
    EXPECT_TRUE(tree.tree.Children(RegTree::noKey).empty());
    EXPECT_EQ(tree.tree.Value(RegTree::noKey), nullptr);
    EXPECT_TRUE(tree.tree.Texts(RegTree::noKey).empty());
}

TEST(RegTree, DeepKeysNeedNoStack) {
    std::wstring path = L"HKEY_CLASSES_ROOT";
    for (int i = 0; i < 200000; ++i) {
        path += L"\\a";
    }
    const TreeOf tree(L"\r\n[" + path + L"]\r\n\r\n[-HKEY_CLASSES_ROOT\\a]\r\n");
    EXPECT_FALSE(tree.Has(L"HKEY_CLASSES_ROOT\\a"));
}

} // namespace
} // namespace keyreap::testsupport
