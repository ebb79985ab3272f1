#include "benchmarks/partbench.h"
#include "platform/core/text/compare.h"
#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/registrylog.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace keyreap {

namespace {

constexpr std::array<std::wstring_view, 4> keysOfClass = {L"", L"\\InprocServer32", L"\\ProgID",
                                                          L"\\TypeLib"};
constexpr std::array<std::wstring_view, 4> valueNames = {L"", L"ThreadingModel", L"AppID",
                                                         L"LocalizedString"};

using Operations = std::vector<RegistryOperation>;

// Operations with the texts that they name.
struct MadeOperations {
    Arena texts;
    Operations operations;
};

std::wstring KeyAt(std::size_t number) {
    const std::wstring digits = std::to_wstring(1'000'000 + number / keysOfClass.size());
    return L"CLSID\\{79EA0000-BAF9-11CE-8C82-0000A" + digits + L"}" +
           std::wstring(keysOfClass[number % keysOfClass.size()]);
}

void AddOperation(MadeOperations& made, std::uint32_t type, std::wstring_view key,
                  std::wstring_view value = {}) {
    RegistryOperation operation;
    operation.type = type;
    operation.root = classesRoot;
    operation.keyPath = key;
    operation.valueName = value;
    made.operations.push_back(operation);
}

// Like a server, which creates a key and sets its values, and later checks them.
std::shared_ptr<const MadeOperations> MakeOperations(std::size_t count, std::size_t keys) {
    const auto made = std::make_shared<MadeOperations>();
    Operations& operations = made->operations;
    operations.reserve(count);
    while (operations.size() < count) {
        const bool looksUp = operations.size() >= count / 2;
        for (std::size_t number = 0; number < keys && operations.size() < count; ++number) {
            const std::wstring_view key = made->texts.Keep(KeyAt(number));
            AddOperation(*made, looksUp ? registryevent::openKey : registryevent::createKey, key);
            for (const std::wstring_view name : valueNames) {
                AddOperation(*made, looksUp ? registryevent::queryValue : registryevent::setValue, key, name);
            }
        }
    }
    return made;
}

// The simplest log, which a replay could use if it needed no tree: the operations by full path.
class PathMap {
public:
    void RecordOperations(const Operations& operations) {
        for (const RegistryOperation& operation : operations) {
            List& list = lists[PathOf(operation)];
            list.entries.push_back(
                {operation.type, operation.status, operation.initialTime, operation.processId});
            list.outcome = OutcomeAfter(list.outcome, operation.type);
        }
    }

    std::size_t Size() const { return lists.size(); }

private:
    // Names are case-insensitive; a NUL separates a value's name from its key.
    static std::wstring PathOf(const RegistryOperation& operation) {
        std::wstring path(operation.keyPath);
        if (ConcernsValue(operation.type)) {
            path += L'\0';
            path += operation.valueName;
        }
        LetterFoldingNameRules().Fold(path);
        return path;
    }

    struct List {
        std::vector<OperationEntry> entries;
        Outcome outcome = Outcome::none;
    };

    std::unordered_map<std::wstring, List> lists;
};

class LastingCount : public RegistryLogVisitor {
public:
    void OnKey(PredefinedRoot, const std::wstring&, Outcome, std::uint32_t, std::uint32_t) override {
        ++count;
    }
    void OnValue(PredefinedRoot, const std::wstring&, const std::wstring&, Outcome) override { ++count; }

    std::size_t count = 0;
};

std::size_t LastingCountOf(const RegistryLog& log) {
    LastingCount visitor;
    log.Walk(visitor);
    return visitor.count;
}

void FileInLog(benchmark::State& state, const Operations& operations) {
    const LetterFoldingNameRules rules;
    for (auto _ : state) {
        RegistryLog log(rules);
        log.RecordOperations(operations);
        state.PauseTiming();
        state.counters["found"] = static_cast<double>(LastingCountOf(log));
        state.ResumeTiming();
    }
}

void FileInMap(benchmark::State& state, const Operations& operations) {
    for (auto _ : state) {
        PathMap map;
        map.RecordOperations(operations);
        state.counters["found"] = static_cast<double>(map.Size());
    }
}

} // namespace

void AddOperationLogBenchmarks(std::size_t operations, std::size_t keys) {
    const auto made = MakeOperations(operations, keys);
    benchmark::RegisterBenchmark("operations/log", [made](auto& state) {
        FileInLog(state, made->operations);
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("operations/map", [made](auto& state) {
        FileInMap(state, made->operations);
    })->Unit(benchmark::kMillisecond);
}

} // namespace keyreap
