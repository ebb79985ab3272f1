#include "tests/native/fuzzinput.h"
#include "trace/kernelpath.h"

using namespace keyreap;

namespace {

bool IsRootOrNone(PredefinedRoot root) {
    return root == noRoot || (root >= classesRoot && root <= usersRoot);
}

void TryNormalizing(const std::wstring& path, bool classesAsRoot) {
    constexpr PredefinedRoot untouched = 77;
    constexpr std::size_t longestInsertion = 17; // "SOFTWARE\Classes\"
    PredefinedRoot root = untouched;
    std::wstring normalized = L"stale";
    if (NormalizeKernelPath(path, classesAsRoot, root, normalized)) {
        fuzz::Require(IsRootOrNone(root));
        fuzz::Require(normalized.size() <= path.size() + longestInsertion);
    } else {
        fuzz::Require(root == untouched && normalized.empty());
    }
}

// A path that is made of a key's and a name is the one of the joined name.
void TryJoining(const std::wstring& key, const std::wstring& name, bool classesAsRoot) {
    PredefinedRoot root = noRoot;
    std::wstring place;
    if (!NormalizeKernelPath(key + L"\\", classesAsRoot, root, place) ||
        !MakesSubkeyPath(root, place, name)) {
        return;
    }
    PredefinedRoot rootOfSubkey = noRoot;
    std::wstring placeOfSubkey;
    fuzz::Require(NormalizeKernelPath(key + L"\\" + name, classesAsRoot, rootOfSubkey, placeOfSubkey));
    fuzz::Require(rootOfSubkey == root && placeOfSubkey == place + name);
}

void TryRemoving(const std::wstring& path, std::wstring_view component) {
    std::wstring shortened = path;
    if (RemovePathComponent(shortened, component)) {
        const std::size_t removed = path.size() - shortened.size();
        fuzz::Require(removed == component.size() || removed == component.size() + 1);
    } else {
        fuzz::Require(shortened == path);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Random bytes are rarely a prefix: the first byte can choose one.
    static constexpr std::wstring_view fronts[] = {L"",
                                                   L"\\REGISTRY",
                                                   L"\\REGISTRY\\MACHINE",
                                                   L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes",
                                                   L"\\REGISTRY\\MACHINE\\SOFTWARE\\Wow6432Node",
                                                   L"\\REGISTRY\\USER",
                                                   L"\\REGISTRY\\USER\\S-1-5-21",
                                                   L"\\REGISTRY\\USER\\S-1-5-21-1_Classes"};
    fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    const std::size_t split = input.Byte();
    const std::wstring rest = input.Rest();
    const std::wstring path = std::wstring(fronts[choice % std::size(fronts)]) + rest;
    TryJoining(path.substr(0, split), split < path.size() ? path.substr(split) : L"", (choice & 0x80) != 0);
    TryNormalizing(path, (choice & 0x80) != 0);
    TryRemoving(path, L"Wow6432Node");
    TryRemoving(path, std::wstring_view(rest).substr(0, 2));
    return 0;
}
