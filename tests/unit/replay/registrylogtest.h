#pragma once

#include "tests/support/letterfoldingnamerules.h"
#include "trace/replay/registrylog.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// A copy of a text that lives as long as the tests.
inline std::wstring_view Kept(std::wstring_view text) {
    static Arena texts;
    return texts.Keep(text);
}

inline RegistryOperation KeyOperation(std::uint8_t type, std::wstring_view path, std::uint32_t status = 0,
                                      PredefinedRoot root = localMachineRoot) {
    RegistryOperation operation;
    operation.type = type;
    operation.root = root;
    operation.keyPath = Kept(path);
    operation.status = status;
    return operation;
}

inline RegistryOperation ValueOperation(std::uint8_t type, std::wstring_view path, std::wstring_view name,
                                        std::uint32_t status = 0) {
    RegistryOperation operation = KeyOperation(type, path, status);
    operation.valueName = Kept(name);
    return operation;
}

inline RegistryOperation Create(std::wstring_view path, std::uint32_t status = 0) {
    return KeyOperation(registryevent::createKey, path, status);
}
inline RegistryOperation Open(std::wstring_view path, std::uint32_t status = 0) {
    return KeyOperation(registryevent::openKey, path, status);
}
inline RegistryOperation Delete(std::wstring_view path, std::uint32_t status = 0) {
    return KeyOperation(registryevent::deleteKey, path, status);
}
inline RegistryOperation SetValue(std::wstring_view path, std::wstring_view name, std::uint32_t status = 0) {
    return ValueOperation(registryevent::setValue, path, name, status);
}
inline RegistryOperation DeleteValue(std::wstring_view path, std::wstring_view name) {
    return ValueOperation(registryevent::deleteValue, path, name);
}
inline RegistryOperation QueryValue(std::wstring_view path, std::wstring_view name) {
    return ValueOperation(registryevent::queryValue, path, name);
}

struct KeyVisit {
    PredefinedRoot root;
    std::wstring path;
    Outcome state;
    std::uint32_t valueCount;
    std::uint32_t childCount;

    friend bool operator==(const KeyVisit&, const KeyVisit&) = default;
    friend std::ostream& operator<<(std::ostream& out, const KeyVisit& visit) {
        return out << testing::PrintToString(visit.path) << " outcome " << static_cast<int>(visit.state)
                   << ", " << visit.valueCount << " values, " << visit.childCount << " subkeys";
    }
};

struct ValueVisit {
    std::wstring path;
    std::wstring name;
    Outcome kind;

    friend bool operator==(const ValueVisit&, const ValueVisit&) = default;
    friend std::ostream& operator<<(std::ostream& out, const ValueVisit& visit) {
        return out << testing::PrintToString(visit.path) << " value " << testing::PrintToString(visit.name)
                   << " outcome " << static_cast<int>(visit.kind);
    }
};

class RecordingVisitor : public RegistryLogVisitor {
public:
    void OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState, std::uint32_t valueCount,
               std::uint32_t childCount) override {
        keys.push_back({root, keyPath, keyState, valueCount, childCount});
        order.push_back(keyPath);
    }

    void OnValue(PredefinedRoot, const std::wstring& keyPath, const std::wstring& valueName,
                 Outcome kind) override {
        values.push_back({keyPath, valueName, kind});
        order.push_back(keyPath + L" : " + valueName);
    }

    std::vector<KeyVisit> keys;
    std::vector<ValueVisit> values;
    std::vector<std::wstring> order;
};

class RegistryLogTest : public testing::Test {
protected:
    void Record(std::vector<RegistryOperation> operations) { log.RecordOperations(operations); }

    RegistryLogNode* Node(std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        return log.FindNode(root, path);
    }

    RecordingVisitor Walk() const {
        RecordingVisitor visitor;
        log.Walk(visitor);
        return visitor;
    }

    // A node that must exist: the test fails if it is missing.
    RegistryLogNode& Existing(std::wstring_view path, PredefinedRoot root = localMachineRoot) {
        EXPECT_NE(Node(path, root), nullptr) << testing::PrintToString(std::wstring(path));
        return log.GetOrAddNode(root, path);
    }

    const OperationList& OperationsOn(std::wstring_view path) { return Existing(path).Operations(); }

    const OperationList& OperationsOn(std::wstring_view path, std::wstring_view name) {
        return log.GetOrAddValue(Existing(path), name).Operations();
    }

    Outcome OutcomeOf(std::wstring_view path) { return OperationsOn(path).NetOutcome(); }

    Outcome OutcomeOfValue(std::wstring_view path, std::wstring_view name) {
        return OperationsOn(path, name).NetOutcome();
    }

    LetterFoldingNameRules rules;
    RegistryLog log{rules};
};

} // namespace keyreap
