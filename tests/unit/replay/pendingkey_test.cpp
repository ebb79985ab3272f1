#include "trace/replay/pendingkey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

std::vector<std::wstring> SortedPaths(const std::vector<std::wstring>& paths) {
    std::vector<PendingKey> keys;
    for (const std::wstring& path : paths) {
        keys.push_back({usersRoot, path, {}});
    }
    SortPendingKeys(keys);
    std::vector<std::wstring> sorted;
    for (const PendingKey& key : keys) {
        sorted.push_back(key.keyPath);
    }
    return sorted;
}

std::vector<std::wstring> SortedNames(const std::vector<std::wstring>& names) {
    std::vector<PendingKey> keys{{usersRoot, L"K", {}}};
    for (const std::wstring& name : names) {
        keys[0].values.push_back({name, L"", 1});
    }
    SortPendingKeys(keys);
    std::vector<std::wstring> sorted;
    for (const PendingValue& value : keys[0].values) {
        sorted.push_back(value.name);
    }
    return sorted;
}

TEST(SortPendingKeys, AKeyComesDirectlyBeforeItsSubkeys) {
    EXPECT_THAT(SortedPaths({L"A-B", L"A B", L"A\\B", L"A", L"A!"}),
                ElementsAre(L"A", L"A\\B", L"A B", L"A!", L"A-B"));
}

TEST(SortPendingKeys, KeysSortWithLettersFolded) {
    EXPECT_THAT(SortedPaths({L"b", L"A"}), ElementsAre(L"A", L"b"));
    EXPECT_THAT(SortedPaths({L"B", L"a"}), ElementsAre(L"a", L"B"));
}

TEST(SortPendingKeys, FoldingIsToLowerCaseSoAnUnderscoreComesBeforeLetters) {
    EXPECT_THAT(SortedPaths({L"AZ", L"A_"}), ElementsAre(L"A_", L"AZ"));
}

TEST(SortPendingKeys, OnlyLettersAreFolded) {
    EXPECT_THAT(SortedPaths({L"\u00E0b", L"\u00C0c"}), ElementsAre(L"\u00C0c", L"\u00E0b"));
}

TEST(SortPendingKeys, ValuesSortByCodeUnitCaseIncluded) {
    EXPECT_THAT(SortedNames({L"b", L"A"}), ElementsAre(L"A", L"b"));
    EXPECT_THAT(SortedNames({L"a", L"B"}), ElementsAre(L"B", L"a"));
    EXPECT_THAT(SortedNames({L"a\\b", L"a b", L""}), ElementsAre(L"", L"a b", L"a\\b"));
}

TEST(SortPendingKeys, ValuesStayWithTheirKey) {
    std::vector<PendingKey> keys{{usersRoot, L"B", {{L"of B", L"text", 1}}},
                                 {usersRoot, L"A", {{L"of A", L"16", 4}}}};
    SortPendingKeys(keys);
    EXPECT_THAT(keys[0].values, ElementsAre(FieldsAre(L"of A", L"16", 4U)));
    EXPECT_THAT(keys[1].values, ElementsAre(FieldsAre(L"of B", L"text", 1U)));
}

TEST(ComparePendingKeys, NeitherOfTwoEqualPathsComesFirst) {
    EXPECT_FALSE(ComparePendingKeys(L"A\\b", L"a\\B"));
    EXPECT_FALSE(ComparePendingKeys(L"a\\B", L"A\\b"));
}

} // namespace
} // namespace keyreap
