// Asks everything of bytes that may be an image, its version resource included.
#include "pe/versionresource.h"
#include "tests/support/sectiontable.h"

using keyreap::CheckedView;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    constexpr std::uint32_t resources = 2;
    const CheckedView view(std::as_bytes(std::span(data, size)));
    keyreap::testsupport::AskEverything(view);
    view.HasLayout();
    if (view.HasDirectoryEntry(resources)) {
        keyreap::HoldsVersionResource(
            view, keyreap::testsupport::DirectoryBySections(view, resources),
            [&view](std::uint32_t rva) { return keyreap::testsupport::PlaceBySections(view, rva); });
    }
    return 0;
}
