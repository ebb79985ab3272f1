#include "registry/importslot.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr UINT anotherCodePage = 12345;

UINT WINAPI AnotherCodePage() {
    return anotherCodePage;
}

FARPROC AddressOfAnother() {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&AnotherCodePage));
}

TEST(ImportSlot, HoldsTheAddressOfTheFunction) {
    const HMODULE api = GetModuleHandleW(L"kernelbase.dll");
    FARPROC* const slot = FindImportSlot(api, "ntdll.dll", "NtOpenKeyEx");
    ASSERT_NE(slot, nullptr);
    EXPECT_EQ(*slot, GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtOpenKeyEx"));
}

TEST(ImportSlot, IsFoundByTheNameOfTheDllInAnyCase) {
    const HMODULE api = GetModuleHandleW(L"kernelbase.dll");
    EXPECT_EQ(FindImportSlot(api, "NTDLL.DLL", "NtOpenKeyEx"),
              FindImportSlot(api, "ntdll.dll", "NtOpenKeyEx"));
}

TEST(ImportSlot, IsNullForAFunctionThatIsNotImported) {
    const HMODULE api = GetModuleHandleW(L"kernelbase.dll");
    EXPECT_EQ(FindImportSlot(api, "ntdll.dll", "NtOpenKeyE"), nullptr);
    EXPECT_EQ(FindImportSlot(api, "ntdll.dll", "ntopenkeyex"), nullptr);
    EXPECT_EQ(FindImportSlot(api, "user32.dll", "NtOpenKeyEx"), nullptr);
    EXPECT_EQ(FindImportSlot(GetModuleHandleW(L"ntdll.dll"), "kernel32.dll", "GetOEMCP"), nullptr);
}

TEST(ImportSlot, LeadsCallsElsewhereUntilItIsWrittenBack) {
    const UINT before = GetOEMCP();
    FARPROC* const slot = FindImportSlot(GetModuleHandleW(nullptr), "kernel32.dll", "GetOEMCP");
    ASSERT_NE(slot, nullptr);
    const FARPROC original = *slot;
    EXPECT_TRUE(WriteImportSlot(slot, AddressOfAnother()));
    EXPECT_EQ(GetOEMCP(), anotherCodePage);
    EXPECT_TRUE(WriteImportSlot(slot, original));
    EXPECT_EQ(GetOEMCP(), before);
}

TEST(ImportSlot, HasTheProtectionOfItsPageAfterwards) {
    FARPROC* const slot = FindImportSlot(GetModuleHandleW(nullptr), "kernel32.dll", "GetOEMCP");
    ASSERT_NE(slot, nullptr);
    MEMORY_BASIC_INFORMATION before{};
    MEMORY_BASIC_INFORMATION after{};
    VirtualQuery(slot, &before, sizeof(before));
    EXPECT_TRUE(WriteImportSlot(slot, *slot));
    VirtualQuery(slot, &after, sizeof(after));
    EXPECT_EQ(after.Protect, before.Protect);
}

TEST(ImportSlot, CannotBeWrittenWhereThereIsNoMemory) {
    EXPECT_FALSE(WriteImportSlot(nullptr, AddressOfAnother()));
}

} // namespace
} // namespace keyreap
