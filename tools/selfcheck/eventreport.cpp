#include "tools/selfcheck/eventreport.h"

#include "etl/etlclasses.h"
#include "etl/registryevent.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "trace/registryfields.h"

#include <utility>

namespace keyreap {

namespace {

bool NamesAValue(std::uint8_t type) {
    return type == registryevent::setValue || type == registryevent::deleteValue ||
           type == registryevent::queryValue;
}

bool NamesAHandle(std::uint8_t type) {
    return type >= registryevent::kcbCreate && type <= registryevent::kcbRundownEnd;
}

std::string Joined(const std::set<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

} // namespace

EventReport::EventReport(std::map<std::uint32_t, std::string> samples, std::uint32_t pointerSize,
                         const Vocabulary& vocabulary)
    : samples(std::move(samples)), pointerSize(pointerSize), vocabulary(vocabulary) {}

void EventReport::OnEvent(const EtlEvent& event) {
    if (event.guid != etlclass::registry) {
        return;
    }
    ++kinds[{event.type, event.version, event.pointerSize, event.payload.size()}];
    const auto sample = samples.find(event.processId);
    if (NamesAHandle(event.type) || sample != samples.end()) {
        TakeEvent(event, sample != samples.end() ? sample->second : "");
    }
}

// The names of handles count whoever made them.
void EventReport::TakeEvent(const EtlEvent& event, const std::string& sample) {
    const RegistryFields fields = ReadFixedFields(event, pointerSize);
    if (NamesAHandle(event.type)) {
        names[fields.keyHandle] = fields.name;
        return;
    }
    events.push_back({sample, event.type, fields.status, fields.keyHandle, fields.name});
    if (event.type == registryevent::setValue && fields.status == 0) {
        valuesSet[sample].insert(fields.name);
    }
}

std::vector<std::string> EventReport::Kinds() const {
    std::vector<std::string> lines;
    for (const auto& [kind, count] : kinds) {
        lines.push_back(std::to_string(count) + " of type " + std::to_string(kind.type) + " version " +
                        std::to_string(kind.version) + " pointer size " + std::to_string(kind.pointerSize) +
                        " payload " + std::to_string(kind.payload));
    }
    return lines;
}

std::string EventReport::LineOf(const SampleEvent& event,
                                std::map<std::uint64_t, std::size_t>& numbers) const {
    const std::size_t number =
        event.key == 0 ? 0 : numbers.try_emplace(event.key, numbers.size() + 1).first->second;
    const std::string name =
        NamesAValue(event.type)
            ? (event.name.empty() || vocabulary.Contains(event.name) ? PlainAscii(event.name) : "?")
            : vocabulary.Reported(event.name);
    return event.sample + " type " + std::to_string(event.type) + " status " +
           PlainAscii(HexToText(event.status, 8)) + " key " + std::to_string(number) + " name " + name;
}

std::vector<std::string> EventReport::SampleEvents() const {
    std::vector<std::string> lines;
    std::map<std::uint64_t, std::size_t> numbers;
    for (const SampleEvent& event : events) {
        lines.push_back(LineOf(event, numbers));
    }
    std::map<std::size_t, std::uint64_t> keys;
    for (const auto& [key, number] : numbers) {
        keys[number] = key;
    }
    for (const auto& [number, key] : keys) {
        const auto name = names.find(key);
        lines.push_back("key " + std::to_string(number) + " is " +
                        (name == names.end() ? "not named" : vocabulary.Reported(name->second)));
    }
    return lines;
}

const std::set<std::wstring>& EventReport::ValuesSetBy(const std::string& sample) const {
    static const std::set<std::wstring> nothing;
    const auto found = valuesSet.find(sample);
    return found == valuesSet.end() ? nothing : found->second;
}

std::string EventReport::Versions() const {
    std::set<std::string> versions;
    for (const auto& [kind, count] : kinds) {
        versions.insert(std::to_string(kind.version));
    }
    return Joined(versions);
}

std::set<std::wstring> EventReport::SamplePaths() const {
    std::set<std::wstring> paths;
    for (const SampleEvent& event : events) {
        if (!NamesAValue(event.type)) {
            paths.insert(event.name);
        }
        if (const auto name = names.find(event.key); name != names.end()) {
            paths.insert(name->second);
        }
    }
    return paths;
}

std::string EventReport::Users() const {
    std::set<std::string> users;
    for (const std::wstring& path : SamplePaths()) {
        const std::vector<std::wstring> parts = SplitText(path, L"\\", true);
        if (parts.size() > 2 && EqualFolded(parts[0], L"REGISTRY") && EqualFolded(parts[1], L"USER")) {
            users.insert(vocabulary.Reported(parts[2]));
        }
    }
    return Joined(users);
}

std::string EventReport::Nodes() const {
    std::set<std::string> nodes;
    for (const std::wstring& path : SamplePaths()) {
        for (const std::wstring& name : SplitText(path, L"\\", true)) {
            if (EqualFolded(name, L"Wow6432Node")) {
                nodes.insert(PlainAscii(name));
            }
        }
    }
    return Joined(nodes);
}

} // namespace keyreap
