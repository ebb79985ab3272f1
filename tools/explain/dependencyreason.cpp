#include "tools/explain/dependencyreason.h"

#include "pe/exportsearch.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "tools/explain/imageheaders.h"

#include <algorithm>

namespace keyreap {

namespace {

std::vector<ImportedDll> LinkedImports(PeImage& image) {
    const std::byte* first = image.ImportDirectory();
    const LookupEntry entry = image.Is64Bit() ? LookupEntry::bits64 : LookupEntry::bits32;
    return first ? ImportedFunctions(image.View(), first, entry, image.Resolver())
                 : std::vector<ImportedDll>{};
}

// A second opinion on a DLL that the walk didn't find: a loader adds an extension, and reads the whole of a
// long PATH.
bool SystemFinds(const std::wstring& name) {
    wchar_t found[MAX_PATH];
    return SearchPathW(nullptr, name.c_str(), L".dll", MAX_PATH, found, nullptr) != 0;
}

// Under Wine a module of the system may be a file that replaces code elsewhere, and has no exports.
bool IsPlaceholder(const PeImage& image) {
    constexpr std::size_t mark = 64;
    constexpr std::string_view text = "Wine placeholder DLL";
    return image.View().HoldsText(image.View().Start() + mark, text);
}

bool Exports(PeImage& image, const ImportedFunction& function) {
    if (!function.ordinal) {
        return HasExportNamed(image, function.name);
    }
    const std::byte* directory = image.ExportDirectory();
    return directory && ExportTableHasOrdinal(image.View(), directory, image.Resolver(), *function.ordinal);
}

std::wstring FunctionText(const ImportedFunction& function) {
    return function.ordinal ? L"with the ordinal " + IntegerToText(*function.ordinal)
                            : WidenBytes(function.name);
}

std::wstring MissingFunction(PeImage& image, const ImportedDll& dll) {
    if (IsPlaceholder(image)) {
        return {};
    }
    const auto missing =
        std::find_if(dll.functions.begin(), dll.functions.end(),
                     [&image](const ImportedFunction& function) { return !Exports(image, function); });
    return missing == dll.functions.end() ? std::wstring()
                                          : L"needs the function " + FunctionText(*missing) + L" of " +
                                                WidenBytes(dll.name) + L", which it doesn't have";
}

bool Holds(const std::vector<std::wstring>& paths, const std::wstring& path) {
    return std::any_of(paths.begin(), paths.end(),
                       [&path](const std::wstring& other) { return EqualFolded(other, path); });
}

} // namespace

LoadChain::LoadChain(const WidePath& file) {
    if (DependencyWalker(file.Text()).CollectDependencies(list) == 0) {
        Enter(file.ExtendedLengthForm());
    }
}

void LoadChain::Enter(const std::wstring& path) {
    if (Holds(entered, path)) {
        return;
    }
    entered.push_back(path);
    PeImage image(path);
    const std::uint16_t machine = MachineOf(image);
    for (const ImportedDll& dll : LinkedImports(image)) {
        Judge(path, machine, dll);
    }
    files.push_back(path);
}

void LoadChain::Judge(const std::wstring& importer, std::uint16_t machine, const ImportedDll& dll) {
    const DependencyRecord* record = Find(WidenBytes(dll.name));
    if (!record || !reason.empty()) {
        return;
    }
    const std::wstring wanted = L"; wanted by " + WidePath(importer).FileName();
    if (record->path.empty()) {
        if (!SystemFinds(record->name)) {
            reason = L"needs " + record->name + L", which is nowhere" + wanted;
        }
        return;
    }
    PeImage image(record->path);
    const std::uint16_t found = MachineOf(image);
    if (found != machine) {
        reason = L"needs " + record->name + L", but " + record->path + L" is " + ImageKind(found) + wanted;
        return;
    }
    if (std::wstring function = MissingFunction(image, dll); missingFunction.empty() && !function.empty()) {
        missingFunction = std::move(function) + wanted;
    }
    if (record->isSystem == 0) {
        Enter(record->path);
    }
}

const DependencyRecord* LoadChain::Find(const std::wstring& name) const {
    const auto found = std::find_if(list.begin(), list.end(), [&name](const DependencyRecord& record) {
        return EqualFolded(record.name, name);
    });
    return found == list.end() ? nullptr : &*found;
}

} // namespace keyreap
