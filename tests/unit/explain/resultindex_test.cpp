#include "kit/explain/resultindex.h"

#include <gtest/gtest.h>

#include <utility>

namespace keyreap {
namespace {

RegEntry Text(std::wstring name, const std::wstring& text) {
    RegEntry entry;
    entry.name = std::move(name);
    entry.type = 1; // REG_SZ
    entry.data = UnitData(text + L'\0');
    return entry;
}

ResultIndex IndexOfSample() {
    RegSection own;
    own.path = L"HKEY_LOCAL_MACHINE\\Software";
    own.isCapturesOwn = true;
    RegSection key;
    key.path = L"HKEY_CLASSES_ROOT\\A\\B";
    key.entries = {Text(L"v", L"x"), Text(L"", L"y"), Text(L"filler", std::wstring(10, L'\x5555'))};
    RegDocument document;
    document.sections = {key, own};
    return ResultIndex(document);
}

TEST(ResultIndex, HasKeysAndThoseThatTheyImply) {
    const ResultIndex index = IndexOfSample();
    EXPECT_EQ(index.OfKey(L"hkey_classes_root\\a\\B"), InResult::Itself);
    EXPECT_EQ(index.OfKey(L"HKEY_CLASSES_ROOT\\A"), InResult::OnlyBelow);
    EXPECT_EQ(index.OfKey(L"HKEY_LOCAL_MACHINE\\Software"), InResult::CapturesOwn);
    EXPECT_EQ(index.OfKey(L"HKEY_CLASSES_ROOT\\B"), InResult::Nothing);
}

TEST(ResultIndex, HasValuesAndKnowsFillers) {
    const ResultIndex index = IndexOfSample();
    EXPECT_EQ(index.OfValue(L"HKEY_CLASSES_ROOT\\A\\B", L"V"), InResult::Itself);
    EXPECT_EQ(index.OfValue(L"HKEY_CLASSES_ROOT\\A\\B", L""), InResult::Itself);
    EXPECT_EQ(index.OfValue(L"HKEY_CLASSES_ROOT\\A\\B", L"filler"), InResult::Filler);
    EXPECT_EQ(index.OfValue(L"HKEY_CLASSES_ROOT\\A\\B", L"w"), InResult::Nothing);
    EXPECT_EQ(index.OfValue(L"HKEY_CLASSES_ROOT\\A", L"v"), InResult::Nothing);
}

} // namespace
} // namespace keyreap
