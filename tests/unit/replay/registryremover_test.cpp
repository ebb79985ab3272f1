#include "tests/support/scratchkey.h"
#include "tests/unit/replay/livekey.h"
#include "trace/replay/registryremover.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

class RegistryRemoverTest : public testing::Test {
protected:
    RegistryRemoverTest() { key.SetText(L"Stays", L"V", L"keeps the test's key alive"); }

    // The calls of a walk for one key.
    void Key(std::wstring_view subkey, std::uint32_t valueCount, std::uint32_t childCount = 0,
             Outcome state = Outcome::created) {
        path = key.Path(subkey);
        remover.OnKey(currentUserRoot, path, state, valueCount, childCount);
    }

    void Value(const std::wstring& name, Outcome kind = Outcome::set) {
        remover.OnValue(currentUserRoot, path, name, kind);
    }

    const std::wstring nothingElse = L"[]\n[Stays]\nV=keeps the test's key alive\n";
    LiveKey key{HKEY_CURRENT_USER, L"Software\\KeyreapRemover"};
    RegistryRemover remover;
    std::wstring path;
};

TEST_F(RegistryRemoverTest, AKeyWithoutValuesIsDeletedWithItsEmptyParents) {
    key.Make(L"A\\B\\C");
    Key(L"A\\B\\C", 0);
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, TheClimbStopsAtAParentWithAnotherSubkey) {
    key.Make(L"A\\B\\C");
    key.Make(L"A\\Other");
    Key(L"A\\B\\C", 0);
    EXPECT_EQ(key.Contents(), L"[]\n[A]\n[A\\Other]\n[Stays]\nV=keeps the test's key alive\n");
}

TEST_F(RegistryRemoverTest, TheClimbDoesNotStopAtAParentWithValues) {
    key.SetText(L"A", L"V", L"lost with its key");
    key.Make(L"A\\B");
    Key(L"A\\B", 0);
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, TheOutcomeOfAKeyDoesNotMatter) {
    key.Make(L"A");
    Key(L"A", 0, 0, Outcome::deleted);
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, AKeyWithSubkeysInTheLogIsLeftToThem) {
    key.Make(L"A");
    Key(L"A", 0, 1);
    EXPECT_EQ(key.Contents(), L"[]\n[A]\n[Stays]\nV=keeps the test's key alive\n");
}

TEST_F(RegistryRemoverTest, ALeafKeyIsDeletedWithItsLastValueAndItsNeighbours) {
    key.SetText(L"A", L"Set", L"1");
    key.SetText(L"A", L"Neighbour", L"was there before");
    Key(L"A", 1);
    Value(L"Set");
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, ASetValueIsDeletedAndItsNeighbourInAKeyWithSubkeysStays) {
    key.SetText(L"A", L"Set", L"1");
    key.SetText(L"A", L"Neighbour", L"2");
    key.Make(L"A\\B");
    Key(L"A", 1);
    Value(L"Set");
    EXPECT_EQ(key.Contents(), L"[]\n[A]\nNeighbour=2\n[A\\B]\n[Stays]\nV=keeps the test's key alive\n");
}

TEST_F(RegistryRemoverTest, TheKeyIsTriedOnlyAfterItsLastValue) {
    key.SetText(L"A", L"1", L"x");
    key.SetText(L"A", L"2", L"y");
    Key(L"A", 2);
    Value(L"1");
    EXPECT_EQ(key.Contents(), L"[]\n[A]\n2=y\n[Stays]\nV=keeps the test's key alive\n");
    Value(L"2");
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, AValueThatTheTargetDeletedIsNotTouchedButCounts) {
    key.SetText(L"A", L"Deleted", L"back again");
    key.Make(L"A\\B");
    Key(L"A", 1);
    Value(L"Deleted", Outcome::deleted);
    EXPECT_EQ(key.Contents(),
              L"[]\n[A]\nDeleted=back again\n[A\\B]\n[Stays]\nV=keeps the test's key alive\n");
    RegDeleteKeyW(HKEY_CURRENT_USER, key.Path(L"A\\B").c_str());
    Key(L"A", 1);
    Value(L"Deleted", Outcome::deleted);
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, AMissingKeyOrValueIsIgnored) {
    Key(L"Gone\\Too", 1);
    Value(L"V");
    Key(L"Gone\\Too", 0);
    EXPECT_EQ(key.Contents(), nothingElse);
}

TEST_F(RegistryRemoverTest, AKeyThatMayNotBeOpenedKeepsItsValues) {
    key.SetText(L"A", L"V", L"1");
    key.Make(L"A\\B");
    {
        const testsupport::DeniedKey denied(HKEY_CURRENT_USER, key.Path(L"A").c_str());
        Key(L"A", 1);
        Value(L"V");
    }
    EXPECT_EQ(key.Contents(), L"[]\n[A]\nV=1\n[A\\B]\n[Stays]\nV=keeps the test's key alive\n");
}

TEST_F(RegistryRemoverTest, AKeyThatGrantsLessThanFullAccessKeepsItsValuesToo) {
    key.SetText(L"A", L"V", L"1");
    key.Make(L"A\\B");
    {
        const testsupport::DeniedKey denied(HKEY_CURRENT_USER, key.Path(L"A").c_str(), KEY_READ | KEY_WRITE);
        Key(L"A", 1);
        Value(L"V");
    }
    EXPECT_EQ(key.Contents(), L"[]\n[A]\nV=1\n[A\\B]\n[Stays]\nV=keeps the test's key alive\n");
}

} // namespace
} // namespace keyreap
