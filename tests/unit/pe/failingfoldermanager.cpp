#include "tests/unit/pe/failingfoldermanager.h"

#include <gtest/gtest.h>

namespace keyreap::testsupport {

namespace {

// CLSID_KnownFolderManager, as published in shobjidl.h.
constexpr CLSID managerClass = {0x4DF0C730, 0xDF9D, 0x4AE3, {0x91, 0x53, 0xAA, 0x6B, 0x82, 0xE9, 0x79, 0x5A}};

} // namespace

FailingFolderManager::FailingFolderManager() {
    // The lookup enters an apartment of the other kind. That fails, so the lookup does not leave COM entered
    // once more.
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoRegisterClassObject(managerClass, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
              S_OK);
}

FailingFolderManager::~FailingFolderManager() {
    CoRevokeClassObject(cookie);
    CoUninitialize();
}

STDMETHODIMP FailingFolderManager::QueryInterface(REFIID interfaceId, void** object) {
    const bool known = interfaceId == IID_IUnknown || interfaceId == IID_IClassFactory;
    *object = known ? static_cast<IClassFactory*>(this) : nullptr;
    return known ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP FailingFolderManager::CreateInstance(IUnknown*, REFIID, void** object) {
    *object = nullptr;
    return E_OUTOFMEMORY;
}

} // namespace keyreap::testsupport
