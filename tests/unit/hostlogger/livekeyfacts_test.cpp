#include "hostlogger/livekeyfacts.h"
#include "platform/core/text/compare.h"
#include "tests/unit/hostlogger/nativekeys.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr ULONG openLink = 0x100; // OBJ_OPENLINK, ntdef.h
constexpr bool is64Bit = sizeof(void*) == 8;

const std::wstring machineKey = L"\\REGISTRY\\Machine";
const std::wstring softwareKey = machineKey + L"\\Software";

// The view of a request of this process with such an access.
KeyView ViewOf(ACCESS_MASK access, ULONG attributes) {
    return {!is64Bit && (access & KEY_WOW64_64KEY) == 0, (access & KEY_WOW64_32KEY) != 0,
            (attributes & openLink) != 0};
}

constexpr ACCESS_MASK requestedViews[] = {0, KEY_WOW64_32KEY, KEY_WOW64_64KEY};

// Opens keys in every view and compares the real paths that the system gives with those that are predicted.
class FoundKeys : public testing::Test {
protected:
    void Compare(const NativeTestKey& parent, const std::wstring& name) {
        const std::wstring parentPath = parent.IsOpen() ? parent.RealPath() : std::wstring();
        for (const ACCESS_MASK view : requestedViews) {
            for (const ULONG attributes : {ULONG{0}, openLink}) {
                const auto key =
                    NativeTestKey::Open(parent.Handle(), name, KEY_QUERY_VALUE | view, attributes);
                if (key.IsOpen()) {
                    Check(key, parentPath, name, ViewOf(view, attributes));
                }
            }
        }
    }

    void Check(const NativeTestKey& key, const std::wstring& parent, const std::wstring& name, KeyView view) {
        const std::wstring real = key.RealPath();
        const std::wstring found = FindRealPath(parent, name, view, facts);
        EXPECT_TRUE(EqualFolded(found, real))
            << "below " << parent << " " << name << " redirected " << view.redirected << " asks 32 "
            << view.asks32 << " is " << real << ", not " << found;
        ++compared;
    }

    // All keys below a key, to some depth and width, opened by complete names and by relative ones.
    void CompareTree(const std::wstring& path, int depth, unsigned width) {
        const auto key = NativeTestKey::Open(nullptr, path, KEY_READ | KEY_WOW64_64KEY);
        ASSERT_TRUE(key.IsOpen()) << path;
        Compare(NativeTestKey(), path);
        Compare(key, L"");
        for (const std::wstring& name : key.Subkeys(width)) {
            Compare(key, name);
            if (depth > 1) {
                CompareTree(path + L'\\' + name, depth - 1, width);
            }
        }
    }

    // A key below another, opened by a name of several components.
    void CompareFrom(const std::wstring& path, const std::wstring& name) {
        const auto key = NativeTestKey::Open(nullptr, path, KEY_READ | KEY_WOW64_64KEY);
        ASSERT_TRUE(key.IsOpen()) << path;
        Compare(key, name);
    }

    LiveKeyFacts facts;
    int compared = 0;
};

TEST_F(FoundKeys, InTheSoftwareOfTheMachine) {
    CompareTree(softwareKey, 3, 12);
    CompareTree(softwareKey + L"\\Wow6432Node", 3, 12);
    EXPECT_GT(compared, 1000);
}

TEST_F(FoundKeys, BelowALinkInTheNode) {
    const std::wstring name = L"Keyreap shared key";
    const ACCESS_MASK all = KEY_ALL_ACCESS | KEY_WOW64_64KEY;
    const auto key = NativeTestKey::Create(nullptr, softwareKey + L'\\' + name, all);
    const auto child = NativeTestKey::Create(key.Handle(), L"Child", all);
    const auto below = NativeTestKey::Create(child.Handle(), L"Below", all);
    const auto link =
        NativeTestKey::Create(nullptr, softwareKey + L"\\Wow6432Node\\" + name, all, REG_OPTION_CREATE_LINK);
    ASSERT_TRUE(below.IsOpen() && link.IsOpen());
    link.SetLinkTarget(softwareKey + L'\\' + name);
    CompareTree(softwareKey + L'\\' + name, 3, 3);
    EXPECT_GT(compared, 10);
    for (const auto* made : {&link, &below, &child, &key}) {
        made->Delete();
    }
}

TEST_F(FoundKeys, AmongTheClasses) {
    for (const wchar_t* name : {L"", L"\\CLSID", L"\\Interface", L"\\Wow6432Node", L"\\Wow6432Node\\CLSID"}) {
        CompareTree(softwareKey + L"\\Classes" + name, 2, 40);
    }
    EXPECT_GT(compared, 1000);
}

TEST_F(FoundKeys, OfUsersAndOfTheSystem) {
    CompareTree(L"\\REGISTRY\\User", 4, 10);
    CompareTree(machineKey + L"\\System", 3, 10);
    EXPECT_GT(compared, 500);
}

