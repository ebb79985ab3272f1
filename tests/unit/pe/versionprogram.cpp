#include "pe/fileversion.h"
#include "pe/shimclone.h"
#include "platform/core/osversion.h"
#include "tests/support/scratchkey.h"
#include "tests/unit/pe/versionprocess.h"

#include <windows.h>

#include <string>

// Takes a version of Windows such as "6.3", a file, and "version" or "company". Makes the process take this
// version for the running one, since the record of the version is made once a process. The exit status
// reports how the file's version or company was read.

namespace {

void TakeForRunning(const std::wstring& version) {
    const std::wstring key = L"Software\\Microsoft\\Windows NT\\CurrentVersion";
    const keyreap::testsupport::ScratchKey machine;
    const DWORD majorNumber = std::stoul(version);
    machine.Make(key);
    if (version.size() == 3) {
        machine.SetText(key, L"CurrentVersion", version);
    } else {
        machine.SetValue(key, L"CurrentMajorVersionNumber", REG_DWORD, &majorNumber, sizeof(majorNumber));
    }
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine.Handle());
    keyreap::RunningVersion();
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    using namespace keyreap;
    if (count != 4) {
        return -1;
    }
    TakeForRunning(arguments[1]);
    std::wstring file = arguments[2];
    if (arguments[3] == std::wstring(L"company")) {
        return ReadCompanyName(file) ? testsupport::companyWasRead : 0;
    }
    std::wstring version;
    const bool wasRead = ReadFileVersion(file, version);
    const bool isCopied = ShimClone(file).IsCopy();
    return (wasRead ? testsupport::versionWasRead : 0) | (isCopied ? testsupport::fileWasCopied : 0);
}
