#include "kit/batch/foundserver.h"

#include "pe/imageheaders.h"

#include <string_view>

namespace keyreap {

namespace {

bool IsTypeLibrary(std::span<const std::byte> bytes) {
    constexpr std::string_view magic = "MSFT";
    return bytes.size() > magic.size() &&
           std::string_view(reinterpret_cast<const char*>(bytes.data()), magic.size()) == magic;
}

FoundServer FoundServerIn(const ImageHeaders& headers) {
    if (headers.Machine() != machineX86 && headers.Machine() != machineX64) {
        return FoundServer::No;
    }
    if (headers.Exports("DllRegisterServer")) {
        return FoundServer::Yes;
    }
    // A library inside of a DLL is the DLL's own affair.
    if (headers.IsDll()) {
        return FoundServer::No;
    }
    return headers.TypeLibraries().empty() ? FoundServer::Program : FoundServer::Yes;
}

} // namespace

FoundServer FoundServerIn(std::span<const std::byte> bytes) {
    const ImageHeaders headers(bytes);
    if (headers.AreThere()) {
        return FoundServerIn(headers);
    }
    return IsTypeLibrary(bytes) ? FoundServer::Yes : FoundServer::No;
}

} // namespace keyreap
