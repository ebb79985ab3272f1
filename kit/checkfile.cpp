#include "kit/checkfile.h"

#include "kit/hostfiles.h"
#include "kit/refusal.h"
#include "pe/sha1.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <span>

namespace keyreap {

namespace {

using Json = nlohmann::ordered_json;

constexpr int formatNumber = 1;

std::string_view NameOf(CheckPart part) {
    return std::ranges::find(checkPartNames, part, &CheckPartName::part)->name;
}

Json EntryJson(const std::wstring& key, const std::optional<std::wstring>& value) {
    Json json = Json::object();
    if (!key.empty()) {
        json["key"] = LosslessUtf8(key);
    }
    if (value) {
        json["value"] = LosslessUtf8(*value);
    }
    return json;
}

Json FindingJson(const CheckFinding& finding) {
    Json json = {{"rule", finding.rule}};
    json.update(EntryJson(finding.key, finding.value));
    json["sentence"] = ReadableUtf8(finding.sentence);
    return json;
}

template <typename Items, typename Function>
Json ListOf(const Items& items, Function function) {
    Json list = Json::array();
    for (const auto& item : items) {
        list.push_back(function(item));
    }
    return list;
}

Json CreatedJson(const CreatedCount& created) {
    return {{"classes", created.classes},
            {"byCapture", created.byCapture},
            {"byRegistration", created.byRegistration}};
}

// Names of files may be any bytes.
std::string TextOf(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Refusal Damaged(const std::string& fileName) {
    return Refusal(fileName + ": it isn't what a check writes; check the capture again");
}

// Reads members of one type and fails with a Refusal for any other.
class Reader {
public:
    explicit Reader(const std::string& name) : fileName(name) {}

    const Json& Member(const Json& object, const char* name) const {
        const auto found = Require(object.is_object(), object).find(name);
        Require(found != object.end(), object);
        return *found;
    }

    const std::string& Text(const Json& json) const {
        return Require(json.is_string(), json).get_ref<const std::string&>();
    }

    const Json& List(const Json& json) const { return Require(json.is_array(), json); }

    std::wstring Units(const Json& json) const {
        const std::optional<std::wstring> units = UnitsOfUtf8(Text(json));
        Require(units.has_value(), json);
        return *units;
    }

    // Of a key or a value.
    std::wstring Name(const Json& json) const {
        const std::optional<std::wstring> units = UnitsOfLossless(Text(json));
        Require(units.has_value(), json);
        return *units;
    }

    NoiseEntry Entry(const Json& json) const {
        NoiseEntry entry = {Name(Member(json, "key")), std::nullopt};
        Require(!entry.key.empty(), json);
        if (json.contains("value")) {
            entry.value = Name(Member(json, "value"));
        }
        return entry;
    }

    WrittenFinding Finding(const Json& json) const {
        WrittenFinding finding;
        finding.rule = Units(Member(json, "rule"));
        finding.sentence = Units(Member(json, "sentence"));
        finding.key = json.contains("key") ? Name(Member(json, "key")) : std::wstring();
        if (json.contains("value")) {
            finding.value = Name(Member(json, "value"));
        }
        return finding;
    }

private:
    const Json& Require(bool isSound, const Json& json) const {
        if (!isSound) {
            throw Damaged(fileName);
        }
        return json;
    }

    const std::string& fileName;
};

// What the text of a check file of this capture says.
Json CheckOf(const Reader& reader, std::string_view json, std::string_view digest,
             const std::string& fileName) {
    Json check = Json::parse(json, nullptr, false);
    if (reader.Member(check, "format") != formatNumber) {
        throw Refusal(fileName + ": it has a format that this version doesn't know; check the capture again");
    }
    if (reader.Text(reader.Member(check, "digest")) != digest) {
        throw Refusal(fileName + ": it is of another capture; check the capture again");
    }
    return check;
}

// The text of the check file beside a capture; none if there is no such file.
std::optional<std::string> CheckTextOf(const std::string& captureName) {
    const std::string fileName = CheckFileName(captureName);
    if (!IsThere(fileName)) {
        return std::nullopt;
    }
    const auto bytes = ReadWholeFile(fileName);
    if (!bytes) {
        throw Refusal(fileName + ": the check file can't be read");
    }
    return std::string(bytes->begin(), bytes->end());
}

bool HasNoisePart(const Reader& reader, const Json& parts) {
    return std::ranges::any_of(reader.List(parts), [&reader](const Json& part) {
        return reader.Text(part) == NameOf(CheckPart::Noise);
    });
}

} // namespace

std::string CheckFileName(const std::string& captureName) {
    constexpr std::string_view ending = ".reg";
    const bool hasEnding = captureName.size() > ending.size() &&
                           FoldedBytes(captureName.substr(captureName.size() - ending.size())) == ending;
    return captureName.substr(0, captureName.size() - (hasEnding ? ending.size() : 0)) + ".check.json";
}

std::string DigestOf(std::span<const std::uint8_t> captureBytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : Sha1Of(std::as_bytes(captureBytes))) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string CheckJson(const CheckReport& report) {
    Json json = {{"format", formatNumber},
                 {"capture", report.capture},
                 {"server", report.server},
                 {"digest", report.digest}};
    json["parts"] = ListOf(report.parts, NameOf);
    if (report.created) {
        json["created"] = CreatedJson(*report.created);
    }
    json["findings"] = ListOf(report.findings, FindingJson);
    json["noise"] =
        ListOf(report.noise, [](const NoiseEntry& entry) { return EntryJson(entry.key, entry.value); });
    return TextOf(json);
}

std::optional<std::vector<NoiseEntry>> NoiseIn(std::string_view json, std::string_view digest,
                                               const std::string& fileName) {
    const Reader reader(fileName);
    const Json check = CheckOf(reader, json, digest, fileName);
    const bool isChecked = HasNoisePart(reader, reader.Member(check, "parts"));
    std::vector<NoiseEntry> noise;
    for (const Json& entry : reader.List(reader.Member(check, "noise"))) {
        noise.push_back(reader.Entry(entry));
    }
    return isChecked ? std::optional(std::move(noise)) : std::nullopt;
}

std::optional<std::vector<NoiseEntry>> ReadNoise(const std::string& captureName,
                                                 std::span<const std::uint8_t> captureBytes) {
    const std::optional<std::string> text = CheckTextOf(captureName);
    return text ? NoiseIn(*text, DigestOf(captureBytes), CheckFileName(captureName)) : std::nullopt;
}

std::vector<WrittenFinding> CheckFindingsIn(std::string_view json, std::string_view digest,
                                            const std::string& fileName) {
    const Reader reader(fileName);
    const Json check = CheckOf(reader, json, digest, fileName);
    std::vector<WrittenFinding> findings;
    for (const Json& finding : reader.List(reader.Member(check, "findings"))) {
        findings.push_back(reader.Finding(finding));
    }
    return findings;
}

std::vector<WrittenFinding> ReadCheckFindings(const std::string& captureName,
                                              std::span<const std::uint8_t> captureBytes) {
    const std::optional<std::string> text = CheckTextOf(captureName);
    return text ? CheckFindingsIn(*text, DigestOf(captureBytes), CheckFileName(captureName))
                : std::vector<WrittenFinding>();
}

} // namespace keyreap
