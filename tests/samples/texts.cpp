// Writes texts that are hard to represent: with odd ends, control characters, quotes, backslashes and halves
// of surrogate pairs, and values of the types whose written form depends on a text.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::samples {

namespace {

using namespace std::literals;

struct NamedText {
    const wchar_t* name;
    std::wstring_view units;
};

constexpr NamedText texts[] = {
    {L"", L"the default\0"sv},
    {L"backslash alone", L"\\\0"sv},
    {L"backslash at the end", L"C:\\folder\\\0"sv},
    {L"backslash first and again", L"\\foo\\bar\0"sv},
    {L"backslash first only", L"\\foo\0"sv},
    {L"backslashes, two", L"\\\\\0"sv},
    {L"control characters", L"\x01\t\x1b\x7f\0"sv},
    {L"CR", L"a\rb\0"sv},
    {L"CR LF", L"a\r\nb\r\n\0"sv},
    {L"LF", L"a\nb\0"sv},
    {L"NUL alone", L"\0"sv},
    {L"NUL inside", L"seen\0unseen\0"sv},
    {L"quote alone", L"\"\0"sv},
    {L"quote first and again", L"\"quoted\"\0"sv},
    {L"quote first only", L"\"quoted\0"sv},
    {L"quote in the middle", L"a\"b\0"sv},
    {L"quoted path", L"\"C:\\a b\\c.exe\" /x\0"sv},
    {L"surrogate halves, both wrong", L"\xDE00\xD83D\0"sv},
    {L"surrogate, high half", L"a\xD83D\0"sv},
    {L"surrogate, low half", L"\xDE00z\0"sv},
    {L"surrogate pair", L"\xD83D\xDE00\0"sv},
    {L"terminated twice", L"a\0\0"sv},
    {L"unicode", L"Gr\u00fc\u00dfe \u65e5\u672c\uFFFE\uFEFF\0"sv},
    {L"unterminated", L"open end"sv},
    {L"variable", L"%SystemRoot%\\x\0"sv},
};

constexpr NamedText lists[] = {
    {L"", L"the\0default\0\0"sv},
    {L"empty", L"\0"sv},
    {L"empty, twice terminated", L"\0\0"sv},
    {L"empty text first", L"\0a\0\0"sv},
    {L"empty text inside", L"a\0\0b\0\0"sv},
    {L"line breaks inside", L"a\r\nb\0c\nd\0e\rf\0\0"sv},
    {L"one", L"one\0\0"sv},
    {L"three", L"one\0two\0three\0\0"sv},
    {L"unterminated", L"a\0b"sv},
    {L"unterminated list", L"a\0b\0"sv},
};

template <std::size_t Count>
void WriteUnits(HKEY parent, std::wstring_view path, DWORD type, const NamedText (&table)[Count]) {
    const KeyWriter key(parent, path);
    for (const NamedText& entry : table) {
        key.SetUnits(entry.name, type, entry.units);
    }
}

void WriteNumbers(HKEY parent) {
    const KeyWriter key(parent, L"Numbers");
    key.SetDword(L"", 16);
    key.SetDword(L"largest", 0xFFFFFFFF);
    key.SetDword(L"largest signed", 0x7FFFFFFF);
    key.SetDword(L"letters", 0xABCDEF01);
    key.SetDword(L"one", 1);
    key.SetDword(L"zero", 0);
}

void WriteDefaultNumber(HKEY parent) {
    const Bytes eight = {1, 2, 3, 4, 5, 6, 7, 8};
    KeyWriter(parent, L"Borrowed\\Alone").Set(L"", REG_QWORD, eight);
}

// A REG_QWORD borrows the text of the previous value of its key. The names begin with numbers to fix the
// order.
void WriteBorrowed(HKEY parent) {
    const Bytes eight = {1, 2, 3, 4, 5, 6, 7, 8};
    const KeyWriter key(parent, L"Borrowed");
    key.Set(L"00 first", REG_QWORD, eight);
    key.SetDword(L"01", 16);
    key.Set(L"02 behind a number", REG_QWORD, eight);
    key.Set(L"03 behind another", REG_QWORD, eight);
    key.SetText(L"04", L"C:\\x");
    key.Set(L"05 behind a text", REG_QWORD, eight);
    key.SetUnits(L"06", REG_EXPAND_SZ, L"%odd%\0"sv);
    key.Set(L"07 behind an expand text", REG_QWORD, eight);
    key.SetUnits(L"08", REG_MULTI_SZ, L"a\0b\0\0"sv);
    key.Set(L"09 behind a list", REG_QWORD, eight);
    key.Set(L"10", REG_BINARY, {0xDE, 0xAD});
    key.Set(L"11 behind bytes", REG_QWORD, eight);
    key.Set(L"12", REG_NONE, {0xBE});
    key.Set(L"13 behind a type that leaves the text", REG_QWORD, eight);
    key.Set(L"14", REG_NONE, {});
    key.Set(L"15 behind an empty value", REG_QWORD, eight);
    key.SetText(L"16", std::wstring(60, L'x'));
    key.Set(L"17 behind a long text", REG_QWORD, eight);
    key.Set(L"18 empty itself", REG_QWORD, {});
    key.SetText(L"19", L"last of the parent");
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    using namespace keyreap::samples;
    const KeyWriter key(HKEY_CLASSES_ROOT, L"Keyreap.Texts");
    WriteUnits(key.Handle(), L"Text", REG_SZ, texts);
    WriteUnits(key.Handle(), L"Expand", REG_EXPAND_SZ, texts);
    WriteUnits(key.Handle(), L"List", REG_MULTI_SZ, lists);
    WriteNumbers(key.Handle());
    WriteBorrowed(key.Handle());
    WriteDefaultNumber(key.Handle());
    return S_OK;
}
