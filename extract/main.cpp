#include "extract/errormode.h"
#include "extract/extractcommand.h"
#include "extract/startmodules.h"
#include "platform/core/osversion.h"

#include <cwchar>

namespace {

constexpr int noVerb = -1;

void PrepareProcess() {
    keyreap::LoadStartModules();
    // Read now: while HKEY_LOCAL_MACHINE is redirected, a first read would see the temporary tree.
    keyreap::RunningVersion();
    keyreap::VistaVersion();
}

} // namespace

int wmain(int argumentCount, wchar_t* arguments[]) {
    keyreap::SuppressErrorBoxes();
    PrepareProcess();
    if (argumentCount < 2) {
        return noVerb;
    }
    // Any other verb, and this verb in another case, does nothing and is no failure.
    if (std::wcscmp(arguments[1], L"extreg") != 0) {
        return 0;
    }
    const keyreap::ExtractCommand command({arguments + 2, static_cast<std::size_t>(argumentCount - 2)});
    const int status = command.RegisterNativeFiles();
    return status == 0 ? command.RunCompanion() : status;
}
