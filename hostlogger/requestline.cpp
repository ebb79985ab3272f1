#include "hostlogger/requestline.h"

#include "hostlogger/requestwords.h"

#include <charconv>
#include <cstddef>

namespace keyreap {

namespace {

std::optional<std::uint32_t> ParseHex(std::string_view text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, 16);
    if (result.ec != std::errc{} || result.ptr != end) {
        return {};
    }
    return number;
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\r')) {
        text.remove_suffix(1);
    }
    return text;
}

// The fields of a reply; none if the reply is only a status.
std::string_view ReplyFields(std::string_view rest) {
    if (rest.size() < 2 || rest.front() != '{' || rest.back() != '}') {
        return {};
    }
    return rest.substr(1, rest.size() - 2);
}

std::optional<RequestLine> ParseReply(RequestLine line, std::string_view rest) {
    const std::size_t status = rest.find(' ');
    line.kind = RequestLine::Kind::reply;
    line.status = rest.substr(0, status);
    if (status != std::string_view::npos) {
        line.fields = ReplyFields(Trim(rest.substr(status)));
    }
    return line;
}

std::optional<RequestLine> ParseThreadLine(std::uint32_t id, std::string_view text) {
    RequestLine line;
    line.id = id;
    if (text.starts_with(requestword::threadEnd)) {
        line.kind = RequestLine::Kind::threadEnd;
        return line;
    }
    if (text.starts_with(requestword::processEnd)) {
        line.kind = RequestLine::Kind::processEnd;
        return line;
    }
    const std::size_t bracket = text.find('(');
    if (bracket == std::string_view::npos || bracket == 0) {
        return {};
    }
    line.name = text.substr(0, bracket);
    const std::string_view rest = text.substr(bracket + 1);
    constexpr std::string_view answer = ") = ";
    if (rest.starts_with(answer)) {
        return ParseReply(line, rest.substr(answer.size()));
    }
    const std::size_t end = rest.rfind(')');
    if (end == std::string_view::npos) {
        return {};
    }
    line.fields = rest.substr(0, end);
    return line;
}

// A line of the server or the filter that names no thread.
std::optional<RequestLine> ParseServerLine(std::string_view line) {
    RequestLine parsed;
    if (line == requestword::lost) {
        parsed.kind = RequestLine::Kind::lost;
        return parsed;
    }
    if (line == requestword::summaryEnd) {
        parsed.kind = RequestLine::Kind::summaryEnd;
        return parsed;
    }
    if (line.starts_with(requestword::summary)) {
        parsed.kind = RequestLine::Kind::summary;
        parsed.fields = line.substr(requestword::summary.size());
        return parsed;
    }
    for (const std::string_view prefix :
         {requestword::openedKey, requestword::createdKey, requestword::clock}) {
        if (line.starts_with(prefix)) {
            parsed.kind =
                prefix == requestword::clock ? RequestLine::Kind::clock : RequestLine::Kind::keyPath;
            parsed.fields = line.substr(prefix.size());
            return parsed;
        }
    }
    return {};
}

// Where the closing quote is of the text that begins at `start`; the length if there is none.
std::size_t QuoteEnd(std::string_view fields, std::size_t start) {
    std::size_t at = start;
    while (at < fields.size() && fields[at] != '"') {
        at += fields[at] == '\\' ? 2U : 1U;
    }
    return at;
}

// Where the value that begins at `start` ends: at a comma outside of its braces and quotes, or at the end.
std::size_t ValueEnd(std::string_view fields, std::size_t start) {
    std::size_t depth = 0;
    for (std::size_t at = start; at < fields.size(); ++at) {
        const char letter = fields[at];
        if (letter == '"') {
            at = QuoteEnd(fields, at + 1);
        } else if (letter == '{') {
            ++depth;
        } else if (letter == '}' && depth > 0) {
            --depth;
        } else if (letter == ',' && depth == 0) {
            return at;
        }
    }
    return fields.size();
}

