#include "platform/core/errorreport/erroricon.h"

#include "platform/os/entrypoint.h"
#include "platform/os/ownedhandle.h"

namespace keyreap {

namespace {

// LIM_LARGE of commctrl.h.
constexpr int largeMetric = 1;

using LoadIconMetricEntry = HRESULT(WINAPI*)(HINSTANCE, PCWSTR, int, HICON*);

HICON LoadScaledIcon(const wchar_t* name, const wchar_t* library) {
    const OwnedModule module(LoadLibraryW(library));
    const auto loadIconMetric = FindEntryPoint<LoadIconMetricEntry>(module.Get(), "LoadIconMetric");
    HICON icon = nullptr;
    if (!loadIconMetric || FAILED(loadIconMetric(nullptr, name, largeMetric, &icon))) {
        return nullptr;
    }
    return icon;
}

HICON LoadSharedIcon(const wchar_t* name) {
    return static_cast<HICON>(LoadImageW(nullptr, name, IMAGE_ICON, GetSystemMetrics(SM_CXICON),
                                         GetSystemMetrics(SM_CYICON), LR_SHARED | LR_DEFAULTSIZE));
}

} // namespace

HICON ErrorIcon::Load() {
    const wchar_t* const name = reinterpret_cast<const wchar_t*>(IDI_ERROR);
    scaled.Reset(LoadScaledIcon(name, library));
    return scaled.Valid() ? scaled.Get() : LoadSharedIcon(name);
}

} // namespace keyreap
