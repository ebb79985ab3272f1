// Writes every registry type into all four roots, with data of many sizes.
#include "tests/samples/support/keywriter.h"

#include <windows.h>

#include <olectl.h>

namespace keyreap::samples {

namespace {

constexpr DWORD types[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0x12345};
// 520 bytes are the size of the buffer for a first reading.
constexpr std::size_t sizes[] = {0, 1, 2, 3, 4, 5, 25, 26, 50, 51, 518, 519, 520, 521, 522, 2000};
constexpr std::size_t largeSize = 100'000;

struct Root {
    HKEY handle;
    const wchar_t* path;
    bool withLargeValues;
};

const Root roots[] = {
    {HKEY_LOCAL_MACHINE, L"Software\\KeyreapEveryType", true},
    {HKEY_USERS, L".DEFAULT\\Software\\KeyreapEveryType", false},
    {HKEY_CURRENT_USER, L"Software\\KeyreapEveryType", false},
    {HKEY_CLASSES_ROOT, L"Keyreap.EveryType", false},
};

// `number` in hexadecimal or decimal digits with leading zeros, so that names sort like numbers.
std::wstring Digits(std::size_t number, unsigned base, std::size_t width) {
    std::wstring text(width, L'0');
    for (std::size_t i = width; i-- > 0; number /= base) {
        text[i] = L"0123456789abcdef"[number % base];
    }
    return text;
}

bool IsText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// Text types have letters, with a NUL as every fifth unit of a REG_MULTI_SZ, and no terminator: the data may
// even end in the middle of a unit. Other types have a sequence of different bytes.
BYTE DataByte(DWORD type, std::size_t index) {
    if (!IsText(type)) {
        return static_cast<BYTE>(index * 7 + 3);
    }
    const std::size_t unit = index / 2;
    const bool separator = type == REG_MULTI_SZ && unit % 5 == 4;
    return static_cast<BYTE>(index % 2 == 1 || separator ? 0 : 'a' + unit % 26);
}

Bytes DataOf(DWORD type, std::size_t size) {
    Bytes data(size);
    for (std::size_t i = 0; i < size; ++i) {
        data[i] = DataByte(type, i);
    }
    return data;
}

// The same eight bytes for each type, in one key, so that a type that borrows the text of the previous value
// can be recognised.
void WriteTypes(HKEY parent) {
    const KeyWriter key(parent, L"Types");
    for (const DWORD type : types) {
        key.Set(Digits(type, 16, 5), type, {'a', 0, 'b', 0, 0, 0, 0, 0});
    }
}

void WriteSizes(HKEY parent, DWORD type, bool withLargeValue) {
    const KeyWriter key(parent, L"Sizes\\" + Digits(type, 16, 5));
    for (const std::size_t size : sizes) {
        key.Set(Digits(size, 10, 6), type, DataOf(type, size));
    }
    if (withLargeValue) {
        key.Set(Digits(largeSize, 10, 6), type, DataOf(type, largeSize));
    }
}

void WriteRoot(const Root& root) {
    const KeyWriter key(root.handle, root.path);
    key.SetText(L"", L"every type");
    WriteTypes(key.Handle());
    for (const DWORD type : types) {
        WriteSizes(key.Handle(), type, root.withLargeValues);
    }
}

} // namespace

} // namespace keyreap::samples

STDAPI DllRegisterServer() {
    for (const keyreap::samples::Root& root : keyreap::samples::roots) {
        keyreap::samples::WriteRoot(root);
    }
    return S_OK;
}