std::string_view WithoutBraces(std::string_view value) {
    if (value.size() >= 2 && value.front() == '{' && value.back() == '}') {
        return value.substr(1, value.size() - 2);
    }
    return value;
}

// Takes up to `most` digits of the base off the front of the text.
std::uint32_t TakeNumber(std::string_view& text, std::size_t most, int base) {
    std::uint32_t number = 0;
    const char* const end = text.data() + (most < text.size() ? most : text.size());
    const auto result = std::from_chars(text.data(), end, number, base);
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return number;
}

// The unit that an escape means. The text begins after the backslash.
wchar_t TakeEscape(std::string_view& text) {
    constexpr std::string_view letters = "abtnvfre";
    constexpr std::string_view codes = "\a\b\t\n\v\f\r\x1b";
    constexpr std::size_t hexDigits = 4;
    constexpr std::size_t octalDigits = 3;
    const char letter = text.front();
    if (letter >= '0' && letter <= '7') {
        return static_cast<wchar_t>(TakeNumber(text, octalDigits, 8));
    }
    text.remove_prefix(1);
    if (letter == 'x') {
        return static_cast<wchar_t>(TakeNumber(text, hexDigits, 16));
    }
    const std::size_t at = letters.find(letter);
    return static_cast<wchar_t>(at == std::string_view::npos ? letter : codes[at]);
}

} // namespace

std::optional<RequestLine> ParseRequestLine(std::string_view line) {
    constexpr std::size_t longestId = 8;
    const std::size_t colon = line.find(": ");
    if (colon != std::string_view::npos && colon <= longestId) {
        if (const auto id = ParseHex(line.substr(0, colon))) {
            return ParseThreadLine(*id, line.substr(colon + 2));
        }
    }
    return ParseServerLine(line);
}

bool RequestFields::Next() {
    while (!rest.empty()) {
        const std::size_t end = ValueEnd(rest, 0);
        const std::string_view field = Trim(rest.substr(0, end));
        rest.remove_prefix(end < rest.size() ? end + 1 : end);
        if (const std::size_t sign = field.find('='); sign != std::string_view::npos) {
            name = field.substr(0, sign);
            value = WithoutBraces(field.substr(sign + 1));
            return true;
        }
    }
    return false;
}

std::optional<std::string_view> FindField(std::string_view fields, std::string_view name) {
    for (RequestFields field(fields); field.Next();) {
        if (field.Name() == name) {
            return field.Value();
        }
    }
    return {};
}

std::uint32_t NumberValue(std::string_view value) {
    return ParseHex(value).value_or(0);
}

std::uint32_t NumberField(std::string_view fields, std::string_view name) {
    const auto value = FindField(fields, name);
    return value ? NumberValue(*value) : 0;
}

std::string_view QuotedValue(std::string_view value) {
    const bool quoted = value.size() >= 3 && value.starts_with("L\"") && value.back() == '"';
    return quoted ? value.substr(2, value.size() - 3) : std::string_view();
}

std::vector<std::uint32_t> NumbersField(std::string_view fields, std::string_view name) {
    const std::string_view list = FindField(fields, name).value_or(std::string_view());
    std::vector<std::uint32_t> numbers;
    std::size_t at = 0;
    while (at < list.size()) {
        const std::size_t end = ValueEnd(list, at);
        numbers.push_back(NumberValue(Trim(list.substr(at, end - at))));
        at = end + 1;
    }
    return numbers;
}

std::wstring TextField(std::string_view fields, std::string_view name) {
    return UnescapeServerText(QuotedValue(FindField(fields, name).value_or(std::string_view())));
}

std::wstring UnescapeServerText(std::string_view text) {
    std::wstring plain;
    plain.reserve(text.size());
    while (!text.empty()) {
        const char letter = text.front();
        text.remove_prefix(1);
        if (letter == '\\' && !text.empty()) {
            plain += TakeEscape(text);
        } else {
            plain += static_cast<wchar_t>(static_cast<unsigned char>(letter));
        }
    }
    return plain;
}

} // namespace keyreap
