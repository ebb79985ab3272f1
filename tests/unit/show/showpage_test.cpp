#include "kit/show/base64.h"
#include "kit/show/pageparts.h"
#include "kit/show/showpage.h"
#include "tests/unit/show/showtest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::HasSubstr;
using testing::Not;
using testsupport::CaptureOf;

std::string PageOf(std::initializer_list<std::wstring_view> lines) {
    const std::vector<PageCapture> captures = {CaptureOf(lines)};
    return ShowPage(captures, {});
}

TEST(ShowPageTest, ThePolicyAllowsThePagesOwnPartsAlone) {
    const std::string page = PageOf({L"[HKEY_CLASSES_ROOT\\x]"});
    EXPECT_THAT(page, HasSubstr("content=\"default-src 'none'; script-src 'sha256-" +
                                Base64Of(PageScript().digest) + "'; style-src 'sha256-" +
                                Base64Of(PageStyle().digest) + "'; base-uri 'none'"));
    EXPECT_THAT(page, HasSubstr("<style>" + std::string(PageStyle().text) + "</style>"));
    EXPECT_THAT(page, HasSubstr("<script>" + std::string(PageScript().text) + "</script>"));
    EXPECT_THAT(page, Not(HasSubstr("{{")));
}

TEST(ShowPageTest, MarksOfTheFrameInACaptureAreItsText) {
    const std::string page = PageOf({L"[HKEY_CLASSES_ROOT\\{{script}}]", L"\"{{data}}\"=\"{{style}}\""});
    EXPECT_THAT(page, HasSubstr("\"name\":\"{{script}}\""));
    EXPECT_THAT(page, HasSubstr("\"name\":\"{{data}}\""));
    EXPECT_THAT(page, HasSubstr("\"texts\":[\"{{style}}\"]"));
}

TEST(ShowPageTest, ThePartsNameNoAddress) {
    for (const std::string_view text : {PageFrame().text, PageStyle().text, PageScript().text}) {
        EXPECT_THAT(std::string(text), Not(HasSubstr("//w")));
        EXPECT_THAT(std::string(text), Not(HasSubstr("http:")));
        EXPECT_THAT(std::string(text), Not(HasSubstr("https:")));
        EXPECT_THAT(std::string(text), Not(HasSubstr("url(")));
        EXPECT_THAT(std::string(text), Not(HasSubstr("\r")));
    }
}

} // namespace
} // namespace keyreap
