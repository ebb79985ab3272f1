#include "tests/support/exactfile.h"

#include <cstring>

namespace keyreap::testsupport {

ExactFile::ExactFile(std::string_view bytes) : size(bytes.size()), block(new std::byte[bytes.size()]) {
    std::memcpy(block.get(), bytes.data(), bytes.size());
}

} // namespace keyreap::testsupport
