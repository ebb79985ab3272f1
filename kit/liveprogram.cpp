#include "kit/liveprogram.h"

#include "kit/hostfiles.h"
#include "kit/liveoutput.h"
#include "kit/refusal.h"
#include "kit/temporaryfolder.h"
#include "platform/core/text/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace keyreap {

namespace {

using Json = nlohmann::json;

// The answers in a text, each a line; what is no line of an answer isn't one.
std::vector<Json> AnswersIn(const std::string& text) {
    std::vector<Json> answers;
    for (std::size_t at = 0, end = text.find('\n'); end != std::string::npos;
         at = end + 1, end = text.find('\n', at)) {
        Json answer = Json::parse(text.substr(at, end - at), nullptr, false);
        if (answer.is_object()) {
            answers.push_back(std::move(answer));
        }
    }
    return answers;
}

Json RequestJson(const CreationRequest& request, std::size_t first) {
    Json json = {{"question", "create"}, {"folders", Json::array()}, {"classes", Json::array()}};
    json["manifest"] = ReadableUtf8(request.manifest);
    for (const std::wstring& folder : request.folders) {
        json["folders"].push_back(ReadableUtf8(folder));
    }
    for (std::size_t i = first; i < request.classes.size(); ++i) {
        const LiveClass& one = request.classes[i];
        json["classes"].push_back(
            {{"clsid", ReadableUtf8(one.clsid)}, {"threadingModel", ReadableUtf8(one.threadingModel)}});
    }
    return json;
}

// The answer for a class; null if the program ended before it.
const Json* AnswerFor(const std::vector<Json>& answers, const LiveClass& one) {
    const Json clsid = ReadableUtf8(one.clsid);
    const auto isOfClass = [&clsid](const Json& answer) {
        return answer.contains("clsid") && answer["clsid"] == clsid && answer.contains("result") &&
               answer["result"].is_number_unsigned();
    };
    const auto found = std::ranges::find_if(answers, isOfClass);
    return found == answers.end() ? nullptr : &*found;
}

void CheckManifest(const std::vector<Json>& answers) {
    if (answers.size() > 1 && answers[1].contains("failure")) {
        throw Refusal(answers[1].value("failure", std::string()) + " gave error " +
                      std::to_string(answers[1].value("error", 0)));
    }
}

} // namespace

std::vector<Json> AnswersOf(const LiveSession& session, const Json& request) {
    const TemporaryFolder folder;
    const std::string file = folder.FileNamed("request.json");
    if (!WriteWholeFile(file, request.dump())) {
        throw Refusal(file + ": it can't be written");
    }
    std::vector<Json> answers = AnswersIn(LiveOutput(session, file));
    if (answers.empty() || !answers.front().contains("bitness")) {
        throw Refusal("KeyKitLive.exe of " + std::to_string(session.bitness) + " bits can't be started");
    }
    return answers;
}

std::vector<CreatedClass> CreateClasses(const CreationRequest& request) {
    const LiveSession session{.bitness = request.bitness, .hasClasses = false, .inputs = request.inputs};
    std::vector<CreatedClass> created;
    while (created.size() < request.classes.size()) {
        const std::vector<Json> answers = AnswersOf(session, RequestJson(request, created.size()));
        CheckManifest(answers);
        bool isRunning = true;
        while (isRunning && created.size() < request.classes.size()) {
            const LiveClass& one = request.classes[created.size()];
            const Json* const answer = AnswerFor(answers, one);
            isRunning = answer != nullptr;
            created.push_back(isRunning ? CreatedClass{one.clsid, answer->at("result").get<std::uint32_t>(),
                                                       answer->value("isRegistered", false)}
                                        : CreatedClass{one.clsid, std::nullopt, false});
        }
    }
    return created;
}

} // namespace keyreap
