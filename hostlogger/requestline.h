#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// One line of the request log of Wine's server (`wineserver -d2`), cut into its pieces. The views are parts
// of the line.
struct RequestLine {
    enum class Kind {
        request,    // 0024: create_key( access=..., objattr={...} )
        reply,      // 0024: create_key() = OBJECT_NAME_EXISTS { hkey=0004 }
        keyPath,    // Open key REGISTRY\\Machine     of the request above, under the key's real name
        threadEnd,  // 0024: *killed* exit_code=0
        processEnd, // 0020: *process killed*
        clock,      // time 123456                    of the lines below, added by the filter
        lost,       // lost                           here lines are missing, added by the filter
    };

    Kind kind = Kind::request;
    std::uint32_t id = 0;    // thread; of processEnd the process
    std::string_view name;   // of the request
    std::string_view status; // of a reply: a name, or digits
    std::string_view fields; // between the brackets; of keyPath the path, of clock the time
};

// Nothing for a line of any other form.
std::optional<RequestLine> ParseRequestLine(std::string_view line);

// Goes through the fields of `name=value, name={...}` one by one. What has no `=` is no field.
class RequestFields {
public:
    explicit RequestFields(std::string_view fields) : rest(fields) {}

    // Goes to the next field; false behind the last one.
    bool Next();

    std::string_view Name() const { return name; }
    // As it stands, without the braces of a list or structure.
    std::string_view Value() const { return value; }

private:
    std::string_view rest;
    std::string_view name;
    std::string_view value;
};

// The text of a field among `name=value, name={...}` as it stands, without the braces of a list or structure.
std::optional<std::string_view> FindField(std::string_view fields, std::string_view name);

// A value written in hexadecimal; 0 if it isn't one.
std::uint32_t NumberValue(std::string_view value);

// What stands inside L"...", with its escapes; empty if the value isn't written so.
std::string_view QuotedValue(std::string_view value);

// A field written in hexadecimal; 0 if it is absent or isn't one.
std::uint32_t NumberField(std::string_view fields, std::string_view name);

// A field that is a list of such numbers; empty if it is absent, and 0 in the place of what isn't one.
std::vector<std::uint32_t> NumbersField(std::string_view fields, std::string_view name);

// A field written as L"..." with its escapes undone; empty if it is absent or isn't one.
std::wstring TextField(std::string_view fields, std::string_view name);

// Undoes the escapes of the server's texts: \\ \" \[ \] and the letters of C, octal and hexadecimal numbers.
std::wstring UnescapeServerText(std::string_view text);

} // namespace keyreap
