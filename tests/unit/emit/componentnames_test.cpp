#include "kit/emit/componentnames.h"
#include "platform/core/text/compare.h"

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

TEST(NameComponents, IdentifiersEndAtSeventyTwoCharacters) {
    const std::wstring letters(80, L'a');
    InstallData data;
    data.servers = {{letters + L"b.dll", {}, {}, {}}, {letters + L"c.dll", {}, {}, {}}};
    data.components = {{0, true, true, {}, {}, {}}, {1, true, true, {}, {}, {}}};
    NameComponents(data, Guid());
    EXPECT_EQ(data.servers[0].id.size(), 72U);
    EXPECT_EQ(data.components[0].id.size(), 72U);
    EXPECT_NE(data.servers[0].id, data.servers[1].id);
    EXPECT_NE(data.components[0].id, data.components[1].id);
    EXPECT_TRUE(data.components[0].id.ends_with(L"_x64_user_kept"));
}

TEST(NameComponents, FilesThatDifferInSignsAloneHaveDifferentNames) {
    InstallData data;
    data.servers = {{L"x-y.dll", {}, {}, {}}, {L"X+Y.dll", {}, {}, {}}, {L"z.dll", {}, {}, {}}};
    data.components = {
        {0, false, false, {}, {}, {}}, {1, false, false, {}, {}, {}}, {2, false, false, {}, {}, {}}};
    NameComponents(data, Guid());
    EXPECT_TRUE(data.servers[0].id.starts_with(L"x_y.dll_"));
    EXPECT_TRUE(data.components[1].id.starts_with(L"X_Y_"));
    EXPECT_NE(FoldedText(data.servers[0].id), FoldedText(data.servers[1].id));
    EXPECT_NE(FoldedText(data.components[0].id), FoldedText(data.components[1].id));
    EXPECT_EQ(data.servers[2].id, L"z.dll");
    EXPECT_EQ(data.components[2].id, L"z_x64");
}

} // namespace
} // namespace keyreap
