#include "tools/capturecheck/inputfacts.h"

#include "pe/checkedview.h"
#include "pe/imagetables.h"
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

constexpr std::uint16_t machineX64 = 0x8664;
constexpr std::uint16_t machineItanium = 0x0200;
constexpr std::uint16_t machineX86 = 0x014C;

// Layouts of the published PE format, counted from the signature "PE".
constexpr std::size_t newHeaderField = 60;
constexpr std::size_t machineField = 4;
constexpr std::size_t sectionCountField = 6;
constexpr std::size_t optionalHeaderSizeField = 20;
constexpr std::size_t characteristicsField = 22;
constexpr std::size_t optionalHeader = 24;
constexpr std::uint16_t dllFlag = 0x2000;
constexpr std::uint32_t imageSignature = 0x00004550;
constexpr std::uint16_t optionalMagic64 = 0x20B;
constexpr std::size_t directories32 = 96;
constexpr std::size_t directories64 = 112;
constexpr std::size_t sectionHeaderSize = 40;

// An image's headers; the addresses in them can be anything.
class Headers {
public:
    explicit Headers(std::span<const std::byte> bytes) : view(bytes) {
        hasHeaders = view.HasDosMagic() && view.HasNtHeaders();
        start = hasHeaders ? view.Start() + At<std::uint32_t>(view.Start() + newHeaderField) : nullptr;
        hasHeaders = hasHeaders && At<std::uint32_t>(start) == imageSignature;
    }

    bool AreThere() const { return hasHeaders; }
    std::uint16_t Machine() const { return At<std::uint16_t>(start + machineField); }
    bool IsDll() const { return (At<std::uint16_t>(start + characteristicsField) & dllFlag) != 0; }

    bool Exports(std::string_view name) const {
        if (!view.HasDirectoryEntry(0) || !view.HasSectionTable()) {
            return false;
        }
        const bool is64 = At<std::uint16_t>(start + optionalHeader) == optionalMagic64;
        const auto place = start + optionalHeader + (is64 ? directories64 : directories32);
        const std::byte* directory = Resolve(At<std::uint32_t>(place));
        const auto resolve = [this](std::uint32_t rva) { return Resolve(rva); };
        return directory != nullptr && ExportTableHasName(view, directory, resolve, name);
    }

private:
    template <typename Integer>
    Integer At(const std::byte* place) const {
        return view.Read<Integer>(place).value_or(0);
    }

    // The place of a relative virtual address, by the raw data of the sections; null if no section contains
    // it.
    const std::byte* Resolve(std::uint32_t rva) const {
        const std::byte* section =
            start + optionalHeader + At<std::uint16_t>(start + optionalHeaderSizeField);
        for (int i = At<std::uint16_t>(start + sectionCountField); i > 0; --i, section += sectionHeaderSize) {
            const auto address = At<std::uint32_t>(section + 12);
            const auto rawSize = At<std::uint32_t>(section + 16);
            const auto rawPlace = At<std::uint32_t>(section + 20);
            if (rva >= address && rva - address < rawSize) {
                const std::byte* place = view.Start() + rawPlace + (rva - address);
                return view.Holds(place, 1) ? place : nullptr;
            }
        }
        return nullptr;
    }

    CheckedView view;
    const std::byte* start = nullptr;
    bool hasHeaders = false;
};

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
    return kind == InputKind::image && (machine == machineX64 || machine == machineItanium);
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
    if (const Headers headers(bytes); headers.AreThere()) {
        facts.kind = InputKind::image;
        facts.machine = headers.Machine();
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
