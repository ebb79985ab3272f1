#include "platform/core/text/hash.h"
#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/namemap.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <utility>

namespace keyreap {
namespace {

struct Entry : MapEntry<Entry> {
    Entry(std::wstring name, std::uint64_t hash, int number)
        : name(std::move(name)), hash(hash), number(number) {}
    HashedName Name() const { return {name, hash}; }

    std::wstring name;
    std::uint64_t hash;
    int number;
};

class NameMapTest : public testing::Test {
protected:
    HashedName Hashed(const std::wstring& name) const {
        std::wstring folded = name;
        rules.Fold(folded);
        Fnv1a hash;
        hash.AddText(folded);
        return {name, hash.Value()};
    }

    Entry& Make(const std::wstring& name, int number = 0) {
        return made.emplace_back(Entry{name, Hashed(name).hash, number});
    }

    void AddMany(int count) {
        for (int i = 0; i < count; ++i) {
            map.Add(Make(Name(i), i));
        }
    }

    static std::wstring Name(int i) { return L"Name" + std::to_wstring(i); }

    LetterFoldingNameRules rules;
    NameStore store{rules, {}};
    std::deque<Entry> made; // which never moves its elements
    NameMap<Entry> map{store};
};

TEST_F(NameMapTest, IsEmptyAtFirst) {
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.Find(Hashed(L"A")), nullptr);
}

TEST_F(NameMapTest, FindsEachOfFewAndOfManyEntriesInAnyCase) {
    for (const int count : {1, 8, 9, 16, 17, 1000}) {
        NameMap<Entry> fresh(store);
        for (int i = 0; i < count; ++i) {
            fresh.Add(Make(Name(i), i));
        }
        EXPECT_EQ(fresh.Size(), static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) {
            ASSERT_NE(fresh.Find(Hashed(L"NAME" + std::to_wstring(i))), nullptr) << count << " " << i;
            EXPECT_EQ(fresh.Find(Hashed(Name(i)))->number, i);
        }
        EXPECT_EQ(fresh.Find(Hashed(Name(count))), nullptr);
    }
}

TEST_F(NameMapTest, TheEntryThatWasAddedIsFoundItself) {
    Entry& first = Make(L"First");
    map.Add(first);
    AddMany(1000);
    EXPECT_EQ(map.Find(Hashed(L"first")), &first);
}

TEST_F(NameMapTest, ARemovedEntryIsNotFoundAndAllOtherEntriesAre) {
    AddMany(100);
    map.Remove(Hashed(L"name50"));
    map.Remove(Hashed(L"no such name"));
    EXPECT_EQ(map.Size(), 99U);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(map.Find(Hashed(Name(i))) != nullptr, i != 50) << i;
    }
    map.Add(Make(L"Another"));
    EXPECT_EQ(map.Find(Hashed(Name(50))), nullptr);
    EXPECT_EQ(map.Find(Hashed(Name(99)))->number, 99);
    EXPECT_NE(map.Find(Hashed(L"another")), nullptr);
}

TEST_F(NameMapTest, AnEntryReplacesTheOneOfTheSameName) {
    AddMany(20);
    map.AddOrReplace(Make(L"NAME7", 77));
    map.AddOrReplace(Make(L"New", 20));
    EXPECT_EQ(map.Size(), 21U);
    EXPECT_EQ(map.Find(Hashed(L"Name7"))->number, 77);
    EXPECT_EQ(map.Find(Hashed(L"New"))->number, 20);
}

TEST_F(NameMapTest, AWalkTakesTheNewestEntryFirst) {
    AddMany(100);
    int expected = 100;
    for (const Entry& entry : map) {
        EXPECT_EQ(entry.number, --expected);
    }
    EXPECT_EQ(expected, 0);
}

TEST_F(NameMapTest, AnEntryInThePlaceOfAnotherIsVisitedInItsTurn) {
    for (const int count : {3, 30}) {
        map.Clear();
        AddMany(count);
        map.AddOrReplace(Make(L"NAME1", 1));
        int expected = count;
        for (const Entry& entry : map) {
            EXPECT_EQ(entry.number, --expected);
        }
        EXPECT_EQ(map.Find(Hashed(Name(1))), &made.back());
    }
}

TEST_F(NameMapTest, AClearedMapIsEmptyAndTakesEntriesAgain) {
    AddMany(20);
    map.Clear();
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(map.Find(Hashed(Name(7))), nullptr);
    map.Add(Make(L"Again"));
    EXPECT_NE(map.Find(Hashed(L"again")), nullptr);
}

// Rules by which all names are equal, as by the system's rules some names with different folded forms are.
class LooseNameRules : public LetterFoldingNameRules {
public:
    bool AreEqual(std::wstring_view, std::wstring_view) const override {
        ++comparisons;
        return true;
    }
    mutable int comparisons = 0;
};

TEST(NameMapRules, NamesAreComparedOnlyWhereTheWholeHashIsEqual) {
    const LooseNameRules rules;
    NameStore store{rules, {}};
    std::deque<Entry> made;
    NameMap<Entry> map(store);
    // All hashes have the same low half, and so the same slot of the index.
    for (std::uint64_t i = 0; i < 100; ++i) {
        map.Add(made.emplace_back(Entry{L"name", i << 32 | 5, static_cast<int>(i)}));
    }
    for (std::uint64_t i = 0; i < 100; ++i) {
        EXPECT_EQ(map.Find({L"name", i << 32 | 5})->number, static_cast<int>(i));
    }
    EXPECT_EQ(map.Find({L"name", 5ULL << 40 | 5}), nullptr);
    EXPECT_EQ(rules.comparisons, 0);
    EXPECT_EQ(map.Find({L"another", 7ULL << 32 | 5})->number, 7);
    EXPECT_EQ(rules.comparisons, 1);
}

} // namespace
} // namespace keyreap
