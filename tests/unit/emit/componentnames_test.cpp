#include "kit/emit/componentnames.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(IdentifierOf, HasOnlyWhatIdentifiersHave) {
    EXPECT_EQ(IdentifierOf(L"server.dll"), L"server.dll");
    EXPECT_EQ(IdentifierOf(L"my  server-2.dll"), L"my_server_2.dll");
    EXPECT_EQ(IdentifierOf(L"3d.dll"), L"_3d.dll");
    EXPECT_EQ(IdentifierOf(L".x"), L"_.x");
    EXPECT_EQ(IdentifierOf(L"\x00E9t\x00E9"), L"_t_");
}

TEST(NameComponents, ServersOfTheSameStemHaveDifferentNames) {
    InstallData data;
    data.servers = {{L"a.dll", {}, {}, {}}, {L"A.exe", {}, {}, {}}, {L"b.dll", {}, {}, {}}};
    data.components = {
        {0, false, false, {}, {}, {}}, {1, true, true, {}, {}, {}}, {2, false, false, {}, {}, {}}};
    data.bitness = 32;
    NameComponents(data, Guid());
    EXPECT_EQ(data.name, L"a_dll_x86");
    EXPECT_EQ(data.components[0].id, L"a_dll_x86");
    EXPECT_EQ(data.components[1].id, L"A_exe_x86_user_kept");
    EXPECT_EQ(data.components[2].id, L"b_x86");
    EXPECT_EQ(data.servers[1].id, L"A.exe");
}

} // namespace
} // namespace keyreap
