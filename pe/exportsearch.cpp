#include "pe/exportsearch.h"

#include "pe/imagetables.h"

namespace keyreap {

bool HasExportNamed(PeImage& image, std::string_view name) {
    const std::byte* directory = image.ExportDirectory();
    return directory != nullptr && ExportTableHasName(image.View(), directory, image.Resolver(), name);
}

} // namespace keyreap
