// Compares what the import of a result creates with what the target writes when it registers itself.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/workbench.h"

#include <cstring>
#include <optional>

namespace keyreap::endtoend {

namespace {

struct Place {
    HKEY root;
    const wchar_t* path;
};

// Every key that the samples of this file write to.
const Place places[] = {
    {HKEY_CLASSES_ROOT, L"Keyreap.EveryType"},
    {HKEY_CLASSES_ROOT, L"Keyreap.Texts"},
    {HKEY_CLASSES_ROOT, L"Keyreap.Names"},
    {HKEY_CLASSES_ROOT, L"Keyreap.Keys"},
    {HKEY_CURRENT_USER, L"Software\\KeyreapEveryType"},
    {HKEY_CURRENT_USER, L"Software\\Classes\\Keyreap.PerUser"},
    {HKEY_USERS, L".DEFAULT\\Software\\KeyreapEveryType"},
    {HKEY_LOCAL_MACHINE, L"Software\\KeyreapEveryType"},
};

std::wstring SystemProgram(Bitness bitness, const std::wstring& name) {
    wchar_t folder[MAX_PATH] = {};
    if (bitness == Bitness::x64) {
        GetSystemDirectoryW(folder, MAX_PATH);
    } else {
        GetSystemWow64DirectoryW(folder, MAX_PATH);
    }
    return Quoted(std::wstring(folder) + L"\\" + name);
}

std::wstring UnitsOf(const RegistryValue& value) {
    std::wstring units(value.data.size() / sizeof(wchar_t), L'\0');
    std::memcpy(units.data(), value.data.data(), units.size() * sizeof(wchar_t));
    return units;
}

RegistryValue OfUnits(DWORD type, const std::wstring& units) {
    RegistryValue value = {type, std::vector<unsigned char>(units.size() * sizeof(wchar_t))};
    std::memcpy(value.data.data(), units.data(), value.data.size());
    return value;
}

bool HasLineBreak(const std::wstring& text) {
    return text.find_first_of(L"\r\n") != std::wstring::npos;
}

// A text whose only quote or backslash is its first unit is written without an escape, so it is not read
// back.
bool IsWrittenUnescaped(const std::wstring& text) {
    return text.find_first_of(L"\\\"") == 0 && text.find_first_of(L"\\\"", 1) == std::wstring::npos;
}

// A line break becomes a terminator and a carriage return is lost.
std::wstring WithTerminatorsForLineBreaks(const std::wstring& text) {
    std::wstring result;
    for (const wchar_t unit : text) {
        if (unit != L'\r') {
            result += unit == L'\n' ? L'\0' : unit;
        }
    }
    return result;
}

std::optional<RegistryValue> CarriedText(const RegistryValue& value) {
    const std::wstring text = UnitsOf(value).c_str();
    if (HasLineBreak(text) || IsWrittenUnescaped(text)) {
        return std::nullopt;
    }
    return OfUnits(REG_SZ, text + L'\0');
}

// An empty text is written in a malformed way.
std::optional<RegistryValue> CarriedExpandText(const RegistryValue& value) {
    const std::wstring text = WithTerminatorsForLineBreaks(UnitsOf(value).c_str());
    return text.empty() ? std::nullopt : std::optional(OfUnits(REG_EXPAND_SZ, text + L'\0'));
}

std::optional<RegistryValue> CarriedList(const RegistryValue& value) {
    std::wstring units = UnitsOf(value);
    if (units.ends_with(L'\0')) {
        units.pop_back();
    }
    const std::wstring list = WithTerminatorsForLineBreaks(units);
    return list.empty() ? std::nullopt : std::optional(OfUnits(REG_MULTI_SZ, list + L'\0'));
}

RegistryValue CarriedNumber(RegistryValue value) {
    value.data.resize(sizeof(DWORD));
    return value;
}

// A value after its way through the file; nothing if the format can't carry it at all.
std::optional<RegistryValue> Carried(const std::wstring& name, const RegistryValue& value) {
    if (HasLineBreak(name) || IsWrittenUnescaped(name)) {
        return std::nullopt;
    }
    // REG_QWORD is lost like the types without a form of their own, since it is written with another value's
    // text.
    switch (value.type) {
    case REG_SZ:
        return CarriedText(value);
    case REG_EXPAND_SZ:
        return CarriedExpandText(value);
    case REG_BINARY:
        return value;
    case REG_DWORD:
        return CarriedNumber(value);
    case REG_MULTI_SZ:
        return CarriedList(value);
    default:
        return std::nullopt;
    }
}

// The reading of a key ends at the first name of more than 260 characters.
RegistryValues Carried(const RegistryValues& values) {
    constexpr std::size_t longestName = 260;
    RegistryValues carried;
    for (const auto& [name, value] : values) {
        if (name.size() > longestName) {
            break;
        }
        if (const std::optional<RegistryValue> kept = Carried(name, value)) {
            carried[name] = *kept;
        }
    }
    return carried;
}

// The name that an import creates: it takes an unescaped first unit for the beginning of an escape.
std::wstring Mangled(const std::wstring& name) {
    return IsWrittenUnescaped(name) ? name.substr(1) : name;
}

// The imported values without those that the format can't carry, which are missing or mangled.
RegistryValues Comparable(const RegistryValues& imported, const RegistryValues& registered) {
    RegistryValues comparable = imported;
    for (const auto& [name, value] : registered) {
        if (!Carried(name, value)) {
            comparable.erase(name);
            comparable.erase(Mangled(name));
        }
    }
    return comparable;
}

using Registry = std::vector<RegistryTree>;

Registry ReadPlaces() {
    Registry trees;
    for (const Place& place : places) {
        trees.push_back(ReadTree(place.root, place.path));
    }
    return trees;
}

void ClearPlaces() {
    for (const Place& place : places) {
        DeleteTree(place.root, place.path);
    }
}

class Import : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    Import() { ClearPlaces(); }
    ~Import() override { ClearPlaces(); }

