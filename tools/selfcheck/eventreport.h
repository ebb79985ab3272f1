#pragma once

#include "etl/etlevent.h"
#include "tools/selfcheck/vocabulary.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace keyreap {

// What is reported of a recording of all registry events of a machine: how many events of each kind there
// are, and the events of a few processes, which are samples.
class EventReport : public EtlListener {
public:
    // `samples` are the processes, each with its name in the report.
    EventReport(std::map<std::uint32_t, std::string> samples, std::uint32_t pointerSize,
                const Vocabulary& vocabulary);

    void OnEvent(const EtlEvent& event) override;

    // One line a kind: the number of events by type, version, pointer size and length of the payload.
    std::vector<std::string> Kinds() const;

    // One line an event of the samples, and one for each name of a key's handle that they used. A handle has
    // a number in the order of its first use.
    std::vector<std::string> SampleEvents() const;

    // The names of the values that a sample set with success.
    const std::set<std::wstring>& ValuesSetBy(const std::string& sample) const;

    // The versions of the registry's events.
    std::string Versions() const;

    // The users' names and the spellings of Wow6432Node in the paths of keys that the samples used.
    std::string Users() const;
    std::string Nodes() const;

private:
    struct Kind {
        std::uint8_t type = 0;
        std::uint16_t version = 0;
        std::uint8_t pointerSize = 0;
        std::size_t payload = 0;

        auto operator<=>(const Kind&) const = default;
    };
    struct SampleEvent {
        std::string sample;
        std::uint8_t type = 0;
        std::uint32_t status = 0;
        std::uint64_t key = 0;
        std::wstring name;
    };

    void TakeEvent(const EtlEvent& event, const std::string& sample);
    std::set<std::wstring> SamplePaths() const;
    std::string LineOf(const SampleEvent& event, std::map<std::uint64_t, std::size_t>& numbers) const;

    std::map<std::uint32_t, std::string> samples;
    std::uint32_t pointerSize;
    const Vocabulary& vocabulary;
    std::map<Kind, std::uint64_t> kinds;
    std::vector<SampleEvent> events;
    std::map<std::uint64_t, std::wstring> names; // of handles, the last one
    std::map<std::string, std::set<std::wstring>> valuesSet;
};

} // namespace keyreap
