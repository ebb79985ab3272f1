// Reads everything from bytes that may be an image, including its resources.
#include "pe/imageheaders.h"
#include "pe/versionresource.h"
#include "tests/support/sectiontable.h"

using keyreap::CheckedView;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    const CheckedView view(std::as_bytes(std::span(data, size)));
    keyreap::testsupport::AskEverything(view);
    view.HasLayout();
    keyreap::HoldsVersionResource(view);
    const keyreap::ImageHeaders headers(std::as_bytes(std::span(data, size)));
    headers.Exports("DllRegisterServer");
    headers.TypeLibraries();
    return 0;
}
