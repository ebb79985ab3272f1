#include "tests/native/fuzzinput.h"
#include "trace/registryfields.h"

#include <cstring>

using namespace keyreap;

namespace {

// The little-endian number at an offset of the payload, or 0 if it is not completely inside.
template <typename Integer>
Integer At(std::span<const std::byte> payload, std::size_t offset) {
    Integer number = 0;
    if (offset + sizeof(number) <= payload.size()) {
        std::memcpy(&number, payload.data() + offset, sizeof(number));
    }
    return number;
}

// A second statement of the layout of version 2.
void CheckLastLayout(const RegistryFields& fields, std::span<const std::byte> payload, bool wide) {
    fuzz::Require(fields.initialTime == At<std::int64_t>(payload, 0));
    fuzz::Require(fields.status == At<std::uint32_t>(payload, 8));
    fuzz::Require(fields.index == At<std::uint32_t>(payload, 12));
    const std::int64_t handle = wide ? At<std::int64_t>(payload, 16) : At<std::int32_t>(payload, 16);
    fuzz::Require(fields.keyHandle == static_cast<std::uint64_t>(handle));
}

void CheckName(const std::wstring& name, std::size_t payloadSize) {
    fuzz::Require(name.find(L'\0') == std::wstring::npos);
    fuzz::Require(name.empty() || (name.size() + 1) * 2 <= payloadSize);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    TraceEvent event;
    event.version = input.Byte() % 4;
    const std::uint32_t pointerSize = input.Byte();
    event.payload = input.TakeRest();
    const RegistryFields fields = ReadFixedFields(event, pointerSize);
    CheckName(fields.name, event.payload.size());
    RegistryFields again{1, L"earlier", 2, 3, 4};
    ReadFixedFields(event, pointerSize, again);
    fuzz::Require(again.keyHandle == fields.keyHandle && again.name == fields.name &&
                  again.status == fields.status && again.index == fields.index &&
                  again.initialTime == fields.initialTime);
    const NamedHandle named = ReadFixedName(event, pointerSize);
    fuzz::Require(named.keyHandle == fields.keyHandle && named.name.size() == 2 * fields.name.size());
    if (event.version >= 2) {
        CheckLastLayout(fields, event.payload, pointerSize == 8);
    }
    return 0;
}
