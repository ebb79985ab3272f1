#pragma once

#include <windows.h>

#include <objbase.h>

namespace keyreap::testsupport {

// During the life of this object, the system's manager of known folders can't be created in this process. COM
// stays entered on the thread for as long.
class FailingFolderManager : private IClassFactory {
public:
    FailingFolderManager();
    FailingFolderManager(const FailingFolderManager&) = delete;
    FailingFolderManager& operator=(const FailingFolderManager&) = delete;
    ~FailingFolderManager();

private:
    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) override;
    // Nobody counts references: the owner lives longer than all users.
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void** object) override;
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

    DWORD cookie = 0;
};

} // namespace keyreap::testsupport
