#include "kit/capture/libraryentries.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

RegObject ObjectOf(ObjectKind kind, std::wstring_view id) {
    RegObject object;
    object.identity.kind = kind;
    object.id = id;
    return object;
}

TEST(LibraryThatWrites, AValueAloneOrAKeyWithWhatIsBelow) {
    constexpr std::wstring_view cryptography = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Cryptography";
    EXPECT_EQ(LibraryThatWrites(cryptography, L"machineguid"), L"the library of cryptography writes");
    EXPECT_EQ(LibraryThatWrites(cryptography, L"other"), L"");
    EXPECT_EQ(LibraryThatWrites(L"HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\x", L"y"), L"Wine writes");
    EXPECT_EQ(LibraryThatWrites(L"HKEY_CURRENT_USER\\Software\\Wine\\Fontsx", L"y"), L"");
    EXPECT_EQ(LibraryThatWrites(L"HKEY_CLASSES_ROOT\\Wine\\Fonts", L"y"), L"") << "not below Software";
}

TEST(LibraryThatWrites, ObjectsOfTheRunTimeLibraryOfVisualBasic) {
    constexpr std::wstring_view library = L"{ea544a21-C82D-11D1-A3E4-00A0C90AEA82}";
    EXPECT_NE(LibraryThatWrites(ObjectOf(ObjectKind::TypeLib, library)), L"");
    EXPECT_EQ(LibraryThatWrites(ObjectOf(ObjectKind::Class, library)), L"");
    RegObject proxied = ObjectOf(ObjectKind::Interface, L"{B29A312E-EB83-43BC-A846-E0C0563B8877}");
    proxied.facts = InterfaceFacts();
    EXPECT_EQ(LibraryThatWrites(proxied), L"");
    std::get<InterfaceFacts>(proxied.facts).typeLib = library;
    EXPECT_NE(LibraryThatWrites(proxied), L"");
}

} // namespace
} // namespace keyreap
