#include "tests/support/payloadbuilder.h"
#include "trace/handlenames.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace keyreap {
namespace {

class HandleNamesTest : public testing::Test {
protected:
    void Set(std::uint64_t handle, std::wstring_view name) {
        names.Set(handle, PayloadBuilder().Wide(name).bytes);
    }

    std::optional<std::wstring> NameOf(std::uint64_t handle) {
        const HandleName* const found = names.Find(handle);
        if (found == nullptr) {
            return {};
        }
        std::wstring text = L"before";
        found->CopyTo(text);
        return text;
    }

    HandleNames names;
};

TEST_F(HandleNamesTest, NoHandleHasANameAtFirst) {
    EXPECT_EQ(NameOf(0), std::nullopt);
    EXPECT_EQ(NameOf(7), std::nullopt);
}

TEST_F(HandleNamesTest, EachOfManyHandlesHasItsName) {
    for (std::uint64_t i = 1; i <= 5000; ++i) {
        Set(0xFFFFA00000000000 + i * 0x90, std::to_wstring(i));
    }
    for (std::uint64_t i = 1; i <= 5000; ++i) {
        ASSERT_EQ(NameOf(0xFFFFA00000000000 + i * 0x90), std::to_wstring(i));
    }
    EXPECT_EQ(NameOf(0xFFFFA00000000000), std::nullopt);
}

TEST_F(HandleNamesTest, HandlesThatAreFoundByTurnsKeepTheirNames) {
    for (std::uint64_t handle = 1; handle <= 4096; handle *= 2) {
        Set(handle, std::to_wstring(handle));
    }
    for (int turn = 0; turn < 3; ++turn) {
        for (std::uint64_t handle = 1; handle <= 4096; handle *= 2) {
            EXPECT_EQ(NameOf(handle), std::to_wstring(handle));
            EXPECT_EQ(NameOf(handle + 4096), std::nullopt);
        }
    }
}

TEST_F(HandleNamesTest, ALaterNameReplacesAnEarlierOneWhateverItsLength) {
    for (const wchar_t* const name :
         {L"Key", L"A longer key", L"Short", L"", L"Key", L"Key", L"A much longer key"}) {
        Set(7, name);
        Set(8, L"Other");
        EXPECT_EQ(NameOf(7), name);
        EXPECT_EQ(names.Find(7)->IsEmpty(), *name == L'\0');
    }
    EXPECT_EQ(NameOf(8), L"Other");
}

TEST_F(HandleNamesTest, Handle0NeverHasAName) {
    Set(0, L"Key");
    EXPECT_EQ(NameOf(0), std::nullopt);
    Set(7, L"Other");
    EXPECT_EQ(NameOf(0), std::nullopt);
}

TEST_F(HandleNamesTest, TheUnitsOfANameStayAsTheyAre) {
    const std::wstring odd = {0xFFFF, 0xD800, 1, L'\\'};
    Set(7, odd);
    EXPECT_EQ(NameOf(7), odd);
}

TEST_F(HandleNamesTest, APlaceStaysUntilTheNameIsAnotherOne) {
    Set(7, L"Key");
    EXPECT_EQ(names.Find(7)->Place(), nullptr);
    names.SetPlace(*names.Find(7), {classesRoot, L"Place"});
    Set(7, L"Key");
    ASSERT_NE(names.Find(7)->Place(), nullptr);
    EXPECT_EQ(names.Find(7)->Place()->keyPath, L"Place");
    EXPECT_EQ(names.Find(7)->Place()->root, classesRoot);
    Set(7, L"Kez");
    EXPECT_EQ(names.Find(7)->Place(), nullptr);
}

TEST_F(HandleNamesTest, ClearedNamesAreGoneAndHandlesAreNamedAgain) {
    Set(7, L"Key");
    EXPECT_EQ(NameOf(7), L"Key");
    names.Clear();
    EXPECT_EQ(NameOf(7), std::nullopt);
    Set(7, L"Again");
    EXPECT_EQ(NameOf(7), L"Again");
}

} // namespace
} // namespace keyreap
