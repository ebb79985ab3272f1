#include "kit/live/question.h"
#include "kit/live/requesttext.h"
#include "platform/os/entrypoint.h"
#include "platform/os/ownedhandle.h"
#include "platform/os/ownedinterface.h"

#include <windows.h>

#include <oleauto.h>

namespace keyreap {

namespace {

using Json = nlohmann::json;
using ServerFunction = HRESULT(STDAPICALLTYPE*)();

Json ResultJson(HRESULT result) {
    return {{"result", static_cast<std::uint32_t>(result)}};
}

HRESULT Unregister(const std::wstring& file) {
    ITypeLib* loaded = nullptr;
    HRESULT result = LoadTypeLibEx(file.c_str(), REGKIND_NONE, &loaded);
    const OwnedInterface<ITypeLib> library(loaded);
    TLIBATTR* attributes = nullptr;
    if (SUCCEEDED(result)) {
        result = loaded->GetLibAttr(&attributes);
    }
    if (SUCCEEDED(result)) {
        result = UnRegisterTypeLib(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum,
                                   attributes->lcid, attributes->syskind);
        loaded->ReleaseTLibAttr(attributes);
    }
    return result;
}

HRESULT Register(const std::wstring& file) {
    ITypeLib* loaded = nullptr;
    const HRESULT result = LoadTypeLibEx(file.c_str(), REGKIND_REGISTER, &loaded);
    const OwnedInterface<ITypeLib> library(loaded);
    return result;
}

} // namespace

void AnswerCall(const Json& request) {
    OleInitialize(nullptr);
    const HMODULE server =
        LoadLibraryExW(TextOf(request, "server").c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (server == nullptr) {
        Answer({{"error", GetLastError()}});
        return;
    }
    const auto function =
        FindEntryPoint<ServerFunction>(server, request.value("export", std::string()).c_str());
    if (function == nullptr) {
        Answer({{"error", ERROR_PROC_NOT_FOUND}});
        return;
    }
    Answer(ResultJson(function()));
}

void AnswerLibrary(const Json& request) {
    OleInitialize(nullptr);
    const std::wstring file = TextOf(request, "file");
    Answer(ResultJson(request.value("registers", true) ? Register(file) : Unregister(file)));
}

} // namespace keyreap
