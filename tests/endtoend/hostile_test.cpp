// Hostile servers: the damage is limited, the run ends, and the next run is not disturbed.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/ways.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t nestedKey[] = L"Software\\k";
constexpr wchar_t viewedClass[] = L"Keyreap.Viewed";

class HostileServer : public Workbench, public testing::WithParamInterface<Way> {
protected:
    HostileServer() { Forget(); }
    ~HostileServer() override { Forget(); }

    DWORD CaptureOf(const std::wstring& sample) const {
        return RunLine(LineOf(GetParam(), Sample(GetParam().build, sample), Work(L"out.reg")));
    }
    void ExpectNextRunToSucceed() const {
        EXPECT_EQ(RunLine(LineOf(GetParam(), Sample(GetParam().build, L"plain.dll"), Work(L"next.reg"))), 0U);
        EXPECT_TRUE(Holds(Work(L"next.reg"), DocumentOfPlain(GetParam())));
        EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
    }
    std::wstring Result() const { return ReadUnits(Work(L"out.reg")); }

private:
    static void Forget() {
        for (const wchar_t* key :
             {L"Software\\KeyreapBefore", L"Software\\KeyreapElsewhere", L"Software\\KeyreapThreads",
              L"Software\\KeyreapEveryUnit", L"Software\\KeyreapOwnClasses", nestedKey}) {
            DeleteTree(HKEY_CURRENT_USER, key);
        }
        for (const wchar_t* key : {L"Keyreap.Past", L"Keyreap.Handles", L"Keyreap.Threads", viewedClass}) {
            DeleteTree(HKEY_CLASSES_ROOT, key);
        }
    }
};

const std::wstring before = L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapBefore]\r\n@=\"captured\"\r\n";
const std::wstring past = L"\r\n[HKEY_CLASSES_ROOT\\Keyreap.Past]\r\n@=\"past\"\r\n";
const std::wstring elsewhere =
    L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapElsewhere\\Software\\KeyreapElsewhere]\r\n@=\"elsewhere\"\r\n";

TEST_P(HostileServer, ThatChangesTheOverridesWritesToTheLiveRegistryWhichOnlyATraceSeesAndCleansUp) {
    EXPECT_EQ(CaptureOf(L"overrides.dll"), 0U);
    if (GetParam().IsTraced()) {
        // The entries of a root are contiguous; the order of the roots is not fixed.
        EXPECT_EQ(Result().size() * sizeof(wchar_t), Document(before + elsewhere + past).size());
        EXPECT_NE(Result().find(before + elsewhere), std::wstring::npos);
        EXPECT_NE(Result().find(past), std::wstring::npos);
    } else {
        std::wstring body = RedirectedRoots();
        body.insert(body.find(L"\r\n[HKEY_USERS]"), L"\r\n[HKEY_CURRENT_USER\\Software]\r\n" + before);
        EXPECT_TRUE(Holds(Work(L"out.reg"), Document(body)));
    }
    EXPECT_EQ(KeyExists(HKEY_CLASSES_ROOT, L"Keyreap.Past"), !GetParam().IsTraced());
    EXPECT_EQ(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapElsewhere"), !GetParam().IsTraced());
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapBefore"));
    ExpectNextRunToSucceed();
}

TEST_P(HostileServer, ThatRedirectsTheClassesItselfGetsItsOwnKeyForANamedView) {
    EXPECT_EQ(CaptureOf(L"ownclasses.dll"), 0U);
    const std::wstring viewed =
        L"\r\n[HKEY_CURRENT_USER\\Software\\KeyreapOwnClasses\\Keyreap.Viewed\\Below]\r\n@=\"viewed\"\r\n";
    EXPECT_NE(Result().find(viewed), std::wstring::npos) << testing::PrintToString(Result());
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, viewedClass));
    EXPECT_FALSE(KeyExists(HKEY_LOCAL_MACHINE, L"Software\\Classes\\Wow6432Node\\Keyreap.Viewed"));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapOwnClasses"));
    ExpectNextRunToSucceed();
}

