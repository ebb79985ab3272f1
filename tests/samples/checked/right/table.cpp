// Registers several classes with a table of entries, in which placeholders are replaced, as scripts of
// registrars do.
#include "tests/samples/checked/support.h"

#include <windows.h>

#include <olectl.h>

#include <utility>

namespace keyreap::checked {

namespace {

constexpr ServedClass classes[] = {
    {{0x0f497508, 0x0e52, 0x4f2e, {0x91, 0xf6, 0x01, 0xb7, 0xef, 0x6a, 0xef, 0x0b}},
     L"Checked: Reader",
     L"KeyreapChecked.Reader",
     L"Both",
     MakePlainObject},
    {{0xfe610c05, 0xb2bf, 0x4c63, {0xb6, 0x62, 0xad, 0x72, 0x7c, 0xf4, 0xd9, 0x9a}},
     L"Checked: Writer",
     L"KeyreapChecked.Writer",
     L"Apartment",
     MakePlainObject},
    {{0x61967075, 0x437c, 0x4730, {0xb7, 0x65, 0x39, 0xda, 0x0f, 0x88, 0xa5, 0xbe}},
     L"Checked: Catalogue",
     L"KeyreapChecked.Catalogue",
     L"Free",
     MakePlainObject},
};

struct Line {
    const wchar_t* key;
    const wchar_t* name;
    const wchar_t* text;
};

// For each class. A line without a text is a key without values.
constexpr Line script[] = {
    {L"$PROGID$.1", nullptr, L"$NAME$"},
    {L"$PROGID$.1\\CLSID", nullptr, L"$CLSID$"},
    {L"$PROGID$", nullptr, L"$NAME$"},
    {L"$PROGID$\\CLSID", nullptr, L"$CLSID$"},
    {L"$PROGID$\\CurVer", nullptr, L"$PROGID$.1"},
    {L"CLSID\\$CLSID$", nullptr, L"$NAME$"},
    {L"CLSID\\$CLSID$\\ProgID", nullptr, L"$PROGID$.1"},
    {L"CLSID\\$CLSID$\\VersionIndependentProgID", nullptr, L"$PROGID$"},
    {L"CLSID\\$CLSID$\\Programmable", nullptr, nullptr},
    {L"CLSID\\$CLSID$\\Version", nullptr, L"1.0"},
    {L"CLSID\\$CLSID$\\InprocServer32", nullptr, L"$MODULE$"},
    {L"CLSID\\$CLSID$\\InprocServer32", L"ThreadingModel", L"$MODEL$"},
};

constexpr const wchar_t* removals[] = {L"$PROGID$.1", L"$PROGID$", L"CLSID\\$CLSID$"};

std::wstring Replaced(std::wstring text, const ServedClass& served) {
    const std::pair<std::wstring, std::wstring> replacements[] = {
        {L"$PROGID$", served.progId},        {L"$CLSID$", TextOf(served.id)}, {L"$NAME$", served.name},
        {L"$MODEL$", served.threadingModel}, {L"$MODULE$", ModulePath()},
    };
    for (const auto& [placeholder, replacement] : replacements) {
        if (const std::size_t at = text.find(placeholder); at != std::wstring::npos) {
            text.replace(at, placeholder.size(), replacement);
        }
    }
    return text;
}

void Apply(Entries& entries, const Line& line, const ServedClass& served) {
    const std::wstring key = Replaced(line.key, served);
    if (line.text == nullptr) {
        entries.CreateKey(key);
    } else {
        entries.SetText(key, line.name, Replaced(line.text, served));
    }
}

} // namespace

std::span<const ServedClass> ServedClasses() {
    return classes;
}

} // namespace keyreap::checked

STDAPI DllRegisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    for (const ServedClass& served : classes) {
        for (const Line& line : script) {
            Apply(entries, line, served);
        }
    }
    return entries.Result();
}

STDAPI DllUnregisterServer() {
    using namespace keyreap::checked;
    Entries entries(HKEY_CLASSES_ROOT);
    for (const ServedClass& served : classes) {
        for (const wchar_t* key : removals) {
            entries.RemoveTree(Replaced(key, served));
        }
    }
    return entries.Result();
}
