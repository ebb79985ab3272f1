#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace keyreap {

// JSON that may be inside a script element of a page: printable ASCII alone, without the signs of markup. A
// text keeps each of its units, which no UTF-8 does for half a character. The caller nests correctly.
class JsonWriter {
public:
    JsonWriter& BeginObject() { return Open('{'); }
    JsonWriter& EndObject() { return Close('}'); }
    JsonWriter& BeginArray() { return Open('['); }
    JsonWriter& EndArray() { return Close(']'); }

    // The name of the next value of an object; of letters.
    JsonWriter& Name(std::string_view name);

    JsonWriter& Text(std::wstring_view units);
    JsonWriter& Number(std::size_t number);
    JsonWriter& Null();

    const std::string& Json() const { return json; }

private:
    JsonWriter& Open(char bracket);
    JsonWriter& Close(char bracket);
    void Separate();

    std::string json;
    bool needsComma = false;
};

} // namespace keyreap