TEST_F(FoundKeys, ByNamesOfSeveralComponents) {
    const auto classes =
        NativeTestKey::Open(nullptr, softwareKey + L"\\Classes\\CLSID", KEY_READ | KEY_WOW64_64KEY);
    for (const std::wstring& clsid : classes.Subkeys(100)) {
        CompareFrom(machineKey, L"Software\\Classes\\CLSID\\" + clsid);
        CompareFrom(softwareKey, L"Classes\\CLSID\\" + clsid);
        CompareFrom(softwareKey, L"Wow6432Node\\Classes\\CLSID\\" + clsid);
        CompareFrom(softwareKey + L"\\Classes", L"CLSID\\" + clsid);
        CompareFrom(softwareKey + L"\\Classes", L"wow6432node\\CLSID\\" + clsid);
        CompareFrom(softwareKey + L"\\Wow6432Node", L"Classes\\CLSID\\" + clsid);
        CompareFrom(softwareKey + L"\\Classes\\Wow6432Node", L"CLSID\\" + clsid);
    }
    CompareFrom(machineKey, L"Software\\\\Microsoft\\\\\\Windows\\");
    EXPECT_GT(compared, 500);
}

TEST_F(FoundKeys, WhereLinksLead) {
    const std::wstring top = machineKey + L"\\System\\Keyreap link test";
    const ACCESS_MASK all = KEY_ALL_ACCESS | KEY_WOW64_64KEY;
    const auto test = NativeTestKey::Create(nullptr, top, all);
    const auto target = NativeTestKey::Create(test.Handle(), L"Target", all);
    const auto below = NativeTestKey::Create(target.Handle(), L"Below", all);
    const auto first = NativeTestKey::Create(test.Handle(), L"First", all, REG_OPTION_CREATE_LINK);
    const auto second = NativeTestKey::Create(test.Handle(), L"Second", all, REG_OPTION_CREATE_LINK);
    first.SetLinkTarget(top + L"\\Second\\Below");
    second.SetLinkTarget(top + L"\\Target");
    facts.Forget();

    for (const wchar_t* name : {L"First", L"Second", L"Second\\Below", L"Target\\Below"}) {
        Compare(test, name);
        Compare(NativeTestKey(), top + L'\\' + name);
    }
    Compare(second, L"Below");
    EXPECT_EQ(compared, 9 * 6);

    for (const NativeTestKey* key : {&first, &second, &below, &target, &test}) {
        key->Delete();
    }
}

TEST_F(FoundKeys, WhenACreationFindsThemThere) {
    const auto software = NativeTestKey::Open(nullptr, softwareKey, KEY_READ | KEY_WOW64_64KEY);
    for (const std::wstring& name : software.Subkeys(50)) {
        for (const ACCESS_MASK view : requestedViews) {
            if (NativeTestKey::Open(software.Handle(), name, KEY_QUERY_VALUE | view).IsOpen()) {
                const auto key = NativeTestKey::Create(software.Handle(), name, KEY_QUERY_VALUE | view);
                ASSERT_TRUE(key.Existed()) << name;
                Check(key, softwareKey, name, ViewOf(view, 0));
            }
        }
    }
    EXPECT_GT(compared, 10);
}

TEST(LiveKeyFacts, ReportsWhichKeysExist) {
    LiveKeyFacts facts;
    EXPECT_TRUE(facts.Exists(softwareKey));
    EXPECT_FALSE(facts.Exists(softwareKey + L"\\Keyreap no such key"));
    EXPECT_FALSE(facts.Exists(L""));
    EXPECT_FALSE(facts.Exists(softwareKey + L'\\' + std::wstring(0x10000, L'a')));
    EXPECT_FALSE(facts.LinkTarget(softwareKey));
    // Opening it succeeds with a special status (STATUS_PREDEFINED_HANDLE).
    EXPECT_TRUE(facts.Exists(softwareKey + L"\\Microsoft\\Windows NT\\CurrentVersion\\Perflib\\009"));
}

TEST(LiveKeyFacts, AnswersAreCachedUntilForget) {
    const std::wstring path = softwareKey + L"\\Keyreap facts test";
    LiveKeyFacts facts;
    EXPECT_FALSE(facts.Exists(path));
    const auto key = NativeTestKey::Create(nullptr, path, KEY_ALL_ACCESS | KEY_WOW64_64KEY);
    EXPECT_FALSE(facts.Exists(path));
    facts.Forget();
    EXPECT_TRUE(facts.Exists(path));
    key.Delete();
}

TEST(LiveKeyFacts, ALinkHasItsTarget) {
    const std::wstring path = softwareKey + L"\\Keyreap facts test";
    const auto link =
        NativeTestKey::Create(nullptr, path, KEY_ALL_ACCESS | KEY_WOW64_64KEY, REG_OPTION_CREATE_LINK);
    link.SetLinkTarget(L"\\REGISTRY\\No such key");
    LiveKeyFacts facts;
    EXPECT_TRUE(facts.Exists(path));
    EXPECT_EQ(facts.LinkTarget(path), L"\\REGISTRY\\No such key");
    link.Delete();
}

TEST(LiveKeyFacts, AValueOfTheTargetsNameAloneMakesNoLink) {
    const auto key = NativeTestKey::Create(nullptr, softwareKey + L"\\Keyreap facts test",
                                           KEY_ALL_ACCESS | KEY_WOW64_64KEY);
    const wchar_t target[] = L"\\REGISTRY\\User";
    EXPECT_EQ(RegSetValueExW(static_cast<HKEY>(key.Handle()), L"SymbolicLinkValue", 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(target), sizeof(target)),
              ERROR_SUCCESS);
    EXPECT_FALSE(LiveKeyFacts().LinkTarget(softwareKey + L"\\Keyreap facts test"));
    key.Delete();
}

} // namespace
} // namespace keyreap
