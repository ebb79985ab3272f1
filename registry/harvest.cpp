#include "registry/harvest.h"

#include "regfile/regtext.h"

namespace keyreap {

namespace {

void HarvestValues(RegFileWriter& writer, const RegKey& key) {
    std::wstring name;
    // Deliberate: one text for all values of the key, never cleared here, because a REG_QWORD is written from
    // the text of the value before it.
    ValueText text;
    std::uint32_t type = 0;
    for (std::uint32_t index = 0; key.EnumValue(index, name, text, type); ++index) {
        writer.AddValue(name, text, type);
    }
}

} // namespace

bool HarvestHives(std::wstring_view regFilePath, const HiveKeys& keys,
                  const std::function<PathPairs()>& formPathPairs) {
    RegFileWriter writer(regFilePath);
    for (const PathPair& pair : formPathPairs()) {
        writer.AddReplacement(EscapeRegText(pair.temporaryPath), EscapeRegText(pair.finalPath));
    }
    HarvestTrees(writer, keys);
    return true;
}

void HarvestKey(RegFileWriter& writer, const RegKey& key, const std::wstring& keyPath) {
    writer.AddKey(keyPath);
    HarvestValues(writer, key);
    for (const std::wstring& name : key.EnumSubkeys()) {
        HarvestKey(writer, key.OpenChild(name), keyPath + L'\\' + name);
    }
}

void HarvestTrees(RegFileWriter& writer, const HiveKeys& keys) {
    HarvestKey(writer, keys.hkcr, L"HKEY_CLASSES_ROOT");
    HarvestKey(writer, keys.hkcu, L"HKEY_CURRENT_USER");
    HarvestKey(writer, keys.hku, L"HKEY_USERS");
    HarvestKey(writer, keys.hklm, L"HKEY_LOCAL_MACHINE");
}

} // namespace keyreap
