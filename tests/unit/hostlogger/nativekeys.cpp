#include "tests/unit/hostlogger/nativekeys.h"

#include <winternl.h>

#include <gtest/gtest.h>

#include <array>
#include <utility>

extern "C" {
NTSTATUS NTAPI NtOpenKey(HANDLE* key, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes);
NTSTATUS NTAPI NtCreateKey(HANDLE* key, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes, ULONG titleIndex,
                           UNICODE_STRING* className, ULONG options, ULONG* disposition);
NTSTATUS NTAPI NtQueryKey(HANDLE key, int informationClass, void* information, ULONG length, ULONG* needed);
NTSTATUS NTAPI NtEnumerateKey(HANDLE key, ULONG index, int informationClass, void* information, ULONG length,
                              ULONG* needed);
NTSTATUS NTAPI NtSetValueKey(HANDLE key, UNICODE_STRING* name, ULONG titleIndex, ULONG type, void* data,
                             ULONG size);
NTSTATUS NTAPI NtDeleteKey(HANDLE key);
}

namespace keyreap {

namespace {

constexpr int keyBasicInformation = 0; // KEY_INFORMATION_CLASS, wdm.h
constexpr int keyNameInformation = 3;

struct BasicInformation {
    LARGE_INTEGER lastWriteTime;
    ULONG titleIndex;
    ULONG nameLength;
    std::array<wchar_t, 512> name;
};

struct NameInformation {
    ULONG nameLength;
    std::array<wchar_t, 4096> name;
};

// An OBJECT_ATTRIBUTES and the name that it points to.
struct NamedAttributes {
    NamedAttributes(HANDLE parent, std::wstring& text, ULONG flags)
        : name{static_cast<USHORT>(text.size() * sizeof(wchar_t)),
               static_cast<USHORT>(text.size() * sizeof(wchar_t)), text.data()} {
        attributes.Length = sizeof(attributes);
        attributes.RootDirectory = parent;
        attributes.ObjectName = &name;
        attributes.Attributes = OBJ_CASE_INSENSITIVE | flags;
    }

    UNICODE_STRING name;
    OBJECT_ATTRIBUTES attributes{};
};

} // namespace

NativeTestKey NativeTestKey::Open(HANDLE parent, std::wstring name, ACCESS_MASK access, ULONG attributes) {
    NativeTestKey key;
    NamedAttributes asked(parent, name, attributes);
    key.existed = NtOpenKey(&key.handle, access, &asked.attributes) == 0;
    return key;
}

NativeTestKey NativeTestKey::Create(HANDLE parent, std::wstring name, ACCESS_MASK access, ULONG options) {
    NativeTestKey key;
    NamedAttributes asked(parent, name, 0);
    ULONG disposition = 0;
    NtCreateKey(&key.handle, access, &asked.attributes, 0, nullptr, options, &disposition);
    key.existed = disposition == REG_OPENED_EXISTING_KEY;
    return key;
}

NativeTestKey::NativeTestKey(NativeTestKey&& other) noexcept
    : handle(std::exchange(other.handle, nullptr)), existed(other.existed) {}

NativeTestKey& NativeTestKey::operator=(NativeTestKey&& other) noexcept {
    std::swap(handle, other.handle);
    existed = other.existed;
    return *this;
}

NativeTestKey::~NativeTestKey() {
    if (handle) {
        NtClose(handle);
    }
}

std::wstring NativeTestKey::RealPath() const {
    NameInformation information{};
    ULONG needed = 0;
    EXPECT_EQ(NtQueryKey(handle, keyNameInformation, &information, sizeof(information), &needed), 0);
    return std::wstring(information.name.data(), information.nameLength / sizeof(wchar_t));
}

std::vector<std::wstring> NativeTestKey::Subkeys(unsigned most) const {
    std::vector<std::wstring> names;
    BasicInformation information{};
    ULONG needed = 0;
    while (names.size() < most &&
           NtEnumerateKey(handle, static_cast<ULONG>(names.size()), keyBasicInformation, &information,
                          sizeof(information), &needed) == 0) {
        names.emplace_back(information.name.data(), information.nameLength / sizeof(wchar_t));
    }
    return names;
}

void NativeTestKey::SetLinkTarget(const std::wstring& target) const {
    std::wstring valueName = L"SymbolicLinkValue";
    std::wstring data = target;
    const NamedAttributes named(nullptr, valueName, 0);
    UNICODE_STRING name = named.name;
    EXPECT_EQ(NtSetValueKey(handle, &name, 0, REG_LINK, data.data(),
                            static_cast<ULONG>(data.size() * sizeof(wchar_t))),
              0);
}

void NativeTestKey::Delete() const {
    EXPECT_EQ(NtDeleteKey(handle), 0);
}

} // namespace keyreap
