#include "hostlogger/reportednames.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::wstring users = L"\\REGISTRY\\User";
const std::wstring user = users + L"\\S-1-5-21-0-0-0-1000";
const std::wstring software = L"\\REGISTRY\\Machine\\Software";

ReportedNames NamesForUser(const wchar_t* sid) {
    Strictness strictness;
    strictness.user = sid;
    return {strictness, user};
}

ReportedNames NamesInCapitals() {
    Strictness strictness;
    strictness.capitals = true;
    return {strictness, std::wstring()};
}

TEST(ReportedNames, AreByDefaultAsTheyAre) {
    const ReportedNames names;
    for (const std::wstring& path : {user + L"\\A", software + L"\\Wow6432Node", std::wstring()}) {
        EXPECT_EQ(names.KernelName(path), path);
        EXPECT_EQ(names.AskedName(path), path);
        EXPECT_EQ(names.AskedName(path, L"A"), L"A");
    }
}

TEST(ReportedNames, EveryNodeOfTheMachineIsInCapitals) {
    const ReportedNames names = NamesInCapitals();
    EXPECT_EQ(names.KernelName(software + L"\\Wow6432Node"), software + L"\\WOW6432Node");
    EXPECT_EQ(names.KernelName(software + L"\\Classes\\wow6432node\\CLSID"),
              software + L"\\Classes\\WOW6432Node\\CLSID");
    EXPECT_EQ(names.KernelName(software + L"\\Wow6432Node\\A\\Wow6432Node\\B"),
              software + L"\\WOW6432Node\\A\\WOW6432Node\\B");
}

TEST(ReportedNames, OnlyWholeComponentsAreNodes) {
    const ReportedNames names = NamesInCapitals();
    for (const std::wstring& path :
         {software + L"\\Wow6432NodeA", software + L"\\AWow6432Node\\B", software}) {
        EXPECT_EQ(names.KernelName(path), path);
    }
}

TEST(ReportedNames, ANodeOfAUserAndANameAsAskedForKeepTheirSpelling) {
    const ReportedNames names = NamesInCapitals();
    EXPECT_EQ(names.KernelName(user + L"\\Software\\Wow6432Node"), user + L"\\Software\\Wow6432Node");
    EXPECT_EQ(names.AskedName(software + L"\\Wow6432Node"), software + L"\\Wow6432Node");
    EXPECT_EQ(names.AskedName(software, L"Wow6432Node"), L"Wow6432Node");
}

TEST(ReportedNames, TheUsersHiveHasTheSid) {
    const ReportedNames names = NamesForUser(L"S-1-12-1-7");
    EXPECT_EQ(names.KernelName(user + L"\\Software\\A"), L"\\REGISTRY\\USER\\S-1-12-1-7\\Software\\A");
    EXPECT_EQ(names.KernelName(user), L"\\REGISTRY\\USER\\S-1-12-1-7");
    EXPECT_EQ(names.AskedName(L"\\registry\\user\\s-1-5-21-0-0-0-1000\\B"),
              L"\\REGISTRY\\USER\\S-1-12-1-7\\B");
}

TEST(ReportedNames, TheHiveOfTheUsersClassesHasTheSid) {
    EXPECT_EQ(NamesForUser(L"S-1-5-93-2-1").KernelName(user + L"_Classes\\CLSID"),
              L"\\REGISTRY\\USER\\S-1-5-93-2-1_Classes\\CLSID");
}

TEST(ReportedNames, TheSystemsAccountHasTheHiveOfTheDefaultUser) {
    const ReportedNames names = NamesForUser(L"S-1-5-18");
    EXPECT_EQ(names.KernelName(user + L"\\Software"), L"\\REGISTRY\\USER\\.DEFAULT\\Software");
    EXPECT_EQ(names.KernelName(user + L"_Classes\\A"), L"\\REGISTRY\\USER\\.DEFAULT\\Software\\Classes\\A");
}

TEST(ReportedNames, OtherKeysDoNotHaveTheSid) {
    const ReportedNames names = NamesForUser(L"S-1-12-1-7");
    for (const std::wstring& path : {users, user + L"1\\Software", users + L"\\.Default\\A", software}) {
        EXPECT_EQ(names.KernelName(path), path);
    }
}

TEST(ReportedNames, ANameRelativeToAllUsersHasTheSid) {
    const ReportedNames names = NamesForUser(L"S-1-12-1-7");
    EXPECT_EQ(names.AskedName(users, L"S-1-5-21-0-0-0-1000\\A"), L"S-1-12-1-7\\A");
    EXPECT_EQ(names.AskedName(users, L".Default"), L".Default");
    EXPECT_EQ(names.AskedName(user, L"S-1-5-21-0-0-0-1000"), L"S-1-5-21-0-0-0-1000");
    EXPECT_EQ(names.AskedName(user + L"_Classes", L"CLSID"), L"CLSID");
}

} // namespace
} // namespace keyreap
