#include "kit/batch/capturedone.h"

#include <nlohmann/json.hpp>

namespace keyreap {

namespace {

using Json = nlohmann::ordered_json;

constexpr int formatNumber = 1;

Json JsonOf(const std::string& capture, const CaptureDone& done) {
    Json files = Json::array();
    for (const auto& [name, digest] : done.files) {
        files.push_back({{"name", name}, {"digest", digest}});
    }
    return {{"capture", capture},
            {"digest", done.digest},
            {"mode", done.mode},
            {"version", done.version},
            {"files", files}};
}

std::string TextOf(const Json& object, const char* name) {
    return object.at(name).get<std::string>();
}

void Add(CapturesDone& all, const Json& json) {
    CaptureDone done = {TextOf(json, "digest"), TextOf(json, "mode"), TextOf(json, "version"), {}};
    for (const Json& file : json.at("files")) {
        done.files.emplace_back(TextOf(file, "name"), TextOf(file, "digest"));
    }
    all[TextOf(json, "capture")] = done;
}

} // namespace

std::string CapturesDoneText(const CapturesDone& done) {
    Json json = {{"format", formatNumber}, {"captures", Json::array()}};
    for (const auto& [name, one] : done) {
        json["captures"].push_back(JsonOf(name, one));
    }
    // Names of files may be any bytes. One that isn't UTF-8 never equals its text, and is captured again.
    return json.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

CapturesDone CapturesDoneIn(std::string_view text) {
    CapturesDone done;
    try {
        const Json json = Json::parse(text);
        if (json.at("format") == formatNumber) {
            for (const Json& one : json.at("captures")) {
                Add(done, one);
            }
        }
    } catch (const Json::exception&) {
        return {};
    }
    return done;
}

} // namespace keyreap
