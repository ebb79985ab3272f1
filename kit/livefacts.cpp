#include "kit/livefacts.h"

#include "platform/core/text/utf8.h"

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

namespace keyreap {

namespace {

using Json = nlohmann::json;

std::wstring TextIn(const Json& json, const char* name) {
    const auto found = json.find(name);
    const bool isText = found != json.end() && found->is_string();
    return isText ? UnitsOfLossless(found->get<std::string>()).value_or(std::wstring()) : std::wstring();
}

bool FlagIn(const Json& json, const char* name) {
    const auto found = json.find(name);
    return found != json.end() && found->is_boolean() && found->get<bool>();
}

std::optional<std::uint32_t> NumberIn(const Json& json, const char* name) {
    const auto found = json.find(name);
    const bool isNumber = found != json.end() && found->is_number_unsigned() &&
                          found->get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max();
    return isNumber ? std::optional(found->get<std::uint32_t>()) : std::nullopt;
}

std::optional<std::uint8_t> DigitOf(char unit) {
    constexpr std::string_view digits = "0123456789abcdef";
    const std::size_t at = digits.find(unit);
    return at == std::string_view::npos ? std::nullopt : std::optional(static_cast<std::uint8_t>(at));
}

std::vector<std::uint8_t> BytesOf(std::string_view hex) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const auto high = DigitOf(hex[i]);
        const auto low = DigitOf(hex[i + 1]);
        if (!high || !low) {
            break;
        }
        bytes.push_back(static_cast<std::uint8_t>(*high << 4 | *low));
    }
    return bytes;
}

std::optional<ValueData> DataIn(const Json& json) {
    const auto data = json.find("data");
    const std::optional<std::uint32_t> type = NumberIn(json, "type");
    if (data == json.end() || !data->is_string() || !type) {
        return std::nullopt;
    }
    return ValueData{*type, BytesOf(data->get<std::string>())};
}

// Calls visit(value) for each object of the list `values`.
template <typename Visit>
void ForEachValue(const Json& answer, const Visit& visit) {
    const auto values = answer.find("values");
    if (values != answer.end() && values->is_array()) {
        for (const Json& value : *values) {
            if (value.is_object()) {
                visit(value);
            }
        }
    }
}

} // namespace

std::size_t LiveSteps::Add(Json step) {
    steps.push_back(std::move(step));
    return steps.size() - 1;
}

std::size_t LiveSteps::Ask(Json request) {
    return Add({{"step", "ask"}, {"request", std::move(request)}});
}

Json LiveSteps::Request() const {
    return {{"question", "steps"}, {"steps", steps}};
}

std::vector<Json> LiveSteps::AnswersOf(std::size_t step) const {
    std::vector<Json> found;
    std::ranges::copy_if(answers, std::back_inserter(found), [step](const Json& answer) {
        const auto number = answer.find("step");
        return number != answer.end() && number->is_number_unsigned() && number->get<std::size_t>() == step;
    });
    return found;
}

bool LiveSteps::IsDone(std::size_t step) const {
    const std::vector<Json> own = AnswersOf(step);
    return !own.empty() &&
           (own.back().contains("done") || own.back().contains("status") || own.back().contains("error"));
}

std::vector<KeyChange> ChangesIn(const std::vector<Json>& answers) {
    std::vector<KeyChange> changes;
    for (const Json& answer : answers) {
        if (!answer.contains("key")) {
            continue;
        }
        KeyChange& change = changes.emplace_back();
        change.key = TextIn(answer, "key");
        change.isCreated = FlagIn(answer, "created");
        change.isRemoved = FlagIn(answer, "removed");
        ForEachValue(answer, [&change](const Json& value) {
            const auto before = value.find("before");
            const bool wasThere = before != value.end() && before->is_object();
            change.values.push_back(
                {TextIn(value, "name"), wasThere ? DataIn(*before) : std::nullopt, DataIn(value)});
        });
    }
    return changes;
}

std::vector<KeyState> StatesIn(const std::vector<Json>& answers) {
    std::vector<KeyState> states;
    for (const Json& answer : answers) {
        if (!answer.contains("key")) {
            continue;
        }
        KeyState& state = states.emplace_back();
        state.key = TextIn(answer, "key");
        state.isThere = FlagIn(answer, "isThere");
        ForEachValue(answer, [&state](const Json& value) {
            state.values.emplace_back(TextIn(value, "name"), DataIn(value).value_or(ValueData()));
        });
    }
    return states;
}

std::vector<DependencyFact> DependenciesIn(const std::vector<Json>& answers) {
    std::vector<DependencyFact> dependencies;
    for (const Json& answer : answers) {
        if (answer.contains("name")) {
            dependencies.push_back({TextIn(answer, "name"), TextIn(answer, "path"),
                                    static_cast<int>(NumberIn(answer, "bitness").value_or(0)),
                                    FlagIn(answer, "isDelayed"), TextIn(answer, "importer")});
        }
    }
    return dependencies;
}

std::optional<std::uint32_t> NumberIn(const std::vector<Json>& answers, const char* name) {
    for (const Json& answer : answers) {
        if (const auto number = NumberIn(answer, name)) {
            return number;
        }
    }
    return std::nullopt;
}

} // namespace keyreap
