#include "extract/errormode.h"
#include "extract/modeword.h"
#include "extract/nativefileregister/nativefileregister.h"
#include "extract/startmodules.h"
#include "kit/live/crash.h"
#include "kit/live/loadedmodules.h"
#include "kit/live/question.h"
#include "kit/live/requesttext.h"
#include "platform/core/compiler.h"
#include "platform/core/osversion.h"
#include "platform/core/unhandledexception.h"

#include <windows.h>

namespace keyreap {

namespace {

using Json = nlohmann::json;

// As the program itself does before its first session.
void PrepareProcess() {
    SuppressErrorBoxes();
    LoadStartModules();
    RunningVersion();
    VistaVersion();
}

// A session installs the program's filter once in a process; its dialog would wait for somebody.
void EndSessionsSilently() {
    InstallUnhandledExceptionFilter();
    SetUnhandledExceptionFilter(EndAtException);
    FilterUncaughtExceptions(EndAtException);
}

Json Captured(const Json& request, const std::wstring& output) {
    NativeFileRegister session(WidePath(TextOf(request, "server")), WidePath(output),
                               ParseModeWord(TextOf(request, "mode")));
    Json answer = {{"succeeded", session.Register()}, {"result", nullptr}};
    if (const auto result = session.ReportedResult()) {
        answer["result"] = static_cast<std::uint32_t>(*result);
    }
    return answer;
}

} // namespace

void AnswerCapture(const Json& request) {
    PrepareProcess();
    EndSessionsSilently();
    for (const std::wstring& module : TextsOf(request, "preload")) {
        LoadLibraryW(module.c_str());
    }
    const LoadedModules loaded;
    std::size_t number = 0;
    for (const std::wstring& output : TextsOf(request, "outputs")) {
        Json answer = Captured(request, output);
        answer["capture"] = number++;
        answer["loaded"] = Json::array();
        for (const std::wstring& path : loaded.OfWindows()) {
            answer["loaded"].push_back(ReadableUtf8(path));
        }
        Answer(answer);
    }
    // Threads of the server may go on, and write to the registry itself.
    Sleep(request.value("linger", 0U));
}

} // namespace keyreap