    // The live registry after the sample registered itself.
    Registry Registered(const std::wstring& sample) const {
        EXPECT_EQ(RunLine(SystemProgram(GetParam(), L"regsvr32.exe") + L" /s " + Quoted(sample)), 0U);
        const Registry registered = ReadPlaces();
        ClearPlaces();
        return registered;
    }
    // The live registry after an import of the sample's capture.
    Registry Imported(const std::wstring& sample) const {
        EXPECT_EQ(Capture(GetParam(), sample, Work(L"out.reg")), 0U);
        RunLine(SystemProgram(GetParam(), L"reg.exe") + L" import " + Quoted(Work(L"out.reg")));
        const Registry imported = ReadPlaces();
        ClearPlaces();
        return imported;
    }
};

void ExpectCarried(const RegistryTree& registered, const RegistryTree& imported) {
    for (const auto& [path, values] : registered) {
        ASSERT_TRUE(imported.contains(path)) << path;
        EXPECT_EQ(Comparable(imported.at(path), values), Carried(values)) << path;
    }
    EXPECT_EQ(imported.size(), registered.size());
}

TEST_P(Import, CreatesTheKeysAndValuesOfTheTargetAsFarAsTheFormatCanCarryThem) {
    for (const wchar_t* name : {L"everytype.dll", L"texts.dll", L"names.dll", L"keys.dll", L"peruser.dll"}) {
        const std::wstring sample = Sample(GetParam(), name);
        const Registry registered = Registered(sample);
        const Registry imported = Imported(sample);
        for (std::size_t i = 0; i < std::size(places); ++i) {
            SCOPED_TRACE(testing::Message() << name << " in " << places[i].path);
            ExpectCarried(registered[i], imported[i]);
        }
    }
}

TEST_P(Import, OfAWholeServerLetsAClientCreateAndCallIt) {
    const std::wstring server = Sample(GetParam(), L"calculator.dll");
    const std::wstring client = Quoted(Sample(GetParam(), L"calculatorclient.exe"));
    EXPECT_EQ(RunLine(client), 0xFFFFFFFFU);
    EXPECT_EQ(Capture(GetParam(), server, Work(L"out.reg")), 0U);
    EXPECT_EQ(RunLine(client), 0xFFFFFFFFU);
    EXPECT_EQ(RunLine(SystemProgram(GetParam(), L"reg.exe") + L" import " + Quoted(Work(L"out.reg"))), 0U);
    EXPECT_EQ(RunLine(client), 5U);
    EXPECT_EQ(RunLine(SystemProgram(GetParam(), L"regsvr32.exe") + L" /s /u " + Quoted(server)), 0U);
    EXPECT_EQ(RunLine(client), 0xFFFFFFFFU);
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, Import, testing::ValuesIn(bothBuilds), NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
