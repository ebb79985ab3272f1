#include "trace/replay/regfilesink.h"

#include "registry/regkey.h"
#include "trace/replay/livevalue.h"

#include <utility>

namespace keyreap {

namespace {

// The data written for a value that can't be read back: 20 bytes of 0x55, ten characters without a
// terminator.
constexpr std::size_t fillerSize = 20;
constexpr std::uint8_t fillerByte = 0x55;

PendingValue ReadPendingValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& name) {
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;
    if (!ReadLiveValue(root, keyPath, name, type, data)) {
        type = REG_SZ;
        data.assign(fillerSize, fillerByte);
    }
    return {name, ReplayValueText(type, data), type};
}

// The root's name with its backslash, to be put in front of a key's path.
std::wstring RootPrefix(PredefinedRoot root) {
    const std::wstring name = RootName(HandleOf(root));
    return name.empty() ? L"UNKNOWN!!" : name + L'\\';
}

} // namespace

RegFileSink::RegFileSink(std::wstring_view regFilePath, KeyOrder order) : order(order), writer(regFilePath) {}

void RegFileSink::AddKeyMapping(KeyMapping mapping) {
    mappings.push_back(std::move(mapping));
}

void RegFileSink::AddReplacement(std::wstring_view from, std::wstring_view to) {
    writer.AddReplacement(from, to);
}

void RegFileSink::OnKey(PredefinedRoot root, const std::wstring& keyPath, Outcome keyState,
                        std::uint32_t valueCount, std::uint32_t childCount) {
    // A live value announces its key, and a subkey implies it, even a subkey that was only opened.
    if (valueCount == 0 && childCount == 0) {
        AnnounceKey(root, keyPath, keyState == Outcome::created);
    }
}

void RegFileSink::OnValue(PredefinedRoot root, const std::wstring& keyPath, const std::wstring& valueName,
                          Outcome kind) {
    if (kind == Outcome::deleted) {
        return;
    }
    PendingValue value = ReadPendingValue(root, keyPath, valueName);
    AnnounceKey(root, keyPath, true);
    if (order == KeyOrder::sorted) {
        pending.back().values.push_back(std::move(value));
    } else {
        writer.AddValue(value.name, value.text, value.type);
    }
}

void RegFileSink::AnnounceKey(PredefinedRoot root, const std::wstring& keyPath, bool created) {
    if (root == lastRoot && keyPath == lastKeyPath) {
        return;
    }
    lastRoot = root;
    lastKeyPath = keyPath;
    PredefinedRoot newRoot = root;
    std::wstring newPath = keyPath;
    Substitute(root, keyPath, newRoot, newPath);
    if (order == KeyOrder::asReported) {
        WriteKey(newRoot, newPath, created);
        return;
    }
    if (!pending.empty() && pending.back().root != newRoot) {
        Flush();
    }
    pending.push_back({newRoot, std::move(newPath), {}});
}

bool RegFileSink::Substitute(PredefinedRoot root, const std::wstring& keyPath, PredefinedRoot& newRoot,
                             std::wstring& newPath) const {
    return SubstituteKey(mappings, root, keyPath, newRoot, newPath);
}

void RegFileSink::WriteKey(PredefinedRoot root, const std::wstring& keyPath, bool created) {
    const std::wstring fullPath = RootPrefix(root) + keyPath;
    if (created) {
        writer.AddKey(fullPath);
    } else {
        writer.AddDeletedKey(fullPath);
    }
}

void RegFileSink::Flush() {
    SortPendingKeys(pending);
    for (const PendingKey& key : pending) {
        // Deliberate: a key that the target deleted gets an ordinary header too, because only an unsorted
        // file has the form for deleted keys.
        WriteKey(key.root, key.keyPath, true);
        for (const PendingValue& value : key.values) {
            writer.AddValue(value.name, value.text, value.type);
        }
    }
    pending.clear();
}

} // namespace keyreap
