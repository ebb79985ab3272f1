#include "trace/schema/eventvalues.h"

#include "etl/payload.h"
#include "platform/core/text/compare.h"
#include "trace/schema/schemahost.h"

#include <algorithm>
#include <array>
#include <optional>

namespace keyreap {

namespace {

// CIM types by their published numbers (CIMTYPE_ENUMERATION, wbemcli.h).
constexpr std::uint32_t cimArrayBit = 0x2000;
constexpr std::uint32_t cimString = 8;
constexpr std::uint32_t cimObject = 13;
constexpr std::uint32_t cimUint32 = 19;
constexpr std::uint32_t cimUint64 = 21;
constexpr std::size_t guidSize = 16;

struct NumberForm {
    std::uint32_t cimType;
    std::size_t size;
    ValueType type;
};

constexpr std::array<NumberForm, 10> numberForms{{
    {16, 1, ValueType::i1},  // CIM_SINT8
    {17, 1, ValueType::ui1}, // CIM_UINT8
    {2, 2, ValueType::i2},   // CIM_SINT16
    {18, 2, ValueType::ui2}, // CIM_UINT16
    {3, 4, ValueType::i4},   // CIM_SINT32
    {cimUint32, 4, ValueType::ui4},
    {20, 8, ValueType::i8}, // CIM_SINT64
    {cimUint64, 8, ValueType::ui8},
    {11, 4, ValueType::integer},  // CIM_BOOLEAN: four bytes in an event
    {103, 2, ValueType::integer}, // CIM_CHAR16
}};

using Result = std::optional<EventValue>;

Result TextValue(std::wstring text) {
    return EventValue{ValueType::bstr, 0, std::move(text)};
}

bool Equals(const std::optional<std::wstring>& qualifier, std::wstring_view word) {
    return qualifier && CompareFolded(*qualifier, word) == 0;
}

// The number of bytes before the first zero byte of a wide text: its length if it were read as narrow text.
std::size_t LengthAsNarrowText(std::wstring_view text) {
    std::size_t length = 0;
    for (const wchar_t unit : text) {
        if ((unit & 0x00FF) == 0) {
            break;
        }
        ++length;
        if ((unit & 0xFF00) == 0) {
            break;
        }
        ++length;
    }
    return length;
}

// No event has more bytes than this, and so no array more elements. The limit is needed for texts that take
// no byte: they would never reach the end of the payload.
constexpr std::int32_t mostElements = 0x10000;

// A count with its two bytes swapped.
std::uint16_t Swapped(std::uint16_t count) {
    return static_cast<std::uint16_t>((count & 0xFF) << 8 | count >> 8);
}

// Reads one payload from its start. The schema decides how far each property moves the cursor. After the
// cursor has left the payload nothing more is read.
class Decoder {
public:
    explicit Decoder(std::span<const std::byte> payload) : rest(payload) {}

    std::vector<EventValue> ReadProperty(const PropertyDescriptor& property, std::uint32_t pointerSize);

private:
    struct TextCount {
        std::size_t characters = 0;
        bool toEnd = false; // the text ends with the payload
    };

    std::vector<EventValue> ReadElements(std::uint32_t cimType, const PropertyQualifiers& qualifiers,
                                         std::int32_t count);
    Result ReadElement(std::uint32_t cimType, const PropertyQualifiers& qualifiers);
    Result ReadNumber(ValueType type, std::size_t size);
    Result ReadText(const PropertyQualifiers& qualifiers);
    std::optional<TextCount> ReadTextCount(const std::wstring& termination);
    Result ReadTerminatedWide();
    Result ReadTerminatedNarrow();
    Result ReadCountedWide(TextCount count);
    Result ReadCountedNarrow(TextCount count);
    void Move(std::size_t size) { rest = rest.subspan(std::min(size, rest.size())); }

