// Runs at a host that is described with one more switch, KEYREAP_HOST=strict,<switch>: tests/strict starts a
// session for each of these tests, and shows that it fails without its switch.
#include "tests/endtoend/harness/settings.h"
#include "tests/endtoend/harness/stricthost.h"
#include "tests/endtoend/killedrun.h"

#include <algorithm>

namespace keyreap::endtoend {

namespace {

constexpr wchar_t plainKey[] = L"Keyreap.Plain";

// What is in a file for a value that can't be read back.
const std::wstring filler(10, L'\x5555');

// The word after this one in the description of the host, such as 1450 for `status `; empty without it.
std::wstring DescribedAs(const std::wstring& word) {
    const std::wstring& host = TestSettings().host;
    const std::size_t at = host.find(L"," + word);
    return at == std::wstring::npos ? std::wstring() : host.substr(at + 1 + word.size());
}

class Host : public KilledRun {
protected:
    ~Host() override { DeleteTree(HKEY_CLASSES_ROOT, plainKey); }

    DWORD Capture(Bitness build, const std::wstring& sample, const wchar_t* mode) const {
        return CaptureOf({build, mode}, sample, L"out.reg");
    }
    testing::AssertionResult Gives(const std::wstring& body) const {
        return Holds(Work(L"out.reg"), Document(body));
    }
};

class HostWithAnotherAccount : public Host {
protected:
    HostWithAnotherAccount() { CreateKey(HKEY_CURRENT_USER, productKey); }

    // The redirected result has the names of the temporary tree, since no rule of names knows the account.
    void ExpectNamesOfTheTree(const std::wstring& key, const std::wstring& text) const {
        for (const Bitness build : bothBuilds) {
            EXPECT_EQ(Capture(build, L"plain.dll", L"both"), 0U);
            EXPECT_TRUE(Gives(L"\r\n[" + key + L"\\" + temporaryKey + L"\\HKCR\\Keyreap.Plain]\r\n@=\"" +
                              text + L"\"\r\n"));
            EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, plainKey));
            EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
        }
    }
    // What a server writes for its user is under a name that doesn't exist, so it isn't removed.
    void ExpectEntriesOfTheUserToStay(const std::wstring& key) const {
        const std::wstring classes = L"Software\\Classes\\";
        EXPECT_EQ(Capture(Bitness::x64, L"peruser.dll", L"trace"), 0U);
        EXPECT_NE(
            ReadUnits(Work(L"out.reg"))
                .find(L"\r\n[" + key + L"\\Software\\Classes\\Keyreap.PerUser]\r\n@=\"" + filler + L"\"\r\n"),
            std::wstring::npos);
        EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, classes + L"Keyreap.PerUser"));
        DeleteTree(HKEY_CURRENT_USER, classes + L"Keyreap.PerUser");
        DeleteTree(HKEY_CURRENT_USER, classes + L"CLSID\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D01}");
    }
    void ExpectTheUsualResultByRedirection() const {
        for (const Bitness build : bothBuilds) {
            EXPECT_EQ(Capture(build, L"plain.dll", L"keyRedir"), 0U);
            EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg")));
        }
    }
};

TEST_F(HostWithAnotherAccount, OfNoDomainFilesItsHiveAsAKeyOfTheMachine) {
    const std::wstring key = L"HKEY_LOCAL_MACHINE\\" + DescribedAs(L"user ");
    ExpectNamesOfTheTree(key, filler);
    ExpectEntriesOfTheUserToStay(key);
    ExpectTheUsualResultByRedirection();
}

// On Windows this hive is the current user's. Here a link takes its place.
TEST_F(HostWithAnotherAccount, OfTheSystemFilesItsHiveAsThatOfTheDefaultUser) {
    LinkKey(HKEY_USERS, L".DEFAULT\\Software\\Velmoro",
            L"\\REGISTRY\\User\\S-1-5-21-0-0-0-1000\\Software\\Velmoro");
    ExpectNamesOfTheTree(L"HKEY_USERS\\.DEFAULT", L"plain");
    ExpectTheUsualResultByRedirection();
}

class HostThatRefuses : public Host {};

TEST_F(HostThatRefuses, ToTraceGivesTheHarvestByDefaultAndTheRootsInATrace) {
    for (const Bitness build : bothBuilds) {
        for (const wchar_t* mode : {L"keyRedir", L"both"}) {
            EXPECT_EQ(Capture(build, L"plain.dll", mode), 0U);
            EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("plain.reg"))) << mode;
            EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, plainKey)) << mode;
        }
        EXPECT_EQ(Capture(build, L"plain.dll", L"trace"), 0U);
        EXPECT_TRUE(Gives(UntouchedRoots()));
        EXPECT_TRUE(KeyExists(HKEY_CLASSES_ROOT, plainKey));
        DeleteTree(HKEY_CLASSES_ROOT, plainKey);
        EXPECT_EQ(TemporaryFiles(), nothing);
        EXPECT_FALSE(LoggerIsLeftRunning());
    }
}

class HostThatLosesEvents : public Host {
protected:
    // EventsLost in the header of the log that the run has in its temporary folder: after the header of the
    // buffer (72 bytes) and that of the event (32), 48 bytes into TRACE_LOGFILE_HEADER.
    std::uint32_t LostEvents() const {
        constexpr std::size_t place = 72 + 32 + 48;
        const Lines files = TemporaryFiles();
        const auto log =
            std::ranges::find_if(files, [](const std::wstring& file) { return file.starts_with(L"ETL"); });
        const Bytes bytes =
            log == files.end() ? Bytes() : ReadBytes(TemporaryFolder() + L"\\" + *log).value_or(Bytes());
        EXPECT_GT(bytes.size(), place) << "There is no log.";
        return bytes.size() > place ? bytes[place] : 0U;
    }
};

TEST_F(HostThatLosesEvents, CountsThemInTheLogAndTheResultIsMadeOfWhatIsThere) {
    const Way way = {Bitness::x64, L"trace"};
    EXPECT_EQ(CaptureOf(way, L"stopping.dll", L"undisturbed.reg"), 0U);
    stops.Reset();
    stops.Hold(L"unloading");
    RunningProgram program(Line(way, L"stopping.dll", L"out.reg"));
    stops.Await(L"unloading");
    EXPECT_EQ(std::to_wstring(LostEvents()), DescribedAs(L"lost "));
    stops.LetGo(L"unloading");
    EXPECT_EQ(program.Wait(), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), ReadBytes(Work(L"undisturbed.reg")).value_or(Bytes())));
}

} // namespace

} // namespace keyreap::endtoend
