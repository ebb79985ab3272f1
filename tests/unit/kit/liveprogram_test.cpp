#include "kit/liveprogram.h"
#include "kit/refusal.h"
#include "kit/temporaryfolder.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace keyreap {
namespace {

using testing::ElementsAre;
using Json = nlohmann::json;

// A script answers in the place of the live host.
class AnswersTest : public testing::Test {
protected:
    AnswersTest() { setenv("KEYKIT_LIVE", script.c_str(), 1); }
    ~AnswersTest() override { unsetenv("KEYKIT_LIVE"); }

    void Script(const std::string& lines) const {
        std::ofstream(script) << "#!/bin/bash\n" << lines << '\n';
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    }

    // The words after the request's file that start the live host.
    std::string WordsOf(const LiveSession& session) const {
        Script(R"(printf '{"bitness":64}\n{"words":"%s"}\n' "$1 ${*:3}")");
        return AnswersOf(session, Json::object()).at(1).at("words");
    }

    TemporaryFolder folder;
    std::string script = folder.FileNamed("it's live");
};

TEST_F(AnswersTest, AnswersAreTheLinesThatAreObjects) {
    Script(R"(printf '{"bitness":64}\nloading {}\n[]\n{"a":1}\n{"b":')");
    EXPECT_THAT(AnswersOf({}, Json::object()), ElementsAre(Json{{"bitness", 64}}, Json{{"a", 1}}));
}

TEST_F(AnswersTest, RequestIsReadFromAFile) {
    Script(R"(echo '{"bitness":64}'; cat "$2"; echo)");
    const Json request = {{"question", "call"}, {"server", "C:\\it's.dll"}};
    EXPECT_THAT(AnswersOf({}, request), ElementsAre(Json{{"bitness", 64}}, request));
}

TEST_F(AnswersTest, SessionIsSaidInWords) {
    EXPECT_EQ(WordsOf({}), "x64 --classes");
    EXPECT_EQ(WordsOf({.bitness = 32, .hasClasses = false}), "x86 ");
    EXPECT_EQ(WordsOf({.isLogged = true, .user = "Ann's own", .computer = "other-2"}),
              "x64 --classes --requests --user Ann's own --computer other-2");
}

TEST_F(AnswersTest, SessionThatSaysNothingIsRefused) {
    Script("exit 1");
    EXPECT_THROW(AnswersOf({}, Json::object()), Refusal);
    Script("echo '{}'");
    EXPECT_THROW(AnswersOf({}, Json::object()), Refusal);
}

TEST_F(AnswersTest, MissingCommandIsRefused) {
    unsetenv("KEYKIT_LIVE");
    EXPECT_THROW(AnswersOf({}, Json::object()), Refusal);
}

} // namespace
} // namespace keyreap