    std::span<const std::byte> rest; // from the cursor on
};

std::vector<EventValue> Decoder::ReadProperty(const PropertyDescriptor& property, std::uint32_t pointerSize) {
    const PropertyQualifiers& qualifiers = property.qualifiers;
    if (qualifiers.pointer) {
        // The qualifier takes precedence over the CIM type, and over an array.
        return ReadElements(pointerSize == 4 ? cimUint32 : cimUint64, qualifiers, 1);
    }
    if ((property.cimType & cimArrayBit) == 0) {
        return ReadElements(property.cimType, qualifiers, 1);
    }
    return ReadElements(property.cimType & ~cimArrayBit, qualifiers, qualifiers.max.value_or(0));
}

std::vector<EventValue> Decoder::ReadElements(std::uint32_t cimType, const PropertyQualifiers& qualifiers,
                                              std::int32_t count) {
    std::vector<EventValue> values;
    for (std::int32_t i = 0; i < std::min(count, mostElements); ++i) {
        const std::size_t before = rest.size();
        if (Result value = ReadElement(cimType, qualifiers)) {
            values.push_back(std::move(*value));
        } else if (rest.empty() || rest.size() == before) {
            break; // no later element can have a value
        }
    }
    return values;
}

Result Decoder::ReadElement(std::uint32_t cimType, const PropertyQualifiers& qualifiers) {
    if (cimType == cimString) {
        return ReadText(qualifiers);
    }
    if (cimType == cimObject && Equals(qualifiers.extension, L"Guid")) {
        Move(guidSize);
        return std::nullopt;
    }
    const auto form = std::ranges::find(numberForms, cimType, &NumberForm::cimType);
    return form == numberForms.end() ? std::nullopt : ReadNumber(form->type, form->size);
}

Result Decoder::ReadNumber(ValueType type, std::size_t size) {
    Result value;
    if (const Payload payload(rest); payload.Holds(0, size)) {
        value = EventValue{type, payload.NumberOf(0, size), {}};
    }
    Move(size);
    return value;
}

Result Decoder::ReadText(const PropertyQualifiers& qualifiers) {
    const bool wide = qualifiers.format;
    const std::optional<std::wstring>& termination = qualifiers.stringTermination;
    if (!termination || Equals(termination, L"NullTerminated")) {
        return wide ? ReadTerminatedWide() : ReadTerminatedNarrow();
    }
    const std::optional<TextCount> count = ReadTextCount(*termination);
    if (!count) {
        return std::nullopt;
    }
    return wide ? ReadCountedWide(*count) : ReadCountedNarrow(*count);
}

std::optional<Decoder::TextCount> Decoder::ReadTextCount(const std::wstring& termination) {
    if (CompareFolded(termination, L"NotCounted") == 0) {
        return TextCount{rest.size(), true};
    }
    const bool reversed = CompareFolded(termination, L"ReverseCounted") == 0;
    if (!reversed && CompareFolded(termination, L"Counted") != 0) {
        return TextCount{};
    }
    const Result count = ReadNumber(ValueType::ui2, sizeof(std::uint16_t));
    if (!count) {
        return std::nullopt;
    }
    const auto number = static_cast<std::uint16_t>(count->number);
    return TextCount{reversed ? Swapped(number) : number};
}

Result Decoder::ReadTerminatedWide() {
    Payload::WideRun run = Payload(rest).WideText(0);
    Move((run.text.size() + 1) * 2);
    return run.terminated ? TextValue(std::move(run.text)) : std::nullopt;
}

Result Decoder::ReadCountedWide(TextCount count) {
    const Payload payload(rest);
    const bool whole = count.toEnd || payload.Holds(0, count.characters * 2);
    Payload::WideRun run = payload.WideText(0, count.characters);
    Move(count.characters * 2);
    return whole || run.terminated ? TextValue(std::move(run.text)) : std::nullopt;
}

Result Decoder::ReadTerminatedNarrow() {
    const Payload::NarrowRun run = Payload(rest).NarrowText(0);
    std::wstring text = WidenNarrowText(run.text);
    // Deliberate: the converted text's bytes move the cursor, not the narrow text's (two for any ASCII word),
    // because decoded values must not change.
    Move(LengthAsNarrowText(text) + 1);
    return run.terminated ? TextValue(std::move(text)) : std::nullopt;
}

Result Decoder::ReadCountedNarrow(TextCount count) {
    Result value;
    if (const Payload payload(rest); payload.Holds(0, count.characters)) {
        value = TextValue(WidenNarrowText(payload.Bytes(0, count.characters)));
    }
    Move(count.characters);
    return value;
}

} // namespace

bool DecodeValues(EventValues& values, std::span<const std::byte> payload) {
    Decoder decoder(payload);
    values.values.clear();
    for (const PropertyDescriptor& property : values.schema->properties) {
        values.values.push_back(decoder.ReadProperty(property, values.schema->pointerSize));
    }
    return true;
}

int FindProperty(const EventValues& values, std::wstring_view name) {
    const std::vector<PropertyDescriptor>& properties = values.schema->properties;
    for (std::size_t i = 0; i < properties.size(); ++i) {
        if (CompareFolded(properties[i].name, name) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

} // namespace keyreap
