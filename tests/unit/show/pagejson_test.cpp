#include "kit/show/pagejson.h"
#include "tests/unit/show/showtest.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::CaptureOf;
using Json = nlohmann::json;

Json JsonOf(const std::vector<PageCapture>& captures, const std::vector<PageFinding>& findings = {}) {
    return Json::parse(PageJson(captures, findings));
}

const std::vector<PageCapture>& Two() {
    static const std::vector<PageCapture> captures = {
        CaptureOf({L"[HKEY_CLASSES_ROOT\\P.1]", L"@=\"Thing\"", L"[HKEY_CLASSES_ROOT\\P.1\\CLSID]",
                   L"@=\"{00000000-0000-0000-0000-000000000001}\""}),
        CaptureOf(
            {L"[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}\\ProgID]", L"@=\"P.1\""},
            L"b.reg")};
    return captures;
}

TEST(PageJsonTest, KeysHaveTheirStatesAndValues) {
    const Json json = JsonOf(Two());
    EXPECT_EQ(json["captures"], Json::parse(R"(["a.reg","b.reg"])"));
    EXPECT_EQ(json["keys"].size(), 6u);
    EXPECT_EQ(json["keys"][0],
              Json::parse(R"({"name":"HKEY_CLASSES_ROOT","parent":null,"states":[1,1],"values":[]})"));
    EXPECT_EQ(
        json["keys"][4],
        Json::parse(R"({"name":"P.1","parent":0,"states":[1,0],"values":[{"name":"","data":[0,null]}]})"));
    EXPECT_EQ(json["data"][0], Json::parse(R"({"type":"REG_SZ","texts":["Thing"],"left":0,"remark":""})"));
}

TEST(PageJsonTest, ObjectsNameOthersByTheirNumbers) {
    const Json objects = JsonOf(Two())["objects"];
    ASSERT_EQ(objects.size(), 2u);
    EXPECT_EQ(objects[0]["kind"], "class");
    EXPECT_EQ(objects[0]["texts"], Json::parse(R"([null,[["ProgID","P.1",1]]])"));
    EXPECT_EQ(objects[1], Json::parse(R"({"kind":"progId","id":"P.1","name":"Thing","scope":"","keys":[4,5],
        "texts":[[["Class","{00000000-0000-0000-0000-000000000001}",0]],null]})"));
}

TEST(PageJsonTest, AFindingHasItsPlace) {
    const std::vector<PageFinding> findings = {
        {1, L"K001", L"hkey_classes_root\\clsid", std::nullopt, L"is wrong"},
        {0, L"K002", L"HKEY_CLASSES_ROOT\\P.1", L"", L"is odd"},
        {0, L"", L"", std::nullopt, L"is empty"},
        {0, L"K003", L"HKEY_USERS\\none", L"n", L"isn't there"}};
    const Json json = JsonOf(Two(), findings)["findings"];
    ASSERT_EQ(json.size(), 4u);
    EXPECT_EQ(
        json[0],
        Json::parse(R"({"capture":1,"rule":"K001","key":1,"path":"hkey_classes_root\\clsid","value":null,
        "sentence":"is wrong"})"));
    EXPECT_EQ(json[1]["key"], 4);
    EXPECT_EQ(json[1]["value"], "");
    EXPECT_TRUE(json[2]["key"].is_null());
    EXPECT_TRUE(json[3]["key"].is_null());
    EXPECT_EQ(json[3]["path"], "HKEY_USERS\\none");
}

TEST(PageJsonTest, AnAmbiguousPlaceIsAFindingWithoutARule) {
    std::vector<PageCapture> captures = Two();
    captures[1].document.ambiguities.push_back({7, L"two ways"});
    const Json json = JsonOf(captures, {{0, L"K001", L"", std::nullopt, L"first"}})["findings"];
    ASSERT_EQ(json.size(), 2u);
    EXPECT_EQ(json[1]["capture"], 1);
    EXPECT_EQ(json[1]["rule"], "");
    EXPECT_EQ(json[1]["sentence"], "line 7: two ways");
}

} // namespace
} // namespace keyreap
