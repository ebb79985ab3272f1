#include "trace/replay/controlsets.h"

#include <string_view>

namespace keyreap {

namespace {

constexpr std::wstring_view currentControlSet = L"SYSTEM\\CurrentControlSet";

struct ControlSetFold {
    PredefinedRoot sourceRoot;
    std::wstring_view sourcePath;
    PredefinedRoot targetRoot;
    std::wstring_view targetPath;
};

constexpr ControlSetFold controlSetFolds[] = {
    {localMachineRoot, L"SYSTEM\\ControlSet001", localMachineRoot, currentControlSet},
    {localMachineRoot, L"SYSTEM\\ControlSet002", localMachineRoot, currentControlSet},
};

} // namespace

void FoldControlSets(RegistryLog& log) {
    for (const ControlSetFold& fold : controlSetFolds) {
        if (RegistryLogNode* const source = log.FindNode(fold.sourceRoot, fold.sourcePath)) {
            log.MergeSubkeys(log.GetOrAddNode(fold.targetRoot, fold.targetPath), *source);
        }
    }
}

void PruneControlSets(RegistryLog& log, bool rootsRedirected, const std::wstring& temporaryPrefix) {
    if (rootsRedirected) {
        log.PruneEmptyKey(currentUserRoot, temporaryPrefix + L"HKLM\\" + std::wstring(currentControlSet));
    }
    log.PruneEmptyKey(localMachineRoot, currentControlSet);
}

} // namespace keyreap
