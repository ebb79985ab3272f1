#pragma once

#include "pe/checkedview.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace keyreap::testsupport {

// A file's bytes in a block of exactly their size, so that a sanitizer sees an access after their end.
class ExactFile {
public:
    explicit ExactFile(std::string_view bytes);

    CheckedView View() const { return CheckedView(std::span(block.get(), size)); }

private:
    std::size_t size;
    std::unique_ptr<std::byte[]> block;
};

} // namespace keyreap::testsupport
