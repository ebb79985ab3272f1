#include "tests/native/fuzzinput.h"
#include "trace/schema/eventvalues.h"

using namespace keyreap;

namespace {

constexpr std::uint32_t arrayBit = 0x2000;

std::optional<std::wstring> Termination(std::uint8_t choice) {
    static constexpr const wchar_t* words[] = {L"NullTerminated", L"Counted", L"ReverseCounted",
                                               L"NotCounted", L"Dollar"};
    return choice < std::size(words) ? std::optional<std::wstring>(words[choice]) : std::nullopt;
}

PropertyDescriptor ReadProperty(fuzz::Input& input) {
    static constexpr std::uint32_t types[] = {2, 3, 4, 5, 8, 8, 8, 11, 13, 16, 17, 18, 19, 20, 21, 101, 103};
    PropertyDescriptor property;
    const std::uint8_t type = input.Byte();
    property.cimType = types[type % std::size(types)] | ((type & 0x80) != 0 ? arrayBit : 0);
    const std::uint8_t bits = input.Byte();
    property.qualifiers.pointer = (bits & 0x0F) == 0x0F;
    property.qualifiers.format = (bits & 0x10) != 0;
    property.qualifiers.stringTermination = Termination(bits & 0x07);
    if ((bits & 0x20) != 0) {
        property.qualifiers.extension = L"guid";
    }
    if ((bits & 0x40) != 0) {
        property.qualifiers.max = static_cast<std::int8_t>(input.Byte());
    }
    return property;
}

EventSchema ReadSchema(fuzz::Input& input) {
    EventSchema schema;
    schema.pointerSize = input.Byte();
    for (int left = input.Byte() % 16; left > 0; --left) {
        schema.properties.push_back(ReadProperty(input));
    }
    return schema;
}

std::size_t MostValues(const PropertyDescriptor& property) {
    if (property.qualifiers.pointer || (property.cimType & arrayBit) == 0) {
        return 1;
    }
    return static_cast<std::size_t>(std::max(property.qualifiers.max.value_or(0), 0));
}

void CheckValue(const EventValue& value, std::size_t payloadSize) {
    if (value.type == ValueType::bstr) {
        fuzz::Require(value.number == 0 && value.text.size() <= payloadSize);
    } else {
        fuzz::Require(value.text.empty() && payloadSize > 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const EventSchema schema = ReadSchema(input);
    const std::span<const std::byte> payload = input.TakeRest();
    EventValues values(schema);
    fuzz::Require(DecodeValues(values, payload));
    fuzz::Require(values.values.size() == schema.properties.size());
    for (std::size_t i = 0; i < schema.properties.size(); ++i) {
        fuzz::Require(values.values[i].size() <= MostValues(schema.properties[i]));
        for (const EventValue& value : values.values[i]) {
            CheckValue(value, payload.size());
        }
    }
    return 0;
}
