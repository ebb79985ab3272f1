#include "kit/checksteps.h"

#include "kit/hostfiles.h"
#include "platform/core/text/utf8.h"

#include <algorithm>

namespace keyreap {

namespace {

using Json = nlohmann::json;

// E_UNEXPECTED
constexpr std::uint32_t noAnswer = 0x8000FFFF;

} // namespace

Json SystemProgramStep(const CheckedServer& server, const std::string& program, const std::string& words) {
    // The 64-bit folder of the system has the name of the older one.
    const std::string folder = server.bitness == 64 ? "system32" : "syswow64";
    const std::string path = "C:\\windows\\" + folder + "\\" + program;
    return {{"step", "run"}, {"program", path}, {"line", '"' + path + "\" " + words}};
}

std::string QuotedPath(const std::wstring& path) {
    return '"' + ReadableUtf8(path) + '"';
}

Registrar::Registrar(LiveSteps& steps, const CheckedServer& server, bool removes) : steps(steps) {
    if (server.hasExport) {
        own.push_back(steps.Add(SystemProgramStep(server, "regsvr32.exe",
                                                  (removes ? "/u /s " : "/s ") + QuotedPath(server.path))));
    } else if (server.isProgram) {
        const std::string program = ReadableUtf8(server.path);
        own.push_back(
            steps.Add({{"step", "run"},
                       {"program", program},
                       {"line", QuotedPath(server.path) + (removes ? " /UNREGSERVER " : " /REGSERVER ")}}));
    }
    if (server.hasTypeLib) {
        const std::size_t step = steps.Ask(
            {{"question", "library"}, {"file", ReadableUtf8(server.path)}, {"registers", !removes}});
        // A server that has removed its library itself leaves nothing to remove.
        if (!removes || (!server.hasExport && !server.isProgram)) {
            own.push_back(step);
            library = step;
        }
    }
}

std::uint32_t Registrar::Status() const {
    for (const std::size_t step : own) {
        const std::vector<Json> answers = steps.AnswersOf(step);
        if (step == library && !NumberIn(answers, "result")) {
            return noAnswer;
        }
        for (const char* const name : {"result", "error", "status"}) {
            const std::uint32_t number = NumberIn(answers, name).value_or(0);
            if (number != 0) {
                return number;
            }
        }
    }
    return 0;
}

bool Registrar::IsDone() const {
    return std::ranges::all_of(own, [this](std::size_t step) { return steps.IsDone(step); });
}

Json CapturedKeys(const Capture& capture) {
    Json keys = Json::array();
    for (const RegSection& section : capture.document.sections) {
        if (!section.isDeletion && !section.isCapturesOwn) {
            keys.push_back(LosslessUtf8(section.path));
        }
    }
    return keys;
}

Json CaptureRequest(const std::wstring& server, const std::vector<std::string>& outputs,
                    const Json& preload) {
    Json files = Json::array();
    for (const std::string& output : outputs) {
        files.push_back(ReadableUtf8(WindowsPathOf(output)));
    }
    return {{"question", "capture"},
            {"server", ReadableUtf8(server)},
            {"mode", "keyRedir"},
            {"outputs", files},
            {"preload", preload}};
}

} // namespace keyreap
