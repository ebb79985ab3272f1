#include "hostlogger/filter/requestforms.h"

#include "hostlogger/filter/logline.h"
#include "hostlogger/filter/servernames.h"
#include "hostlogger/requestline.h"
#include "hostlogger/requeststatus.h"
#include "hostlogger/requestwords.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace keyreap {
namespace {

enum class FieldForm {
    number,
    handle,     // a number that isn't 0
    numbers,    // a list in braces
    text,       // L"..."
    attributes, // a structure that names a key; may be empty
    image,      // a structure about a mapped image; empty for other mappings
};

struct NeededField {
    std::string_view name;
    FieldForm form = FieldForm::number;
};

constexpr std::array attributesFields = {NeededField{"rootdir"}, NeededField{"attributes"},
                                         NeededField{"name", FieldForm::text}};
constexpr std::array imageFields = {NeededField{"machine"}, NeededField{"image_flags"}};

constexpr std::array handle = {NeededField{"handle"}};
constexpr std::array key = {NeededField{"hkey"}};
constexpr std::array foundKey = {NeededField{"hkey", FieldForm::handle}};
constexpr std::array keyAndName = {NeededField{"hkey"}, NeededField{"name", FieldForm::text}};
constexpr std::array createdKey = {NeededField{"access"}, NeededField{"objattr", FieldForm::attributes}};
constexpr std::array openedKey = {NeededField{"parent"}, NeededField{"access"}, NeededField{"attributes"},
                                  NeededField{"name", FieldForm::text}};
constexpr std::array duplication = {NeededField{"src_process"}, NeededField{"src_handle"},
                                    NeededField{"dst_process"}, NeededField{"attributes"},
                                    NeededField{"options"}};
constexpr std::array image = {NeededField{"image", FieldForm::image}};
constexpr std::array processId = {NeededField{"pid"}};
constexpr std::array newProcess = {NeededField{"parent_process"}, NeededField{"flags"},
                                   NeededField{"handles", FieldForm::numbers}};
constexpr std::array processAndHandle = {NeededField{"pid"}, NeededField{"handle"}};
constexpr std::array process = {NeededField{"process"}};
constexpr std::array threadId = {NeededField{"tid"}};
constexpr std::array handleFlags = {NeededField{"handle"}, NeededField{"flags"}, NeededField{"mask"}};

using NeededFields = std::span<const NeededField>;

struct RequestForm {
    std::string_view name;
    NeededFields request = {};
    NeededFields reply = {}; // if the request succeeded
};

constexpr std::array requestForms = {
    RequestForm{requestword::closeHandle, handle},
    RequestForm{requestword::createKey, createdKey, foundKey},
    RequestForm{requestword::deleteKey, key},
    RequestForm{requestword::deleteValue, keyAndName},
    RequestForm{requestword::duplicateHandle, duplication, handle},
    RequestForm{requestword::queryValue, keyAndName},
    RequestForm{requestword::mappingInfo, {}, image},
    RequestForm{requestword::debugInfo, handle},
    RequestForm{requestword::firstThread, {}, processId},
    RequestForm{requestword::newProcess, newProcess, processAndHandle},
    RequestForm{requestword::newThread, process, threadId},
    RequestForm{requestword::openKey, openedKey, foundKey},
    RequestForm{requestword::openProcess, processId, handle},
    RequestForm{requestword::renameKey, keyAndName},
    RequestForm{requestword::setHandleInfo, handleFlags},
    RequestForm{requestword::setValue, keyAndName},
};
static_assert(std::ranges::is_sorted(requestForms, {}, &RequestForm::name));

// As the tracker reads it: hexadecimal, of at most 32 bits.
bool IsNumber(std::string_view value) {
    constexpr std::size_t mostDigits = 8;
    return !value.empty() && value.size() <= mostDigits && std::ranges::all_of(value, IsHexDigit);
}

// Whether there is a quote without an escape.
bool HasQuote(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"') {
            return true;
        }
        at += text[at] == '\\' ? 1 : 0;
    }
    return false;
}

// L"...", as the tracker decodes it.
bool IsText(std::string_view value) {
    constexpr std::string_view begin = "L\"";
    if (value.size() <= begin.size() || !value.starts_with(begin) || !value.ends_with('"')) {
        return false;
    }
    const std::string_view text = QuotedValue(value);
    return HasKnownEscapes(text) && !HasQuote(text);
}

bool HasFields(std::string_view fields, NeededFields needed);

bool HasForm(std::string_view value, FieldForm form) {
    switch (form) {
    case FieldForm::number:
        return IsNumber(value);
    case FieldForm::handle:
        return IsNumber(value) && NumberValue(value) != 0;
    case FieldForm::numbers:
        return std::ranges::all_of(value, [](char letter) { return letter == ',' || IsHexDigit(letter); });
    case FieldForm::text:
        return IsText(value);
    case FieldForm::attributes:
        return value.empty() || HasFields(value, attributesFields);
    case FieldForm::image:
        return value.empty() || HasFields(value, imageFields);
    }
    return false;
}

// The needed fields are listed in their order in the line, so one pass over the line is enough.
bool HasFields(std::string_view fields, NeededFields needed) {
    RequestFields field(fields);
    return std::ranges::all_of(needed, [&](const NeededField& wanted) {
        bool found = field.Next();
        while (found && field.Name() != wanted.name) {
            found = field.Next();
        }
        return found && HasForm(field.Value(), wanted.form);
    });
}

bool HasReplyForm(std::string_view reply, NeededFields needed) {
    const std::string_view status = reply.substr(0, reply.find(' '));
    const std::string_view fields = reply.substr(std::min(status.size() + 1, reply.size()));
    const bool hasFields = fields.starts_with("{ ") && fields.ends_with(" }");
    if ((!fields.empty() && !hasFields) || !(IsNumber(status) || IsServerStatus(status))) {
        return false;
    }
    const std::uint32_t number = ServerStatus(status);
    const bool succeeded = number == 0 || number == statusObjectNameExists;
    return !succeeded || HasFields(hasFields ? fields.substr(1, fields.size() - 2) : "", needed);
}

} // namespace

bool HasKnownEscapes(std::string_view text) {
    constexpr std::string_view known = "\\\"[]abtnvfre01234567";
    for (std::size_t at = 0; at < text.size(); ++at) {
        constexpr unsigned char last = 0x7F;
        if (text[at] < ' ' || static_cast<unsigned char>(text[at]) > last) {
            return false;
        }
        if (text[at] == '\\') {
            const std::string_view escape = text.substr(++at, 2);
            const bool isHex = escape.size() == 2 && escape[0] == 'x' && IsHexDigit(escape[1]);
            if (!isHex && (escape.empty() || known.find(escape[0]) == std::string_view::npos)) {
                return false;
            }
        }
    }
    return true;
}

bool HasNeededForm(std::string_view name, std::string_view afterName) {
    constexpr std::string_view replied = "() = ";
    constexpr std::string_view begin = "( ";
    constexpr std::string_view end = " )";
    const auto found = std::ranges::lower_bound(requestForms, name, {}, &RequestForm::name);
    if (found == requestForms.end() || found->name != name) {
        return true;
    }
    if (afterName.starts_with(replied)) {
        return HasReplyForm(afterName.substr(replied.size()), found->reply);
    }
    if (!afterName.starts_with(begin) || !afterName.ends_with(end)) {
        return false;
    }
    return HasFields(afterName.substr(begin.size(), afterName.size() - begin.size() - end.size() + 1),
                     found->request);
}

} // namespace keyreap
