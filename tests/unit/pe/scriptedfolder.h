#pragma once

#include <windows.h>

#include <objbase.h>
#include <shobjidl.h>

#include <string>

namespace keyreap::testsupport {

// A known folder that returns the given path, and records its calls.
class ScriptedFolder : public IKnownFolder {
public:
    std::wstring path;
    HRESULT result = S_OK;
    DWORD askedFlags = 0;
    int releases = 0;

    STDMETHODIMP GetPath(DWORD flags, LPWSTR* text) override {
        askedFlags = flags;
        *text = nullptr;
        if (SUCCEEDED(result)) {
            *text = static_cast<LPWSTR>(CoTaskMemAlloc((path.size() + 1) * sizeof(WCHAR)));
            path.copy(*text, path.size());
            (*text)[path.size()] = L'\0';
        }
        return result;
    }

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override {
        ++releases;
        return 1;
    }
    STDMETHODIMP GetId(KNOWNFOLDERID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCategory(KF_CATEGORY*) override { return E_NOTIMPL; }
    STDMETHODIMP GetShellItem(DWORD, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP SetPath(DWORD, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDList(DWORD, PIDLIST_ABSOLUTE*) override { return E_NOTIMPL; }
    STDMETHODIMP GetFolderType(FOLDERTYPEID*) override { return E_NOTIMPL; }
    STDMETHODIMP GetRedirectionCapabilities(KF_REDIRECTION_CAPABILITIES*) override { return E_NOTIMPL; }
    STDMETHODIMP GetFolderDefinition(KNOWNFOLDER_DEFINITION*) override { return E_NOTIMPL; }
};

// A manager that knows only this folder.
class ScriptedFolderManager : public IKnownFolderManager {
public:
    ScriptedFolder folder;
    KNOWNFOLDERID asked = {};
    int releases = 0;

    STDMETHODIMP GetFolder(REFKNOWNFOLDERID identifier, IKnownFolder** found) override {
        asked = identifier;
        *found = &folder;
        return S_OK;
    }

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override {
        ++releases;
        return 1;
    }
    STDMETHODIMP FolderIdFromCsidl(int, KNOWNFOLDERID*) override { return E_NOTIMPL; }
    STDMETHODIMP FolderIdToCsidl(REFKNOWNFOLDERID, int*) override { return E_NOTIMPL; }
    STDMETHODIMP GetFolderIds(KNOWNFOLDERID**, UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetFolderByName(LPCWSTR, IKnownFolder**) override { return E_NOTIMPL; }
    STDMETHODIMP RegisterFolder(REFKNOWNFOLDERID, const KNOWNFOLDER_DEFINITION*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP UnregisterFolder(REFKNOWNFOLDERID) override { return E_NOTIMPL; }
    STDMETHODIMP FindFolderFromPath(LPCWSTR, FFFP_MODE, IKnownFolder**) override { return E_NOTIMPL; }
    STDMETHODIMP FindFolderFromIDList(PCIDLIST_ABSOLUTE, IKnownFolder**) override { return E_NOTIMPL; }
    STDMETHODIMP Redirect(REFKNOWNFOLDERID, HWND, KF_REDIRECT_FLAGS, LPCWSTR, UINT, const KNOWNFOLDERID*,
                          LPWSTR*) override {
        return E_NOTIMPL;
    }
};

} // namespace keyreap::testsupport
