#include "platform/core/text/hash.h"
#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/namemap.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace keyreap {
namespace {

struct Entry {
    HashedName Name() const { return {name, hash}; }

    std::wstring name;
    std::uint64_t hash;
    int number = 0;
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
    std::deque<Entry> made; // stay where they are
    NameMap<Entry> map{store};
};

TEST_F(NameMapTest, IsEmptyAtFirst) {
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(nullptr, map.Find(Hashed(L"A")));
}

TEST_F(NameMapTest, FindsEachOfFewAndOfManyEntriesInAnyCase) {
    for (const int count : {1, 8, 9, 16, 17, 1000}) {
        NameMap<Entry> fresh(store);
        for (int i = 0; i < count; ++i) {
            fresh.Add(Make(Name(i), i));
        }
        EXPECT_EQ(static_cast<std::size_t>(count), fresh.Size());
        for (int i = 0; i < count; ++i) {
            ASSERT_NE(nullptr, fresh.Find(Hashed(L"NAME" + std::to_wstring(i)))) << count << " " << i;
            EXPECT_EQ(i, fresh.Find(Hashed(Name(i)))->number);
        }
        EXPECT_EQ(nullptr, fresh.Find(Hashed(Name(count))));
    }
}

TEST_F(NameMapTest, TheEntryThatWasAddedIsFoundItself) {
    Entry& first = Make(L"First");
    map.Add(first);
    AddMany(1000);
    EXPECT_EQ(&first, map.Find(Hashed(L"first")));
}

TEST_F(NameMapTest, ARemovedEntryIsGoneAndTheOthersAreFoundAsBefore) {
    AddMany(100);
    map.Remove(Hashed(L"name50"));
    map.Remove(Hashed(L"no such name"));
    EXPECT_EQ(99U, map.Size());
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(i != 50, map.Find(Hashed(Name(i))) != nullptr) << i;
    }
    map.Add(Make(L"Another"));
    EXPECT_EQ(nullptr, map.Find(Hashed(Name(50))));
    EXPECT_EQ(99, map.Find(Hashed(Name(99)))->number);
    EXPECT_NE(nullptr, map.Find(Hashed(L"another")));
}

TEST_F(NameMapTest, AnEntryReplacesTheOneOfItsName) {
    AddMany(20);
    map.AddOrReplace(Make(L"NAME7", 77));
    map.AddOrReplace(Make(L"New", 20));
    EXPECT_EQ(21U, map.Size());
    EXPECT_EQ(77, map.Find(Hashed(L"Name7"))->number);
    EXPECT_EQ(20, map.Find(Hashed(L"New"))->number);
}

TEST_F(NameMapTest, AWalkTakesTheEntriesInTheOrderOfTheirAddition) {
    AddMany(100);
    int expected = 0;
    for (const auto& entry : map.Entries()) {
        EXPECT_EQ(expected++, entry->number);
    }
}

TEST_F(NameMapTest, AClearedMapIsEmptyAndTakesEntriesAgain) {
    AddMany(20);
    map.Clear();
    EXPECT_TRUE(map.IsEmpty());
    EXPECT_EQ(nullptr, map.Find(Hashed(Name(7))));
    map.Add(Make(L"Again"));
    EXPECT_NE(nullptr, map.Find(Hashed(L"again")));
}

// Rules that hold all names equal, as the system's hold some whose folded forms differ.
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
    // One low half, and so one place in any search, for all of them.
    for (std::uint64_t i = 0; i < 100; ++i) {
        map.Add(made.emplace_back(Entry{L"name", i << 32 | 5, static_cast<int>(i)}));
    }
    for (std::uint64_t i = 0; i < 100; ++i) {
        EXPECT_EQ(static_cast<int>(i), map.Find({L"name", i << 32 | 5})->number);
    }
    EXPECT_EQ(nullptr, map.Find({L"name", 5ULL << 40 | 5}));
    EXPECT_EQ(0, rules.comparisons);
    EXPECT_EQ(7, map.Find({L"another", 7ULL << 32 | 5})->number);
    EXPECT_EQ(1, rules.comparisons);
}

} // namespace
} // namespace keyreap
