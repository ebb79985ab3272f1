#include "tests/endtoend/damagedimages.h"

namespace keyreap::endtoend {
namespace {

TEST_F(DamagedImages, Ofx86EndTheRunWithAResultOrAFailureOrTheirOwnFault) {
    CaptureThem(Bitness::x86);
}

} // namespace
} // namespace keyreap::endtoend