// The numbers in the result are not predictable: they depend on what the threads had written by then.
TEST_P(HostileServer, ThatLeavesThreadsWritingDoesNotPreventAResult) {
    EXPECT_EQ(CaptureOf(L"threads.dll"), 0U);
    EXPECT_TRUE(Result().starts_with(L"\uFEFFWindows Registry Editor Version 5.00\r\n"));
    EXPECT_TRUE(Result().ends_with(L"\r\n"));
    EXPECT_NE(Result().find(L"\r\n[HKEY_CLASSES_ROOT\\Keyreap.Threads]\r\n@=\"returned\"\r\n"),
              std::wstring::npos);
    EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, L"Keyreap.Threads"));
    ExpectNextRunToSucceed();
}

// The run loses its own handles too: keys, files and what it waits for. It must end nevertheless.
TEST_P(HostileServer, ThatClosesHandlesOfOthersEndsOnlyItsOwnRun) {
    CaptureOf(L"closedhandles.dll");
    const std::wstring written = L"\r\n[HKEY_CLASSES_ROOT\\Keyreap.Handles]\r\n@=\"written\"\r\n";
    EXPECT_EQ(Result().find(written), std::wstring::npos);
    // In a redirected run its entry is in the temporary tree, whatever happens.
    EXPECT_EQ(KeyExists(HKEY_CLASSES_ROOT, L"Keyreap.Handles"), !GetParam().IsRedirected());
    // The session could not remove its tree; the next one does.
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, productKey));
    ExpectNextRunToSucceed();
}

TEST_P(HostileServer, ThatNestsKeys500DeepHasAllOfThemCapturedAndRemoved) {
    constexpr int depth = 500;
    EXPECT_EQ(CaptureOf(L"deepkeys.dll"), 0U);
    std::wstring keys;
    std::wstring path = L"HKEY_CURRENT_USER\\Software";
    for (int level = 1; level < depth; ++level) {
        keys += L"\r\n[" + path + L"]\r\n";
        path += L"\\k";
    }
    const std::wstring deepest = L"\r\n[" + path + L"]\r\n@=\"bottom\"\r\n";
    std::wstring body = RedirectedRoots();
    body.insert(body.find(L"\r\n[HKEY_USERS]"), keys + deepest);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(GetParam().IsTraced() ? deepest : body)));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, nestedKey));
    ExpectNextRunToSucceed();
}

// The entries that a file must contain for the sample `everyunit`.
std::wstring EntriesOfEveryUnit() {
    constexpr unsigned names = 256;
    constexpr wchar_t digits[] = L"0123456789abcdef";
    const std::wstring path = L"HKEY_CURRENT_USER\\Software\\KeyreapEveryUnit";
    std::wstring values;
    std::wstring keys;
    for (unsigned i = 0; i < names; ++i) {
        const std::wstring number = {digits[i / 16], digits[i % 16]};
        const std::wstring data = L"=dword:000000" + number + L"\r\n";
        std::wstring units;
        for (unsigned low = i == 0 ? 1 : 0; low < names; ++low) {
            if (const unsigned unit = i * names + low; unit != L'\\') {
                units += static_cast<wchar_t>(unit);
            }
        }
        std::wstring escaped = units + (i == 0 ? L"\\\\" : L"");
        if (i == 0) {
            escaped.insert(escaped.find(L'"'), L"\\");
        }
        values += L"\"" + number + escaped + L"\"" + data;
        constexpr std::size_t half = 128;
        keys += L"\r\n[" + path + L"\\" + number + L"a" + units.substr(0, half) + L"]\r\n@" + data;
        keys += L"\r\n[" + path + L"\\" + number + L"b" + units.substr(half) + L"]\r\n@" + data;
    }
    return L"\r\n[" + path + L"]\r\n" + values + keys;
}

TEST_P(HostileServer, WithNamesOfEveryUnitFrom1To0xFFFFHasEachOfThemCapturedAndRemoved) {
    EXPECT_EQ(CaptureOf(L"everyunit.dll"), 0U);
    std::wstring body = RedirectedRoots();
    body.insert(body.find(L"\r\n[HKEY_USERS]"),
                L"\r\n[HKEY_CURRENT_USER\\Software]\r\n" + EntriesOfEveryUnit());
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(GetParam().IsTraced() ? EntriesOfEveryUnit() : body)));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapEveryUnit"));
    ExpectNextRunToSucceed();
}

INSTANTIATE_TEST_SUITE_P(InEveryMode, HostileServer, testing::ValuesIn(ways), NameOfWay);

} // namespace

} // namespace keyreap::endtoend
