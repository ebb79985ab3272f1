// A server that renames keys. A redirected tree contains the renamed key. A trace has no event for a
// renaming, so it looks for the values that were set before under the old name.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t renamingKey[] = L"Software\\KeyreapRenaming";

class RenamedKey : public TracedSession {
protected:
    ~RenamedKey() override { DeleteTree(HKEY_CURRENT_USER, renamingKey); }
};

TEST_P(RenamedKey, HasItsNewNameAndAllItsValuesInAHarvest) {
    ExpectCapture(L"renaming.dll", L"keyRedir", Golden("renaming.reg"));
}

TEST_P(RenamedKey, GivesFillersUnderItsOldNameInTheDefaultMode) {
    ExpectCapture(L"renaming.dll", L"both", Golden("renaming-traced.reg"));
}

// The removal of a value that was set later removes its whole key, with the values that were set before.
TEST_P(RenamedKey, GivesFillersUnderItsOldNameInATraceAndStaysUnderTheNewOneIfNothingWasSetLater) {
    const std::wstring key = std::wstring(L"+ HKCU\\") + renamingKey;
    ExpectCapture(L"renaming.dll", L"trace", Golden("renaming-traced.reg"),
                  {key, key + L"\\New, empty", key + L"\\New, left alone"});
    EXPECT_EQ(ReadTree(HKEY_CURRENT_USER, renamingKey),
              (RegistryTree{
                  {L"", {}},
                  {L"New, empty", {}},
                  {L"New, left alone", {{L"before", TextValue(L"set before the renaming")}}},
              }));
}

TEST_P(RenamedKey, ThatWasThereBeforeIsNotInATraceAndStaysUnderItsNewName) {
    const std::wstring key = renamingKey;
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
