#include "tools/explain/loadreason.h"

#include "platform/core/message.h"
#include "platform/core/text/text.h"
#include "platform/os/file/widepath.h"
#include "platform/os/ownedhandle.h"

namespace keyreap {

namespace {

std::uint32_t LoadError(const std::wstring& file) {
    const OwnedModule module(LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    return module.Valid() ? ERROR_SUCCESS : GetLastError();
}

// The words after "which", or a whole reason.
std::wstring Words(std::uint32_t error) {
    return error == ERROR_BAD_EXE_FORMAT ? L"is a damaged image, which the loader refuses"
                                         : L"can't be loaded" + ErrorText(error);
}

std::wstring ReasonOf(std::uint32_t error) {
    return error == ERROR_DLL_INIT_FAILED ? L"its DllMain refuses to be loaded" : Words(error);
}

std::wstring ReasonOfDependency(const std::wstring& name, std::uint32_t error) {
    return L"needs " + name +
           (error == ERROR_DLL_INIT_FAILED ? L", whose DllMain refuses to be loaded"
                                           : L", which " + Words(error));
}

// The system has no text of its own for these, or none under Wine.
std::wstring TypeLibWords(std::uint32_t error) {
    switch (static_cast<HRESULT>(error)) {
    case TYPE_E_CANTLOADLIBRARY:
        return L"it can't be loaded";
    case TYPE_E_INVDATAREAD:
    case TYPE_E_UNSUPFORMAT:
        return L"it is damaged or of an unknown format";
    case TYPE_E_REGISTRYACCESS:
        return L"the registry refuses an entry";
    default:
        return {};
    }
}

std::wstring SystemWords(std::uint32_t error) {
    std::wstring text = TrimRight(FirstLine(GetSystemErrorText(error)), L". \r\n");
    // Some texts of the system have an open place for a file's name.
    if (const std::size_t insert = text.find(L"%1"); insert != std::wstring::npos) {
        text.replace(insert, 2, L"this file");
    }
    // The text that replaces a missing one of the system.
    return text.find(L"Failed to get Windows error message") == 0 ? std::wstring() : text;
}

} // namespace

std::wstring ErrorText(std::uint32_t error) {
    const std::wstring own = TypeLibWords(error);
    const std::wstring text = own.empty() ? SystemWords(error) : own;
    const std::wstring code =
        static_cast<std::int32_t>(error) < 0 ? L"0x" + HexToText(error, 8) : L"error " + IntegerToText(error);
    return (text.empty() ? L" (" : L": " + text + L" (") + code + L")";
}

std::wstring LoadReason(const std::vector<std::wstring>& files) {
    for (const std::wstring& file : files) {
        if (const std::uint32_t error = LoadError(file); error != ERROR_SUCCESS) {
            return &file == &files.back() ? ReasonOf(error)
                                          : ReasonOfDependency(WidePath(file).FileName(), error);
        }
    }
    return {};
}

} // namespace keyreap
