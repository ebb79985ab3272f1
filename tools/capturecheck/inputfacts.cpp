#include "tools/capturecheck/inputfacts.h"

#include "pe/imageheaders.h"
#include "platform/core/text/compare.h"
#include "tools/capturecheck/hostfile.h"
#include "tools/capturecheck/mappedfile.h"

#include <unistd.h>

#include <array>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <utility>

namespace keyreap {
namespace {

bool BeginWith(std::span<const std::byte> bytes, std::string_view magic) {
    return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

// Windows' own command interpreter runs a file with one of these endings.
bool IsBatchFile(const std::string& name) {
    return NameEndsWith(name, ".bat") || NameEndsWith(name, ".cmd");
}

InputKind KindOfOther(const HostFile& file, std::span<const std::byte> bytes) {
    if (BeginWith(bytes, "\x7F"
                         "ELF") ||
        BeginWith(bytes, "#!")) {
        return InputKind::unixProgram;
    }
    // Other files may be executable on the host, and Wine asks the host about everything that is no image.
    const bool mayRun = !BeginWith(bytes, "MZ") && access(file.Path().c_str(), X_OK) == 0;
    return mayRun && !IsBatchFile(file.Name()) ? InputKind::unixProgram : InputKind::other;
}

} // namespace

bool NameEndsWith(std::string_view name, std::string_view ending) {
    return FoldedBytes(std::string(name)).ends_with(ending);
}

bool InputFacts::Is64Bit() const {
    return kind == InputKind::image && is64Bit;
}

bool InputFacts::IsForThisHost() const {
    return machine == machineX64 || machine == machineX86;
}

bool InputFacts::MayBeProgram() const {
    return kind == InputKind::other || (kind == InputKind::image && !isDll && !exportsRegistration);
}

InputFacts FactsOfBytes(std::span<const std::byte> bytes) {
    InputFacts facts;
    facts.kind = InputKind::other;
    // A type library is longer than its magic number.
    if (BeginWith(bytes, "MSFT") && bytes.size() > 4) {
        facts.kind = InputKind::typeLibrary;
    }
    if (const ImageHeaders headers(bytes); headers.AreThere()) {
        facts.kind = InputKind::image;
        facts.machine = headers.Machine();
        facts.is64Bit = headers.Is64Bit();
        facts.isDll = headers.IsDll();
        facts.exportsRegistration = headers.Exports("DllRegisterServer");
    }
    return facts;
}

InputFacts FactsOf(const HostFile& file) {
    InputFacts facts;
    if (!file.IsThere()) {
        return facts;
    }
    if (!file.IsOrdinary()) {
        facts.kind = file.IsFolder() ? InputKind::folder : InputKind::special;
        return facts;
    }
    const MappedFile mapped(file.Path());
    if (!mapped.IsOpen()) {
        facts.kind = InputKind::unreadable;
        return facts;
    }
    facts = FactsOfBytes(mapped.Bytes());
    if (facts.kind == InputKind::other) {
        facts.kind = KindOfOther(file, mapped.Bytes());
    }
    return facts;
}

bool BeginsAsInput(const HostFile& file) {
    if (!file.IsOrdinary()) {
        return false;
    }
    const MappedFile mapped(file.Path());
    return BeginWith(mapped.Bytes(), "MZ") || BeginWith(mapped.Bytes(), "MSFT");
}

std::string MachineName(std::uint16_t machine) {
    constexpr std::array<std::pair<std::uint16_t, std::string_view>, 4> names = {
        {{machineItanium, "Itanium"}, {0x01C0, "ARM"}, {0x01C4, "ARM"}, {0xAA64, "ARM64"}}};
    for (const auto& [number, name] : names) {
        if (number == machine) {
            return std::string(name);
        }
    }
    std::ostringstream text;
    text << "machine type 0x" << std::hex << std::setw(4) << std::setfill('0') << machine;
    return text.str();
}

} // namespace keyreap
