#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// One line of the request log of Wine's server (`wineserver -d2`), parsed. The views are parts of the line.
struct RequestLine {
    enum class Kind {
        request,    // 0024: create_key( access=..., objattr={...} )
        reply,      // 0024: create_key() = OBJECT_NAME_EXISTS { hkey=0004 }
        keyPath,    // Open key REGISTRY\\Machine     of the request above, with the key's real path
        threadEnd,  // 0024: *killed* exit_code=0
        processEnd, // 0020: *process killed*
        clock,      // time 123456                    of the lines below; added by the filter
        lost,       // lost                           lines are missing here; added by the filter
        summary,    // summary of \REGISTRY\Keyreap mark 32 9        added by the filter
        summaryEnd, // end of summary                 added by the filter
    };

    Kind kind = Kind::request;
    std::uint32_t id = 0;    // thread; of processEnd the process
    std::string_view name;   // of a request
    std::string_view status; // of a reply: a name, or digits
    std::string_view
        fields; // between the brackets; in keyPath the path, in clock the time, in summary the mark
};

// Nothing for a line of any other form.
std::optional<RequestLine> ParseRequestLine(std::string_view line);

// Iterates over the fields of `name=value, name={...}`. Text without `=` is no field.
class RequestFields {
public:
    explicit RequestFields(std::string_view fields) : rest(fields) {}

    // Moves to the next field; false after the last one.
    bool Next();

    std::string_view Name() const { return name; }
    // Verbatim, without the braces of a list or structure.
    std::string_view Value() const { return value; }

private:
    std::string_view rest;
    std::string_view name;
    std::string_view value;
};

// The value of a field of `name=value, name={...}`, verbatim and without the braces of a list or structure.
std::optional<std::string_view> FindField(std::string_view fields, std::string_view name);

// A hexadecimal value; 0 if it is invalid.
std::uint32_t NumberValue(std::string_view value);

// The text inside L"...", with its escapes; empty for a value of any other form.
std::string_view QuotedValue(std::string_view value);

// A hexadecimal field; 0 if it is absent or invalid.
std::uint32_t NumberField(std::string_view fields, std::string_view name);

// A field that is a list of hexadecimal numbers; empty if it is absent. An invalid number is 0.
std::vector<std::uint32_t> NumbersField(std::string_view fields, std::string_view name);

// A field written as L"..." without its escapes; empty if it is absent or invalid.
std::wstring TextField(std::string_view fields, std::string_view name);

// Decodes the escapes of the server's texts: \\ \" \[ \] and the letters of C, octal and hexadecimal numbers.
std::wstring UnescapeServerText(std::string_view text);

} // namespace keyreap
