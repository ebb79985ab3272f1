#include "kit/emit/installplace.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

std::wstring PlaceIn(std::wstring_view path, InstallScope scope) {
    const auto place = InstallPlaceOf(path, scope);
    if (const auto* const reason = std::get_if<std::wstring>(&place)) {
        return L"no: " + *reason;
    }
    const InstallPlace& found = std::get<InstallPlace>(place);
    constexpr std::wstring_view roots[] = {L"LM:", L"CU:", L"U:", L"CC:"};
    return std::wstring(roots[static_cast<int>(found.root)]) + found.path;
}

std::wstring OfMachine(std::wstring_view path) {
    return PlaceIn(path, InstallScope::Machine);
}

std::wstring OfUser(std::wstring_view path) {
    return PlaceIn(path, InstallScope::User);
}

TEST(InstallPlaceOf, TheClassesGoToTheScope) {
    EXPECT_EQ(OfMachine(L"HKEY_CLASSES_ROOT\\CLSID\\x"), L"LM:Software\\Classes\\CLSID\\x");
    EXPECT_EQ(OfUser(L"HKEY_CLASSES_ROOT\\CLSID\\x"), L"CU:Software\\Classes\\CLSID\\x");
    EXPECT_EQ(OfMachine(L"HKEY_CLASSES_ROOT"), L"LM:Software\\Classes");
    EXPECT_EQ(OfUser(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\x"), L"CU:SOFTWARE\\Classes\\x");
    EXPECT_EQ(OfUser(L"HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Classes\\x"),
              L"CU:Software\\Wow6432Node\\Classes\\x");
    EXPECT_EQ(OfMachine(L"HKEY_CURRENT_USER\\Software\\Classes\\x"), L"CU:Software\\Classes\\x");
}

TEST(InstallPlaceOf, WhatIsTheMachinesHasNoPlaceForAUser) {
    const std::wstring reason = L"no: is the machine's, and the scope is the user";
    EXPECT_EQ(OfUser(L"HKEY_LOCAL_MACHINE\\Software\\x"), reason);
    EXPECT_EQ(OfUser(L"HKEY_USERS\\.DEFAULT\\x"), reason);
    EXPECT_EQ(OfUser(L"HKEY_CURRENT_CONFIG\\x"), reason);
    EXPECT_EQ(OfUser(L"HKEY_CURRENT_USER\\Software\\x"), L"CU:Software\\x");
}

TEST(InstallPlaceOf, TheMachineHasAPlaceForAll) {
    EXPECT_EQ(OfMachine(L"HKEY_LOCAL_MACHINE\\Software\\x"), L"LM:Software\\x");
    EXPECT_EQ(OfMachine(L"HKEY_CURRENT_USER\\x"), L"CU:x");
    EXPECT_EQ(OfMachine(L"HKEY_USERS\\.DEFAULT\\x"), L"U:.DEFAULT\\x");
    EXPECT_EQ(OfMachine(L"HKEY_CURRENT_CONFIG\\x"), L"CC:x");
    EXPECT_EQ(OfMachine(L"HKEY_LOCAL_MACHINE"), L"LM:");
    EXPECT_EQ(OfMachine(L"HKEY_DYN_DATA\\x"), L"no: is in no known root");
}

} // namespace
} // namespace keyreap
