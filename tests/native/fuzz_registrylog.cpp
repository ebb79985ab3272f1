#include "platform/core/text/compare.h"
#include "tests/native/fuzzinput.h"
#include "tests/support/letterfoldingnamerules.h"
#include "trace/recenttexts.h"
#include "trace/replay/controlsets.h"
#include "trace/replay/registrylog.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

// Records arbitrary operations in an operation log and compares its walk with a plain map of full names; then
// merges, prunes and walks again.

using namespace keyreap;

namespace {

using FullName = std::pair<PredefinedRoot, std::wstring>;

std::wstring Folded(std::wstring_view name) {
    std::wstring text(name);
    LetterFoldingNameRules().Fold(text);
    return text;
}

// The outcomes by full name, without a tree.
struct PlainLog {
    std::map<FullName, Outcome> keys;
    std::map<FullName, std::map<std::wstring, Outcome>> values;

    void Record(const RegistryOperation& operation) {
        const bool kept = operation.status == 0 || (operation.status == 0xC0000034 && operation.type == 10);
        if (!kept || operation.keyPath.empty()) {
            return;
        }
        std::wstring path = Folded(operation.keyPath);
        if (path.back() == L'\\') {
            path.pop_back();
        }
        const FullName key{operation.root == noRoot ? localMachineRoot : operation.root, path};
        Outcome& outcome =
            ConcernsValue(operation.type) ? values[key][Folded(operation.valueName)] : keys[key];
        if (operation.type == 10) {
            outcome = Outcome::created;
        } else if (operation.type == 14) {
            outcome = Outcome::set;
        } else if (operation.type == 12 || operation.type == 15) {
            const bool cancels = outcome == Outcome::created || outcome == Outcome::set;
            outcome = cancels ? Outcome::none : Outcome::deleted;
        }
    }

    std::map<FullName, std::map<std::wstring, Outcome>> LastingValues() const {
        std::map<FullName, std::map<std::wstring, Outcome>> lasting;
        for (const auto& [key, names] : values) {
            for (const auto& [name, outcome] : names) {
                if (outcome != Outcome::none) {
                    lasting[key][name] = outcome;
                }
            }
        }
        return lasting;
    }

    std::map<FullName, Outcome> ReportedKeys() const {
        std::map<FullName, Outcome> reported;
        for (const auto& [key, outcome] : keys) {
            if (outcome != Outcome::none) {
                reported[key] = outcome;
            }
        }
        for (const auto& [key, names] : LastingValues()) {
            reported.try_emplace(key, Outcome::none);
        }
        return reported;
    }
};

class Collector : public RegistryLogVisitor {
public:
    void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState, std::uint32_t valueCount,
               std::uint32_t) override {
        fuzz::Require(valuesLeft == 0);
        fuzz::Require(keys.emplace(FullName{root, Folded(keyPath)}, keyState).second);
        valuesLeft = valueCount;
    }

    void OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                 Outcome kind) override {
        fuzz::Require(valuesLeft-- != 0);
        fuzz::Require(values[{root, Folded(keyPath)}].emplace(Folded(valueName), kind).second);
    }

    std::map<FullName, Outcome> keys;
    std::map<FullName, std::map<std::wstring, Outcome>> values;
    std::uint32_t valuesLeft = 0;
};

std::wstring Name(fuzz::Input& input) {
    static constexpr std::wstring_view names[] = {
        L"a", L"A", L"b", L"SYSTEM", L"ControlSet001", L"ControlSet002", L"CurrentControlSet", L"Enum"};
    const std::uint8_t choice = input.Byte();
    const std::wstring name(names[choice % std::size(names)]);
    return choice < 0x80 ? name : name + std::to_wstring(input.Byte());
}

std::wstring Path(fuzz::Input& input) {
    std::wstring path;
    for (int depth = input.Byte() % 5; depth > 0; --depth) {
        path += (path.empty() ? L"" : L"\\") + Name(input);
    }
    // With the trailing backslash of a value's key, which adds nothing.
    return path.empty() || input.Byte() % 2 == 0 ? path : path + L'\\';
}

RegistryOperation Operation(fuzz::Input& input, RecentTexts& paths, RecentTexts& valueNames) {
    static constexpr PredefinedRoot roots[] = {noRoot, localMachineRoot, currentUserRoot, classesRoot,
                                               usersRoot};
    static constexpr std::uint32_t states[] = {0, 0, 0, 0xC0000034, 0xC0000022};
    RegistryOperation operation;
    operation.type = 10 + input.Byte() % 8;
    operation.root = roots[input.Byte() % std::size(roots)];
    operation.status = states[input.Byte() % std::size(states)];
    operation.keyPath = paths.Keep(Path(input));
    operation.valueName = valueNames.Keep(Name(input));
    return operation;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const LetterFoldingNameRules rules;
    RegistryLog log(rules);
    PlainLog plain;
    RecordedOperations operations;
    RecentTexts paths(operations.paths); // operations share them
    RecentTexts valueNames(operations.valueNames);
    const bool isTaken = input.Byte() % 2 == 0;
    const std::wstring pruned = Path(input);
    while (!input.IsEmpty()) {
        plain.Record(operations.list.Add(Operation(input, paths, valueNames)));
    }
    if (isTaken) {
        log.RecordOperations(std::move(operations));
    } else {
        log.RecordOperations(std::vector(operations.list.begin(), operations.list.end()));
        operations = {};
    }
    Collector walked;
    log.Walk(walked);
    fuzz::Require(walked.valuesLeft == 0);
    fuzz::Require(walked.keys == plain.ReportedKeys());
    fuzz::Require(walked.values == plain.LastingValues());

    FoldControlSets(log);
    fuzz::Require(log.FindNode(localMachineRoot, L"SYSTEM\\ControlSet001") == nullptr);
    log.PruneEmptyKey(localMachineRoot, pruned);
    PruneControlSets(log, true, L"a\\");
    Collector again;
    log.Walk(again);
    fuzz::Require(again.keys.size() <= walked.keys.size());
    return 0;
}
