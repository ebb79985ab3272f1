#include "tests/endtoend/damagedimages.h"

namespace keyreap::endtoend {
namespace {

TEST_F(DamagedImages, Ofx64EndTheRunWithAResultOrAFailureOrTheirOwnFault) {
    CaptureThem(Bitness::x64);
}

} // namespace
} // namespace keyreap::endtoend
