// A server that renames a key. A redirected tree shows what became of it; no event of a trace says it, and so
// the values that were set before are looked for under the name that they were set by.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t renamingsKey[] = L"Software\\KeyreapRenaming";

class RenamedKey : public TracedSession {
protected:
    ~RenamedKey() override { DeleteTree(HKEY_CURRENT_USER, renamingsKey); }
};

TEST_P(RenamedKey, HasItsNewNameAndAllItsValuesInAHarvest) {
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"renaming.dll", L"keyRedir"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("renaming.reg")));
    EXPECT_EQ(before.Changes(), nothing);
}

TEST_P(RenamedKey, GivesFillersUnderItsOldNameInTheDefaultMode) {
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"renaming.dll", L"both"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("renaming-traced.reg")));
    EXPECT_EQ(before.Changes(), nothing);
}

// Taking out what was set later takes the key that it lies in, with what was set before.
TEST_P(RenamedKey, GivesFillersUnderItsOldNameInATraceAndStaysUnderTheNewOneIfNothingWasSetLater) {
    const std::wstring key = std::wstring(L"+ HKCU\\") + renamingsKey;
    const SavedRegistry before;
    EXPECT_EQ(Trace(L"renaming.dll", L"trace"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("renaming-traced.reg")));
    EXPECT_EQ(before.Changes(), (Lines{key, key + L"\\New, empty", key + L"\\New, left alone"}));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, renamingsKey),
              (RegistryTree{
                  {L"", {}},
                  {L"New, empty", {}},
                  {L"New, left alone", {{L"before", TextValue(L"set before the renaming")}}},
              }));
}

TEST_P(RenamedKey, ThatWasThereBeforeIsNotInATraceAndStaysUnderItsNewName) {
    const std::wstring key = renamingsKey;
    SetText(HKEY_CURRENT_USER, key + L"\\There before", L"value", L"of before");
    EXPECT_EQ(Trace(L"renaming.dll", L"trace"), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("renaming-traced.reg")));
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, key + L"\\There afterwards"),
              (RegistryTree{{L"", {{L"value", TextValue(L"of before")}}}}));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, key + L"\\There before"));
}

INSTANTIATE_TEST_SUITE_P(ByRoute, RenamedKey, testing::ValuesIn(nativeRoutes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
