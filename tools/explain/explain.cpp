// Usage: explain FILE
// Prints why FILE (a Windows path) can't be registered, as a part of a sentence in UTF-8, or nothing if it
// finds no reason. It may load the file, register its type library and so on, so it runs in a session that is
// thrown away.
#include "extract/nativefileregister/temporarypaths.h"
#include "extract/nativefileregister/typelibstaging.h"
#include "pe/exportsearch.h"
#include "platform/core/text/text.h"
#include "platform/os/process.h"
#include "tools/explain/dependencyreason.h"
#include "tools/explain/imageheaders.h"
#include "tools/explain/loadreason.h"

#include <windows.h>

#include <oleauto.h>

namespace keyreap {

namespace {

constexpr std::uint32_t utf8 = 65001;

std::wstring TypeLibReason(const WidePath& file) {
    ITypeLib* library = nullptr;
    const HRESULT result = LoadTypeLibEx(file.ExtendedLengthForm().c_str(), REGKIND_REGISTER, &library);
    if (library) {
        library->Release();
    }
    return result == S_OK
               ? std::wstring()
               : L"its type library can't be registered" + ErrorText(static_cast<std::uint32_t>(result));
}

// A file without DllRegisterServer is a program if the system starts it. It never reaches its first
// instruction.
std::wstring ProgramReason(const WidePath& file, PeImage& image) {
    if (IsDll(image)) {
        return L"has no DllRegisterServer, and is no program";
    }
    const auto started =
        StartProcess(file.ExtendedLengthForm(), {}, CREATE_SUSPENDED | NORMAL_PRIORITY_CLASS);
    if (!started) {
        return L"has no DllRegisterServer, and can't be started as a program" + ErrorText(GetLastError());
    }
    TerminateProcess(started->process.Get(), 0);
    return {};
}

std::wstring ServerReason(const WidePath& file) {
    const LoadChain chain(file);
    return chain.Reason().empty() ? LoadReason(chain.Files()) : chain.Reason();
}

std::wstring ImageReason(const WidePath& file) {
    PeImage image(file.ExtendedLengthForm());
    if (image.FileHandle() == INVALID_HANDLE_VALUE) {
        return {};
    }
    if (!image.View().HasDosMagic()) {
        return L"is no DLL, no program and no type library";
    }
    if (!image.IsPeFile() || !image.View().HasSectionTable()) {
        return L"is a damaged image";
    }
    if (!IsOwnMachine(MachineOf(image))) {
        return L"is an image for another machine (0x" + HexToText(MachineOf(image), 4) + L")";
    }
    return HasExportNamed(image, "DllRegisterServer") ? ServerReason(file) : ProgramReason(file, image);
}

std::wstring Reason(const WidePath& file) {
    TemporaryPaths staged;
    const WidePath typeLib = IsTypeLibFile(file) ? file : ExtractTypeLib(file, staged);
    // If there is a type library, it alone decides: a good one makes up for a server that can't be loaded.
    return typeLib.IsEmpty() ? ImageReason(file) : TypeLibReason(typeLib);
}

bool IsForOtherProgram(const WidePath& file) {
    return sizeof(void*) == 8 && !PeImage(file.ExtendedLengthForm()).Is64Bit();
}

bool Print(const std::wstring& text) {
    const std::string bytes = WideToMultiByte(text, utf8);
    DWORD written = 0;
    return WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
                     &written, nullptr) != FALSE;
}

} // namespace

} // namespace keyreap

int wmain(int count, wchar_t** arguments) {
    if (count != 2) {
        return 1;
    }
    const keyreap::WidePath file(arguments[1]);
    if (keyreap::IsForOtherProgram(file)) {
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const std::wstring reason = keyreap::Reason(file);
    return reason.empty() || keyreap::Print(reason) ? 0 : 1;
}
